#include "tests/support/RecorderFixture.h"

#include <filesystem>
#include <mutex>
#include <thread>

#include "recording/KTRAudioStreamRecordSession.h"
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

namespace {
constexpr long DAY_SECONDS = 86400;
constexpr unsigned char MEDIA[] = "media bytes of a frame";
}  // namespace

RecorderFixture::RecorderFixture(streamTypes kind) : kind_(kind) {
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
  KTString codec("aac");
  params.audioSettings = KTRAudioSettingsRow("clip", 128, codec, 48000);
  params.sliceSize = 100000000;
  params.storageDir = KTString(dir_.path());
  params.streamId = STREAM;
  return params;
}

void RecorderFixture::begin(const KTRStreamRecordParams& params) {
  session_.reset();
  if (kind_ == STREAM_AUDIO) {
    session_ = std::make_unique<KTRAudioStreamRecordSession>(params);
    settle();
    return;
  }
  session_ = std::make_unique<KTRVideoStreamRecordSession>(params);
  sendTime(now(), now());
}

void RecorderFixture::beginByEvents(int preEventKeyFrames) {
  KTRStreamRecordParams byEvents = params();
  byEvents.recordMode = KTRStreamRecordParams::ByEvents;
  byEvents.preEventKeyFrames = preEventKeyFrames;
  begin(byEvents);
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

void RecorderFixture::every(long seconds, int times, KTRFrameFormat::Kind kind) {
  for (int i = 0; i < times; ++i) {
    clock_.advanceSeconds(seconds);
    frame(kind);
  }
}

// The queue is looked at first: a task that has taken the last message counts as waiting only when
// it is back in its wait.
void RecorderFixture::settle(KTRTask& task) {
  while (task.alive() && (task.queueLength() != 0 || clock_.waiters() == 0)) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  if (!task.alive()) task.wait();
}

void RecorderFixture::whileHeldUpBy(const std::string& line,
                                    const std::function<void()>& commitAll) {
  const auto gate = std::make_shared<std::mutex>();
  log_.whenLogged(line, [gate] { const std::lock_guard wait(*gate); });
  const std::lock_guard closed(*gate);
  commitAll();
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

void RecorderFixture::evictFirstRow() {
  for (unsigned int i = 1; i <= 101; ++i) {
    exec("INSERT INTO recordSessions (streamID,settingsID,start_time,storage) VALUES (9,1," +
         std::to_string(i) + ",'')");
    db()->recordSessionTable()->updateEndTime(1 + i, START, 0);
  }
}

void RecorderFixture::forgetData(unsigned int session) {
  EXPECT_EQ(db()->recordSessionTable()->updateDataAvailable(session, 0), 0U);
}

std::string RecorderFixture::dataOf(unsigned int session) {
  db()->recordSessionTable()->updateDataBase(true);
  return value("SELECT dataAvailable FROM recordSessions WHERE id=" + std::to_string(session));
}

unsigned int RecorderFixture::indexRows() {
  return static_cast<unsigned int>(std::stoul(value("SELECT count(*) FROM dataStreams")));
}

std::string RecorderFixture::dayDirectory() const {
  return dir_.path() + KTTimeValue(START, 0).asString("/%Y/%m/%d/").c_str();
}

std::string RecorderFixture::prefix(unsigned int session) const {
  return dayDirectory() + "record_ktr_cam_R" + std::to_string(session) + "_";
}

std::string RecorderFixture::slicePath(unsigned int session, unsigned int slice) const {
  return prefix(session) + "F" + std::to_string(slice) + ".dat";
}

bool RecorderFixture::sliceExists(unsigned int slice) const {
  return std::filesystem::exists(slicePath(1, slice));
}
