#include "tests/crash/CrashFixture.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "host/media/FrameLog.h"
#include "host/server/OptionFile.h"
#include "host/server/PrivateServer.h"
#include "host/server/ServerConnection.h"
#include "store/KTRFile.h"
#include "tests/support/FileText.h"
#include "tests/support/LogCapture.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr int SOUND = 128;  // between the numbers of a stream and of its sound
constexpr std::int64_t NEXT_RUN_MS = 2500;
constexpr std::int64_t AHEAD_MS = 3000;
constexpr std::int64_t LOOK_MS = 50;

bool hasFile(const fs::path& directory, const std::string& ending) {
  std::error_code ignored;  // directories come while it looks
  const fs::recursive_directory_iterator all(directory, ignored);
  return std::any_of(begin(all), end(all), [&](const fs::directory_entry& entry) {
    return entry.path().string().ends_with(ending);
  });
}

}  // namespace

std::unique_ptr<TempDir> CrashFixture::clips_;
std::vector<CrashFixture::Recorder> CrashFixture::recorded_;

void CrashFixture::SetUpTestSuite() {
  ProgramFixture::SetUpTestSuite();
  clips_ = std::make_unique<TempDir>();
  TestClip::make(clips_->path() + "/small.mp4", {.bFrames = 2, .seconds = 90, .keyInterval = 25});
  // More than a MiB between two flushes.
  TestClip::make(
      clips_->path() + "/large.mp4",
      {.seconds = 60,
       .keyInterval = 20,
       .size = "320x240",
       .encoderOptions = "-b:v 3M -minrate 3M -maxrate 3M -bufsize 1M -x264-params nal-hrd=cbr"});
  TestClip::make(clips_->path() + "/onekey.mp4", {.seconds = 20, .keyInterval = 1000});
  TestClip::makeBeeps(clips_->path() + "/sound.mp4", "aac", {.seconds = 60, .keyInterval = 25});
  startServer();
}

void CrashFixture::TearDownTestSuite() {
  recorded_.clear();
  clips_.reset();
  ProgramFixture::TearDownTestSuite();
}

CrashFixture::Recorder CrashFixture::recorder(const std::string& options,
                                              const std::map<int, std::string>& clips) {
  Recorder made;
  made.options = options;
  made.clips = clips;
  static int number = 0;
  made.name = "cam" + std::to_string(++number);
  return made;
}

void CrashFixture::begin(Recorder& recorder, const std::string& faults) {
  KtrProcess::Options options;
  options.arguments = {"record", "--root",     root_->path(), "--server",
                       server_,  "--recorder", recorder.name};
  std::istringstream words(recorder.options);
  for (std::string word; words >> word;) options.arguments.push_back(word);
  ++recorder.runs;
  options.arguments.push_back("--frame-log");
  options.arguments.push_back(path(recorder.name + ".run" + std::to_string(recorder.runs)));
  for (const auto& [stream, clip] : recorder.clips) {
    options.arguments.push_back(std::to_string(stream) + "=" + clips_->path() + "/" + clip);
  }
  options.output = path(recorder.name + ".output");
  options.faults = faults;
  recorder.process = std::make_unique<KtrProcess>(options);
}

void CrashFixture::runFor(std::int64_t ms) {
  std::this_thread::sleep_for(milliseconds(ms));
}

void CrashFixture::kill(Recorder& recorder, std::int64_t extraMs) {
  SentFrames::End end;
  end.killedMs = SentFrames::nowMs();
  recorder.process->signal(SIGKILL);
  EXPECT_EQ(-SIGKILL, recorder.process->wait()) << contents(recorder.name + ".output");
  end.promisedMs = FLUSH_MS + ROAD_MS + stallMs() + extraMs;
  addSent(recorder, end);
}

void CrashFixture::awaitKill(Recorder& recorder, std::int64_t promisedMs) {
  EXPECT_EQ(-SIGKILL, recorder.process->wait()) << contents(recorder.name + ".output");
  addSent(recorder, SentFrames::End{SentFrames::nowMs(), promisedMs + stallMs()});
}

void CrashFixture::stop(Recorder& recorder) {
  recorder.process->signal(SIGINT);
  EXPECT_EQ(0, recorder.process->wait()) << contents(recorder.name + ".output");
  addSent(recorder, std::nullopt);
}

void CrashFixture::stopAndKill(Recorder& recorder, std::int64_t ms) {
  SentFrames::End end{SentFrames::nowMs(), FLUSH_MS + ROAD_MS + stallMs()};
  recorder.process->signal(SIGINT);
  runFor(ms);
  recorder.process->signal(SIGKILL);
  const int status = recorder.process->wait();
  EXPECT_TRUE(status == 0 || status == -SIGKILL) << contents(recorder.name + ".output");
  addSent(recorder, status == 0 ? std::nullopt : std::optional(end));
}

void CrashFixture::recordUntil(Recorder& recorder, const std::string& faults,
                               std::int64_t promisedMs) {
  begin(recorder, faults);
  awaitKill(recorder, promisedMs);
}

void CrashFixture::recordAhead(int count, const std::string& options,
                               const std::map<int, std::string>& clips,
                               const std::string& awaited) {
  for (int i = 0; i < count; ++i) {
    recorded_.push_back(recorder(options, clips));
    begin(recorded_.back());
  }
  for (const Recorder& each : recorded_) {
    while (!hasFile(directory(each), awaited)) runFor(LOOK_MS);
  }
  runFor(AHEAD_MS);
  for (Recorder& each : recorded_) stop(each);
}

