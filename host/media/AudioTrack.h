#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "host/media/AudioHeader.h"
#include "host/media/AudioPacket.h"
#include "host/media/AudioTimeline.h"

struct AVCodecParameters;
struct AVPacket;

/**
 * The sound of a MediaInput: keeps its packets until the next picture has its place, and then
 * places them beside it. AAC loses its ADTS heads, which containers do not hold.
 *
 * Owns: the packets that were not taken yet.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: damaged packets are passed over.
 * Units: microseconds.
 */
class AudioTrack {
 public:
  explicit AudioTrack(const AVCodecParameters& coded);
  AudioTrack(const AudioTrack&) = delete;
  AudioTrack& operator=(const AudioTrack&) = delete;
  ~AudioTrack();

  /** Whether sound of these parameters can be stored. */
  [[nodiscard]] static bool canStore(const AVCodecParameters& coded);
  /** How long an Opus packet sounds, 0 for what is none: it says so itself. */
  [[nodiscard]] static std::int64_t opusDurationUs(MediaBytes packet);

  /** Keeps a packet, which is left empty. durationUs is 0 when the source does not say. */
  void add(AVPacket& packet, AudioTimeline::Stamp stampUs, std::int64_t durationUs);
  /** Places the packets that are kept, once the first picture has its place. */
  void place(const MediaTimeline& pictures);
  /** The packets that have their place since the last call. */
  [[nodiscard]] std::vector<AudioPacket> take();
  /** Null until it is known: with the first packet at the latest. */
  [[nodiscard]] const AudioHeader* header() const { return header_ ? &*header_ : nullptr; }

 private:
  struct Coded;
  struct Waiting {
    KTDataBlock bytes;
    AudioTimeline::Stamp stampUs;
    std::int64_t durationUs;
  };

  [[nodiscard]] bool removeAdtsHead(AVPacket& packet);
  [[nodiscard]] std::int64_t durationUs(const AVPacket& packet) const;
  void completeHeader(const std::vector<unsigned char>& extraData);

  std::unique_ptr<Coded> coded_;
  std::optional<AudioHeader> header_;
  AudioTimeline timeline_;
  std::deque<Waiting> waiting_;
  std::vector<AudioPacket> placed_;
};
