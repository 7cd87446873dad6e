#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/media/MediaCodec.h"
#include "host/media/MediaError.h"
#include "host/media/MediaStop.h"
#include "host/media/NalUnits.h"

struct AVCodecParameters;
struct AVPacket;
struct AVStream;

/**
 * An opened file or network source, its best video stream and, where it is wanted, the sound that
 * goes with it, packet by packet as libavformat delivers them: the part of MediaInput that speaks
 * with the outside.
 *
 * Owns: the connection or file, the current packet.
 * Threads: one thread; the stop request may come from any.
 * Blocks: the constructor and next(), at most TIMEOUT_SECONDS at a time for a network source that
 *   sends no picture; a stop request ends the wait.
 * Errors: MediaError. Sound of a kind that is not stored is left out, with one warning.
 */
class MediaSource {
 public:
  static constexpr int TIMEOUT_SECONDS = 10;

  /** What is known once the source is open. */
  struct Info {
    MediaCodec codec = MediaCodec::H264;
    int width = 0;
    int height = 0;
    int frameRate = 25;  // frames per second, rounded, 1..255; 25 when the source does not say
    bool live = false;   // it sets the pace itself
    std::int64_t frameUs = 40'000;   // the usual time between two frames
    unsigned int reorderFrames = 0;  // frames decoded at most before one that is shown earlier
  };

  /** stop must outlive the object. */
  MediaSource(const std::string& url, const MediaStop& stop, bool withAudio = false);
  MediaSource(const MediaSource&) = delete;
  MediaSource& operator=(const MediaSource&) = delete;
  ~MediaSource();

  /** As MediaInput::check(). */
  static void check(const std::string& url);
  /** As MediaInput::isNetwork(). */
  [[nodiscard]] static bool isNetwork(const std::string& url);

  /** The URL without user and password: fit for messages. */
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const Info& info() const { return info_; }
  /** The stream's header as its container has it; empty when there is none. */
  [[nodiscard]] MediaBytes header() const;

  /** The parameters of the sound; null when there is none. */
  [[nodiscard]] const AVCodecParameters* audio() const;

  /** Moves to the next packet; false at the end and after a stop request. */
  [[nodiscard]] bool next();
  /** Whether the packet is one of the sound. */
  [[nodiscard]] bool isAudio() const { return isAudio_; }
  [[nodiscard]] AVPacket& packet() const;
  /** A new header that came with the packet; empty for nearly all. */
  [[nodiscard]] MediaBytes packetHeader() const;
  /** Time stamps of the packet in microseconds; nothing when the source has none. */
  [[nodiscard]] std::optional<std::int64_t> dtsUs() const;
  [[nodiscard]] std::optional<std::int64_t> ptsUs() const;
  /** How long the packet lasts; 0 when the source does not say. */
  [[nodiscard]] std::int64_t durationUs() const;

 private:
  struct Handles;

  void open(const std::string& url, bool withAudio);
  void useArrivalTimes();
  void chooseStream();
  void chooseAudio();
  void describeStream();
  [[nodiscard]] MediaError lack(const char* what, const char* advice) const;
  void startWaiting();
  [[nodiscard]] bool waitIsOver();
  [[nodiscard]] bool refused(int result);
  [[nodiscard]] std::string flaw(int result) const;
  [[nodiscard]] std::optional<std::int64_t> microseconds(std::int64_t stamp) const;

  const MediaStop& stop_;
  std::string name_;
  Info info_;
  std::unique_ptr<Handles> handles_;
  AVStream* stream_ = nullptr;
  AVStream* audio_ = nullptr;
  bool isAudio_ = false;
  bool network_;
  std::int64_t waitEndUs_ = 0;  // of the monotonic clock
  bool silent_ = false;         // a wait has gone by without what was waited for
  unsigned int broken_ = 0;     // packets in a row that could not be read
};
