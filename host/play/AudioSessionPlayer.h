#pragma once

#include <memory>

#include "host/media/AudioHeader.h"
#include "host/play/SessionPlayer.h"
#include "playback/KTRAudioStreamReadSession.h"

/**
 * Plays sound: takes the header out of the first frame after every load, so that all frames are
 * alike and the header is at hand however many of them are passed over.
 *
 * Owns, Threads, Blocks, Errors: as KTRAudioStreamReadSession.
 */
class AudioSessionPlayer : public SessionPlayerOf<KTRAudioStreamReadSession> {
 public:
  using SessionPlayerOf::SessionPlayerOf;
  ~AudioSessionPlayer() override;

  [[nodiscard]] int load(const Parameters& params) override;
  [[nodiscard]] bool loadStart(const KTRRecorderSessionRow& row);
  [[nodiscard]] int getFrame(KTDataBlock& frame, unsigned int& timestamp) override;

  /** Of the frame read last; null before the first one and when it was damaged. */
  [[nodiscard]] const std::shared_ptr<const AudioHeader>& header() const { return header_; }

 private:
  void wantHeader();

  std::shared_ptr<const AudioHeader> header_;
  bool wanted_ = true;
};
