#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/playback/PlaybackFixture.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/FaultCalls.h"

/**
 * A recorder on which things go wrong. Before a case begins, a bystander of another stream was
 * recorded as session 1; whatever happens to session 2 and later ones, its rows and files must be
 * the same at the end.
 */
class FaultFixture : public PlaybackFixture {
 protected:
  static constexpr int FLUSH = 11;      // seconds
  static constexpr int KEY_PERIOD = 5;  // seconds

  /** What the index rows of a session lead to. */
  struct Index {
    unsigned int found = 0;   // whole key frames of the row's time
    unsigned int behind = 0;  // places where the slice has no whole record
    bool operator==(const Index&) const = default;
  };

  explicit FaultFixture(streamTypes kind = STREAM_VIDEO);
  void SetUp() override;
  void TearDown() override;

  /** Starts a session: the first one of a case is session 2. */
  void roll(const KTRStreamRecordParams& params);
  void roll() { roll(params()); }
  /** Feeds a frame a second, every fifth a key frame, until there were so many or it has ended. */
  void film(int frames);
  /** As film(1), without waiting for the session. */
  void feed();
  /** A key frame with so many bytes of picture. */
  void bigKey(unsigned int bytes);
  /** Cuts a slice whenever something is flushed. */
  [[nodiscard]] KTRStreamRecordParams smallSlices() const;

  /** Seconds since the case began. */
  [[nodiscard]] int elapsed() const { return static_cast<int>(now() - zero_); }
  /** When the frames come that can be played from a second of the case on, over all sessions. */
  [[nodiscard]] std::vector<int> played(int from = 0);
  [[nodiscard]] static std::vector<int> seconds(int from, int to);
  /** Follows the index rows of a session; a row that leads to anything else fails the case. */
  [[nodiscard]] Index index(unsigned int session);
  /** A new session records, and plays behind what could be played before. */
  void expectNextSessionWorks(const KTRStreamRecordParams& params);
  void expectNextSessionWorks() { expectNextSessionWorks(params()); }
  /** The path of a slice, wherever the session is stored. */
  [[nodiscard]] std::string storedSlice(unsigned int session, unsigned int number);
  void expectError(const std::string& text, unsigned int times = 1) const;
  /** Part of the path of a slice of session 2. */
  [[nodiscard]] static std::string slice(unsigned int number) {
    return "_R2_F" + std::to_string(number) + ".dat";
  }
  /** Size of a frame of film() on disk. */
  [[nodiscard]] static unsigned int recordSize();

  MariaDbServer& server_ = MariaDbServer::instance();
  ClientCalls calls_;
  FaultCalls faults_;

 private:
  [[nodiscard]] std::string bystander();
  void follow(const std::vector<std::string>& row, unsigned int session, Index& result);

  long zero_ = START;
  int filmed_ = 0;
  std::string bystander_;
};
