#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/bench/BenchPlace.h"
#include "host/bench/LogWatch.h"
#include "host/bench/Measurement.h"
#include "recording/KTRVideoStreamRecordSession.h"

/**
 * Cameras of 4 Mbit/s and 25 frames a second, as many as are wanted, recorded as they come: one
 * thread gives every frame to its record session, built right before. It looks 30 times a second
 * what has come due, as who reads from sockets in rounds does, so that what its own sleep costs
 * does not hide what recording costs: a frame is committed up to 33 ms behind its stamp. The
 * streams begin 21 ms after each other, so that neither their frames nor their key frames come due
 * at once; a recorder has at most 128 of them.
 *
 * Owns: the sessions and the feeding thread. What was recorded stays until removeFiles().
 * Threads: the main thread. The sessions have one each.
 * Blocks: start() until all streams are recorded; stop() until everything is on the disk.
 * Errors: HostError when a session does not come to record.
 */
class LiveStreams {
 public:
  /** What the sessions have stored. */
  struct Stored {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;  // frames' heads included
  };

  /** Makes the recorders, called name, name1, name2 and so on, in new directories. */
  LiveStreams(BenchPlace& place, const std::string& name, unsigned int streams);
  LiveStreams(const LiveStreams&) = delete;
  LiveStreams& operator=(const LiveStreams&) = delete;
  ~LiveStreams();

  void start();
  /** From here on longestQueue() and its like count anew. */
  void mark();
  /** Stores what is committed and ends all sessions. */
  void stop();
  /** After stop(): adds a flaw for each frame, row, session or byte that is missing. */
  void check(Measurement& result) const;
  /**
   * After stop(): adds a flaw where the recording has fallen behind, as its log and its queues
   * tell. A short form adds none: it says nothing about time.
   */
  void checkPace(const LogWatch& log, Measurement& result) const;
  /** Removes the files of all recorders. */
  void removeFiles() const;

  [[nodiscard]] Stored stored() const;
  /** The most messages that waited for one session, the one just committed included. */
  [[nodiscard]] unsigned int longestQueue() const { return longestQueue_; }
  /** The most that a round of frames began too late by, milliseconds: the feeder's own fault. */
  [[nodiscard]] std::int64_t latestRoundMs() const { return latestRoundMs_; }
  /** After stop(): how long each commit() has taken, of all frames. */
  [[nodiscard]] const Latencies& commits() const { return commits_; }
  /** Processor time of the feeding thread since start(). */
  [[nodiscard]] double feederCpuSeconds() const;
  /** The part of it that commit() has taken, from one call in seventeen. */
  [[nodiscard]] double commitCpuSeconds() const { return sampledCpu_ * COMMITS_OF_A_SAMPLE; }

 private:
  // Without a divisor in common with the streams of any scenario, so that all get their turn.
  static constexpr unsigned int COMMITS_OF_A_SAMPLE = 17;

  struct Stream {
    std::unique_ptr<KTRVideoStreamRecordSession> session;
    std::int64_t firstMs = 0;  // behind the beginning
    std::uint64_t frames = 0;  // committed; written by the feeding thread
  };

  void openSessions();
  [[nodiscard]] KTRStreamRecordParams paramsOf(unsigned int stream) const;
  [[nodiscard]] std::string recorderName(unsigned int number) const;
  void feed();
  void awaitRound(std::chrono::steady_clock::time_point due);
  void feedOne(Stream& stream, std::int64_t stampMs);
  [[nodiscard]] int commit(Stream& stream, const KTDataBlock& frame);
  void noteQueue(unsigned int length);
  void awaitRecording();
  [[nodiscard]] std::uint64_t bytesOnDisk() const;

  BenchPlace& place_;
  const BenchClip& clip_;
  const std::string name_;
  std::vector<KTR_DB_handle*> recorders_;
  std::vector<Stream> streams_;
  std::array<std::vector<Stream*>, BenchClip::FRAME_MS> due_;  // by millisecond of a frame's time
  std::thread feeder_;
  Latencies commits_;  // the feeding thread's
  std::atomic<double> sampledCpu_{0};
  std::atomic<bool> ending_{false};
  std::atomic<unsigned int> longestQueue_{0};
  std::atomic<std::int64_t> latestRoundMs_{0};
  std::atomic<std::uint64_t> refused_{0};
  Stored final_;
};