CrashFixture::Recorder CrashFixture::takeRecorded() {
  Recorder next = std::move(recorded_.back());
  recorded_.pop_back();
  return next;
}

std::string CrashFixture::logPath(const Recorder& recorder, int stream) const {
  return path(recorder.name + ".run" + std::to_string(recorder.runs) + "." +
              std::to_string(stream));
}

void CrashFixture::addSent(Recorder& recorder, std::optional<SentFrames::End> killed) {
  recorder.process.reset();
  for (const auto& [stream, clip] : recorder.clips) {
    recorder.sent[stream].add(logPath(recorder, stream), killed);
    const std::string sound = logPath(recorder, stream + SOUND);
    if (fs::exists(sound)) recorder.sent[stream + SOUND].add(sound, killed);
  }
}

void CrashFixture::expectRepaired(const Recorder& recorder) {
  EXPECT_EQ(0, shell(command("repair", recorder) + "--yes-really")) << out() << err();
  expectClean(recorder);
  expectPlays(recorder);
}

void CrashFixture::expectClean(const Recorder& recorder) {
  EXPECT_EQ(0, shell(command("check", recorder) + "--level full")) << out() << err();
}

// The frame log of a player has the pictures alone, so sound is read where it is stored.
void CrashFixture::expectPlays(const Recorder& recorder) {
  for (const auto& [stream, sent] : recorder.sent) {
    SCOPED_TRACE("stream " + std::to_string(stream) + " of " + recorder.name);
    if (stream >= SOUND) {
      logStored(recorder, stream, path("stored"));
      EXPECT_EQ("", flawOf(recorder, sent, path("stored")));
      continue;
    }
    const int status =
        shell("rm -f $D/played $D/played.mkv; " + command("play", recorder) + "--stream " +
              std::to_string(stream) + " --at -1h -o $D/played.mkv --frame-log $D/played");
    EXPECT_TRUE(status == 0 || sent.promised() == 0) << err();
    EXPECT_EQ("", flawOf(recorder, sent, path("played"))) << contents(recorder.name + ".output");
  }
}

std::string CrashFixture::flawOf(const Recorder& recorder, const SentFrames& sent,
                                 const std::string& playedLog) {
  return recorder.retained ? sent.flawBehindDeleted(playedLog) : sent.flawOf(playedLog);
}

void CrashFixture::logStored(const Recorder& recorder, int stream, const std::string& log) {
  const std::map<std::string, size_t> all = files(recorder);
  std::istringstream ids(value(recorder,
                               "SELECT GROUP_CONCAT(id ORDER BY id SEPARATOR ' ') FROM "
                               "recordSessions WHERE streamID=" +
                                   std::to_string(stream)));
  const LogCapture quiet;
  FrameLog stored(log);
  std::set<std::string> seen;  // a session may begin with the last frames of the one before
  for (std::string id; ids >> id;) {
    const std::string name = "_R" + id + "_F0.dat";
    const auto slice = std::find_if(all.begin(), all.end(),
                                    [&](const auto& each) { return each.first.ends_with(name); });
    if (slice == all.end()) continue;
    const std::string prefix = slice->first.substr(0, slice->first.rfind("F0.dat"));
    KTRFile file(KTString(prefix), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
    for (KTDataBlock frame; file.readKTRData(frame) > 0;) {
      const std::string bytes(reinterpret_cast<const char*>(frame.data), frame.size);
      if (seen.insert(bytes).second) stored.add(frame);
    }
  }
}

void CrashFixture::expectNextRunKeepsFiles(Recorder& recorder) {
  const std::map<std::string, size_t> before = files(recorder);
  begin(recorder);
  runFor(NEXT_RUN_MS);
  stop(recorder);
  const std::map<std::string, size_t> after = files(recorder);
  EXPECT_LE(before.size(), after.size());
  for (const auto& [path, hash] : before) {
    EXPECT_TRUE(after.contains(path) && after.at(path) == hash) << path;
  }
}

void CrashFixture::killServer() {
  const auto server = PrivateServer(root_->paths()).process();
  ASSERT_TRUE(server);
  server->signal(SIGKILL);
  ASSERT_TRUE(server->waitForEnd(std::chrono::minutes(1)));
}

void CrashFixture::startServer() {
  KtrProcess::Options options;
  options.arguments = {"server", "start", "--root", root_->path()};
  options.output = "/dev/null";
  ASSERT_EQ(0, KtrProcess(options).wait());
}

std::string CrashFixture::value(const Recorder& recorder, const std::string& query) {
  ServerConnection connection;
  EXPECT_TRUE(connection.connectTo(root_->paths().socket(), OptionFile::currentUser()));
  (void)connection.value("USE ktr_" + recorder.name);
  return connection.value(query).value_or("none");
}

std::map<std::string, size_t> CrashFixture::files(const Recorder& recorder) {
  std::map<std::string, size_t> found;
  for (const auto& entry : fs::recursive_directory_iterator(directory(recorder))) {
    if (!entry.path().filename().string().starts_with("record_")) continue;
    found[entry.path()] = std::hash<std::string>()(::contents(entry.path()));
  }
  return found;
}
