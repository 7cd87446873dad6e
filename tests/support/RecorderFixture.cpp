#include "tests/support/RecorderFixture.h"

#include <thread>

#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

namespace {
constexpr long DAY_SECONDS = 86400;
constexpr unsigned char MEDIA[] = "media bytes of a frame";
}  // namespace

RecorderFixture::RecorderFixture() {
  MariaDbServer::instance().dropDatabases();
  factory_ = std::make_unique<KTR_DB_factory>();
}

RecorderFixture::~RecorderFixture() {
  session_.reset();
  if (KTR_DB_handle* handle = factory_->dbIsLoaded("cam")) factory_->destroy(handle);
}

KTRStreamRecordParams RecorderFixture::params() const {
  KTRStreamRecordParams params;
  params.dbName = "cam";
  params.videoSettings = KTRVideoSettingsRow("clip", 25, 0, "h264", "640x360", "");
  params.sliceSize = 100000000;
  params.storageDir = KTString(dir_.path());
  params.streamId = STREAM;
  return params;
}

void RecorderFixture::begin(const KTRStreamRecordParams& params) {
  session_.reset();
  session_ = std::make_unique<KTRVideoStreamRecordSession>(params);
  sendTime(now(), now());
}

int RecorderFixture::send(int type, const KTDataBlock& data) {
  return session_->commit(data, type, KTMessage::NormalPriority);
}

void RecorderFixture::sendTime(long gatewayTime, long serverTime) {
  KTDataBlock message(8);
  storeLittleEndian(message.writable(), static_cast<std::uint32_t>(gatewayTime));
  storeLittleEndian(message.writable() + 4, static_cast<std::uint32_t>(serverTime));
  send(KTRMessageType::Time, message);
  settle();
}

void RecorderFixture::frame(KTRFrameFormat::Kind kind, unsigned int stampMs) {
  send(KTRMessageType::FrameData, makeFrame(kind, stampMs));
  settle();
}

void RecorderFixture::keyEvery(long seconds, int times) {
  for (int i = 0; i < times; ++i) {
    clock_.advanceSeconds(seconds);
    key();
  }
}

// The queue is looked at first: a session that has taken the last message counts as waiting only
// when it is back in its wait.
void RecorderFixture::settle() {
  while (session_->alive() && (session_->queueLength() != 0 || clock_.waiters() == 0)) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  if (!session_->alive()) session_->wait();
}

void RecorderFixture::stop() {
  send(KTRMessageType::Stop);
  session_->wait();
  session_.reset();
}

unsigned int RecorderFixture::stampNow() {
  const KTTimeValue now = KTTimeValue::now();
  return static_cast<unsigned int>(now.tv_sec % DAY_SECONDS * 1000 + now.tv_usec / 1000);
}

KTDataBlock RecorderFixture::makeFrame(KTRFrameFormat::Kind kind, unsigned int stampMs) {
  if (kind == KTRFrameFormat::Empty) return KTRFrameWriter::build(kind, stampMs, {});
  return KTRFrameWriter::build(kind, stampMs, {{MEDIA, sizeof MEDIA}});
}

std::vector<std::string> RecorderFixture::rows(const std::string& sql) {
  KTR_DB_handle* handle = db();
  KTDLList<KTString> list;
  handle->getQueryResultList(list, KTString(sql));
  std::vector<std::string> texts;
  for (const KTString& text : list) texts.emplace_back(text.view());
  return texts;
}

std::string RecorderFixture::value(const std::string& sql) {
  const std::vector<std::string> all = rows(sql);
  EXPECT_EQ(all.size(), 1U) << sql;
  return all.empty() ? "" : all.front();
}

std::string RecorderFixture::slicePath(unsigned int session, unsigned int slice) const {
  return dir_.path() + KTTimeValue(START, 0).asString("/%Y/%m/%d").c_str() + "/record_ktr_cam_R" +
         std::to_string(session) + "_F" + std::to_string(slice) + ".dat";
}
