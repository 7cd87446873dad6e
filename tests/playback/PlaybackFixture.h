#pragma once

#include "playback/KTRStreamReadSession.h"
#include "tests/support/RecorderFixture.h"

/** A recorder with something to play: the verbs of a player on top of those of a host. */
class PlaybackFixture : public RecorderFixture {
 protected:
  using Parameters = KTRStreamReadSession::Parameters;

  explicit PlaybackFixture(streamTypes kind = STREAM_VIDEO);

  /** Records a key frame a second, count of them, from the clock's time on, and ends the session.
   */
  void recordSeconds(int count);
  /** Ends the session; what it recorded is there for players. */
  void finish();
  [[nodiscard]] static Parameters at(long startTime, unsigned int duration = 0);
  /** Opens a player and loads; the answer of load(). */
  int play(const Parameters& params);
  int play(long startTime, unsigned int duration = 0) { return play(at(startTime, duration)); }
  /** Reads one frame: its time in seconds since START, or -1 when none came. */
  [[nodiscard]] long nextFrame();
  /** Reads until no frame comes: the number of frames. */
  [[nodiscard]] int drain();

  std::unique_ptr<KTRStreamReadSession> player_;
};
