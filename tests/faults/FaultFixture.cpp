#include "tests/faults/FaultFixture.h"

#include <fstream>
#include <sstream>

#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"
#include "runtime/LittleEndian.h"
#include "store/SyncMarkers.h"

namespace {

constexpr unsigned int HEAD = 8;  // bytes in front of a record's frame
constexpr unsigned int BYSTANDER = 1;
constexpr long DAY_SECONDS = 86400;

std::string contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace

FaultFixture::FaultFixture(streamTypes kind) : PlaybackFixture(kind) {}

void FaultFixture::SetUp() {
  KTRStreamRecordParams other = params();
  other.streamId = STREAM + 1;
  roll(other);
  film(12);
  finish();
  clock_.advanceSeconds(1);
  zero_ = now();
  bystander_ = bystander();
  ASSERT_NE(bystander_.find("media bytes"), std::string::npos);
}

void FaultFixture::TearDown() {
  faults_.restore();
  calls_.restore();
  server_.resume();
  server_.start();
  session_.reset();
  EXPECT_EQ(bystander_, bystander());
}

std::string FaultFixture::bystander() {
  std::string all = contents(slicePath(BYSTANDER, 0));
  for (const char* sql : {"SELECT * FROM dataStreams WHERE _id=1 ORDER BY _time",
                          "SELECT id,start_time,end_time,storage FROM recordSessions WHERE id=1"}) {
    for (const std::string& row : rows(sql)) all += row + "\n";
  }
  return all;
}

void FaultFixture::roll(const KTRStreamRecordParams& params) {
  filmed_ = 0;
  begin(params);
}

void FaultFixture::film(int frames) {
  for (int i = 0; i < frames && !ended(); ++i) {
    feed();
    settle();
  }
}

void FaultFixture::feed() {
  if (filmed_ != 0) clock_.advanceSeconds(1);
  const auto kind = filmed_++ % KEY_PERIOD == 0 ? KTRFrameFormat::Key : KTRFrameFormat::Delta;
  EXPECT_EQ(send(KTRMessageType::FrameData, makeFrame(kind, stampNow())), 0);
}

void FaultFixture::bigKey(unsigned int bytes) {
  const std::string picture(bytes, 'p');
  const auto* data = reinterpret_cast<const unsigned char*>(picture.data());
  send(KTRMessageType::FrameData,
       KTRFrameWriter::build(KTRFrameFormat::Key, stampNow(), {{data, bytes}}));
  settle();
}

KTRStreamRecordParams FaultFixture::smallSlices() const {
  KTRStreamRecordParams small = params();
  small.sliceSize = 1;
  return small;
}

std::vector<int> FaultFixture::played(int from) {
  constexpr unsigned int LONG = 1000;
  player_.reset();
  std::vector<int> all;
  bool more = play(zero_ + from, LONG) != 0;
  while (more) {
    for (long time = nextFrame(); time >= 0; time = nextFrame()) {
      all.push_back(static_cast<int>(time - (zero_ - START)));
    }
    more = player_->loadNextRecordSession();
  }
  return all;
}

std::vector<int> FaultFixture::seconds(int from, int to) {
  std::vector<int> all;
  for (int i = from; i < to; ++i) all.push_back(i);
  return all;
}

FaultFixture::Index FaultFixture::index(unsigned int session) {
  Index result;
  for (const std::string& text : rows("SELECT _fileIndex,_offset,_time FROM dataStreams WHERE "
                                      "_id=" +
                                      std::to_string(session))) {
    std::vector<std::string> row;
    std::istringstream columns(text);
    for (std::string column; std::getline(columns, column, ',');) row.push_back(column);
    follow(row, session, result);
  }
  return result;
}

void FaultFixture::follow(const std::vector<std::string>& row, unsigned int session,
                          Index& result) {
  const std::string text =
      contents(storedSlice(session, static_cast<unsigned int>(std::stoul(row[0]))));
  const KTDataBlock file(reinterpret_cast<const unsigned char*>(text.data()),
                         static_cast<unsigned int>(text.size()));
  const auto offset = static_cast<unsigned int>(std::stoul(row[1]));
  const bool hasHead = offset + HEAD <= file.size;
  const unsigned int length = hasHead ? loadLittleEndian(file.data + offset + 4) : 0;
  if (!hasHead || offset + HEAD + length > file.size) {
    ++result.behind;
    return;
  }
  KTRVideoFrame frame;
  EXPECT_EQ(file.copy(offset, 4), NULL_FLAG) << row[2];
  ASSERT_TRUE(frame.parse(file.copy(offset + HEAD, length))) << row[2];
  EXPECT_TRUE(frame.isKFrame());
  EXPECT_EQ(frame.timeStamp() / 1000, std::stol(row[2]) % DAY_SECONDS);
  ++result.found;
}

void FaultFixture::expectNextSessionWorks(const KTRStreamRecordParams& params) {
  faults_.restore();
  std::vector<int> expected = played();
  clock_.advanceSeconds(1);
  const int from = elapsed();
  roll(params);
  film(KEY_PERIOD + 1);
  EXPECT_FALSE(ended());
  finish();
  for (const int second : seconds(from, from + KEY_PERIOD + 1)) expected.push_back(second);
  EXPECT_EQ(played(), expected);
}

std::string FaultFixture::storedSlice(unsigned int session, unsigned int number) {
  const KTString prefix = db()->getFullPrefixFileName(static_cast<int>(session));
  return std::string(prefix.c_str()) + "F" + std::to_string(number) + ".dat";
}

void FaultFixture::expectError(const std::string& text, unsigned int times) const {
  EXPECT_EQ(log_.count(128, text), times) << text;
}

unsigned int FaultFixture::recordSize() {
  return makeFrame(KTRFrameFormat::Key, 0).size + HEAD;
}
