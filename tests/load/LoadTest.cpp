#include <gtest/gtest.h>
#include <mysql.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>

#include "handles/KTR_DB_factory.h"
#include "runtime/KTLogger.h"
#include "tests/load/LoadPlayer.h"
#include "tests/load/LoadRecording.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/TempDir.h"

namespace {

/** Keeps the errors of the log, and lets the rest go. */
class Errors : public KTLogSink {
 public:
  void write(int priority, std::string_view line) override {
    const std::lock_guard lock(mutex_);
    if (priority >= KTLogger::Error && lines_.size() < 20) lines_.emplace_back(line);
  }
  std::vector<std::string> lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

/**
 * A recorder under load, for KTR_LOAD_SECONDS seconds of real time (30 unless told otherwise): its
 * streams, its players, and retention that leaves two slices of each session.
 */
class LoadTest : public testing::Test {
 protected:
  static constexpr unsigned int STREAMS = 64;
  static constexpr unsigned int PLAYERS = 16;
  static constexpr unsigned int MINUTE = 60;  // seconds; after the first, memory grows no more
  static constexpr long MEMORY_MARGIN = 32L << 20;  // bytes: buffers that are not yet at their peak

  LoadTest() {
    KTLogger::instance()->setSink(errors_);
    MariaDbServer::instance();
    factory_ = std::make_unique<KTR_DB_factory>();
    db_ = factory_->createDB("load");
  }
  ~LoadTest() override {
    factory_->destroy(db_);
    KTLogger::instance()->setSink(nullptr);
  }

  static unsigned int duration() {
    const char* const given = std::getenv("KTR_LOAD_SECONDS");
    return given == nullptr ? 30 : static_cast<unsigned int>(std::stoul(given));
  }
  static long residentBytes() {
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
  }

  // One pass: the oldest slice of every session that has more than it may keep.
  void deleteOldest() {
    KTDLList<KTString> crowded;
    db_->getQueryResultList(crowded,
                            "SELECT _id FROM dataStreams GROUP BY _id HAVING "
                            "count(DISTINCT _fileIndex) > 2");
    for (const KTString& id : crowded) {
      if (db_->deleteOlderSlicesOfRecorderSession(id.toUInt(0))) ++deleted_;
    }
  }
  // Lives through the seconds of the load on the main thread.
  void endure() {
    const auto begin = std::chrono::steady_clock::now();
    for (unsigned int second = 1; second <= duration(); ++second) {
      std::this_thread::sleep_until(begin + std::chrono::seconds(second));
      deleteOldest();
      if (second % MINUTE == 1) peaks_.push_back(0);
      peaks_.back() = std::max(peaks_.back(), residentBytes());
    }
  }
  // Plays a stream from its first frame that is left, or from its second key frame when the first
  // one lies at a change of slice: the last frame sent must come.
  void expectWhole(const LoadClip& clip, unsigned int stream, const LoadRecording& recording) {
    KTRRecorderSessionRow row;
    ASSERT_TRUE(db_->recordSessionTable()->getNextRecordSessionRow(
        static_cast<unsigned char>(stream), 0, 0, row));
    for (const long from : {row.start_time, row.start_time + 1}) {
      LoadPlayer player(clip, stream, recording.startTime(), from);
      player.playOn();
      checked_ += player.played();
      EXPECT_EQ(player.flaw(), "") << "stream " << stream;
      if (player.next() == recording.sent(stream)) return;
    }
    ADD_FAILURE() << "the end of stream " << stream << " is lost";
  }
  void report(const LoadRecording& recording, unsigned int played) const {
    unsigned int sent = 0;
    for (unsigned int i = 0; i < STREAMS; ++i) sent += recording.sent(i);
    std::cout << duration() << " s: " << sent << " frames recorded, " << played
              << " played meanwhile, " << checked_ << " afterwards, " << deleted_
              << " slices deleted, longest queue " << recording.longestQueue()
              << ", memory by the minute:";
    for (const long peak : peaks_) std::cout << ' ' << (peak >> 20);
    std::cout << " MiB\n";
  }

  TempDir dir_;
  std::shared_ptr<Errors> errors_ = std::make_shared<Errors>();
  std::unique_ptr<KTR_DB_factory> factory_;
  KTR_DB_handle* db_ = nullptr;
  unsigned int deleted_ = 0;
  unsigned int checked_ = 0;
  std::vector<long> peaks_;  // memory, a minute each
};

TEST_F(LoadTest, StreamsPlayersAndRetentionLoseNothing) {
  const LoadClip clip(dir_.path());
  LoadRecording recording(clip, dir_.path(), STREAMS);
  std::vector<std::unique_ptr<LoadPlayer>> players;
  for (unsigned int i = 0; i < PLAYERS; ++i) {
    players.push_back(std::make_unique<LoadPlayer>(clip, i * (STREAMS / PLAYERS),
                                                   recording.startTime(), recording.startTime()));
    players.back()->start();
  }
  endure();
  recording.stop();
  db_->recordSessionTable()->updateDataBase(true);
  unsigned int played = 0;
  for (const auto& player : players) {
    player->stop();
    EXPECT_EQ(player->flaw(), "");
    EXPECT_GT(player->played(), 0U);
    played += player->played();
  }
  for (unsigned int i = 0; i < STREAMS; ++i) expectWhole(clip, i, recording);

  EXPECT_EQ(recording.flaws(), std::vector<std::string>());
  EXPECT_EQ(errors_->lines(), std::vector<std::string>());
  EXPECT_GT(deleted_, 0U);
  report(recording, played);
  for (const long peak : peaks_) EXPECT_LE(peak, peaks_.front() + MEMORY_MARGIN);
}

}  // namespace
