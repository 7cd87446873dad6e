#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/media/MediaFile.h"
#include "host/media/MediaOutput.h"
#include "host/media/ParameterSets.h"

/**
 * The .mp4 or .mkv file of a MediaOutput. It is one frame behind, for only the next frame tells how
 * long a frame lasts; the last one lasts as long as the one before. Sound is on the same clock.
 *
 * Owns: the file and libav's state for it.
 * Threads: one thread at a time for each object.
 * Blocks: as long as the disk does.
 * Errors: MediaError.
 */
class MediaContainer : public MediaOutput::Form {
 public:
  /** format: libavformat's name of the container. */
  MediaContainer(const std::string& path, const char* format, MediaCodec codec,
                 const AudioHeader* audio = nullptr);
  ~MediaContainer() override;

  void write(std::int64_t stampMs, const KTRVideoFrame& frame) override;
  void writeAudio(const AudioPacket& packet) override;
  void finish() override;

 private:
  struct Muxer;

  void begin(const KTDataBlock& firstPicture);
  void addAudio(const AudioHeader& audio);
  void watchParameterSets(const KTRVideoFrame& frame, const KTDataBlock& picture);
  void hold(std::int64_t stampMs, const KTRVideoFrame& frame, const KTDataBlock& picture);
  void writeHeld(std::int64_t durationMs);
  [[nodiscard]] std::int64_t ticks(std::int64_t ms) const;

  std::string path_;
  MediaCodec codec_;
  MediaFile file_;
  std::unique_ptr<Muxer> muxer_;
  ParameterSets sets_;
  bool setsChanged_ = false;
  bool started_ = false;
  std::int64_t startMs_ = 0;
  std::int64_t heldMs_ = 0;
  std::int64_t durationMs_ = 40;  // of the frame before; this for a file of one frame
};
