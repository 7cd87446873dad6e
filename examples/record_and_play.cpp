// Records two seconds of video in real time and plays them back.
//
//   record_and_play RECORDER DIRECTORY
#include <cstdio>
#include <string>

#include "handles/KTR_DB_factory.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr int STREAM = 1;
constexpr int FRAMES_PER_SECOND = 25;
constexpr int FRAMES = 2 * FRAMES_PER_SECOND;
constexpr long DAY_SECONDS = 86400;

// Gateway time and server time; here the frames are stamped by this machine's clock.
KTDataBlock timeMessage(long now) {
  KTDataBlock message(8);
  storeLittleEndian(message.writable(), static_cast<std::uint32_t>(now));
  storeLittleEndian(message.writable() + 4, static_cast<std::uint32_t>(now));
  return message;
}

// A key frame each second, stamped with the time of day in milliseconds. The media bytes would come
// from a camera: the library stores any.
KTDataBlock makeFrame(int number) {
  const auto kind = number % FRAMES_PER_SECOND == 0 ? KTRFrameFormat::Key : KTRFrameFormat::Delta;
  const KTTimeValue now = KTTimeValue::now();
  const auto stampMs =
      static_cast<std::uint32_t>(now.tv_sec % DAY_SECONDS * 1000 + now.tv_usec / 1000);
  const std::string media(4096, static_cast<char>('A' + number % 26));
  return KTRFrameWriter::build(kind, stampMs,
                               {{reinterpret_cast<const unsigned char*>(media.data()),
                                 static_cast<unsigned int>(media.size())}});
}

std::uint64_t record(const KTString& recorder, const KTString& directory) {
  KTRStreamRecordParams params;
  params.dbName = recorder;
  params.videoSettings = KTRVideoSettingsRow("front", FRAMES_PER_SECOND, 0, "h264", "640x360", "");
  params.sliceSize = 128 << 20;  // bytes
  params.storageDir = directory;
  params.streamId = STREAM;

  KTRVideoStreamRecordSession session(params);
  session.commit(timeMessage(KTTimeValue::now().tv_sec), KTRMessageType::Time,
                 KTMessage::NormalPriority);
  for (int i = 0; i < FRAMES; ++i) {
    session.commit(makeFrame(i), KTRMessageType::FrameData, KTMessage::NormalPriority);
    KTTask::Sleep(KTTimeValue(0, 1'000'000 / FRAMES_PER_SECOND));
  }
  session.commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  session.wait();
  return session.progress().frames;
}

unsigned int play(const KTString& recorder, long start) {
  KTRStreamReadSession::Parameters parameters;
  parameters["streamid"] = KTString(std::to_string(STREAM));
  parameters["starttime"] = KTString(std::to_string(start));
  parameters["duration"] = "5";  // a recording that begins so many seconds later will do
  KTRVideoStreamReadSession session(recorder, 0);
  if (session.load(parameters) == 0) return 0;

  unsigned int frames = 0;
  KTDataBlock stored;
  unsigned int unused = 0;
  KTRVideoFrame frame;
  while (session.getFrame(stored, unused) != 0 && frame.parse(stored)) ++frames;
  return frames;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: record_and_play RECORDER DIRECTORY\n"), 2;
  KTR_DB_factory factory;  // before all else; destroyed last
  KTR_DB_handle* database = factory.createDB(argv[1]);
  if (database == nullptr) return 1;

  const long start = KTTimeValue::now().tv_sec;
  const std::uint64_t recorded = record(argv[1], argv[2]);
  database->recordSessionTable()->updateDataBase(true);  // or wait: it is written by itself
  const unsigned int played = play(argv[1], start);
  factory.destroy(database);
  std::printf("recorded %lu frames, played %u\n", static_cast<unsigned long>(recorded), played);
  return recorded == FRAMES && played == FRAMES ? 0 : 1;
}
