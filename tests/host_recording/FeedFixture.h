#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/media/SteadyClock.h"
#include "host/record/SessionFeed.h"
#include "tests/support/RecorderFixture.h"

/**
 * A feed into the recorder "cam" on a clock that the test moves, with the steady clock of ktr above
 * it. Every frame that is fed is remembered and differs from all others.
 */
class FeedFixture : public RecorderFixture {
 protected:
  static constexpr long MIDNIGHT = 1700006400;  // UTC, 6400 seconds behind START

  FeedFixture();

  /** Makes the feed anew; the one before is finished first. */
  void make(const SessionFeed::Options& options);
  [[nodiscard]] SessionFeed::Options options() const;
  /** A feed with a spool of so many bytes. */
  void makeWithSpool(std::uint64_t bytes);
  [[nodiscard]] std::string spoolDirectory() const { return dir_.path() + "/spool"; }
  /** A feed of sound, with a spool of so many bytes. */
  void makeSound(std::uint64_t spoolBytes = 0);
  /** What the header of that sound is stored as. */
  [[nodiscard]] static std::string soundHeader();

  /** Feeds a frame with so much media, stamped with the wall clock. */
  void feed(KTRFrameFormat::Kind kind, unsigned int bytes = 20);
  void feedKey() { feed(KTRFrameFormat::Key); }
  void feedDelta() { feed(KTRFrameFormat::Delta); }
  void feedSound() { feed(KTRFrameFormat::Audio); }
  /** Feeds groups of a key frame and three delta frames, a frame a second. */
  void feedGroups(int groups, unsigned int bytes = 20);
  void pass(long seconds) { clock_.advanceSeconds(seconds); }
  /** Waits until the session has stored what it was fed and waits for more. */
  void settleFeed();
  /** Waits until frames are stored, or so many are lost. */
  void awaitStored(std::uint64_t frames) const;
  /** Waits until no session runs. */
  void awaitNoSession() const;
  /** The source ends when all that it sent is stored. */
  void endSource();
  /** Lets a session die of silence. */
  void starve();
  /** Blocks the way of sessions: their directory is a file. */
  void obstruct(std::uint64_t spoolBytes = 0);
  void clearTheWay();
  void finish() { feed_->finish(); }
  /** Puts both clocks to a time before anything is recorded. */
  void goTo(long seconds) { pass(seconds - now()); }
  /** How often a session has closed for reasons of time. */
  [[nodiscard]] unsigned int closings() const;

  [[nodiscard]] std::uint64_t stored() const { return feed_->progress().stored.frames; }
  [[nodiscard]] std::uint64_t lost() const { return feed_->progress().lost; }
  [[nodiscard]] unsigned int sessions();

  /** All frames that a player hands out, from the first on, as "time-ms number". */
  [[nodiscard]] std::vector<std::string> played() const;
  /** What was fed, in the same form. */
  [[nodiscard]] const std::vector<std::string>& fed() const { return fed_; }
  /** Finishes, and expects that a player hands out all that was fed, each frame once and in order.
   */
  void expectAllPlayed();
  /** The same, in the order of the frames' times. */
  void expectAllPlayedByTime();

  SteadyClock steady_;
  bool sound_ = false;
  std::unique_ptr<SessionFeed> feed_;

 private:
  [[nodiscard]] static std::string nameOf(std::int64_t timeMs, const KTDataBlock& frame);

  std::vector<std::string> fed_;
  std::uint32_t number_ = 0;
};
