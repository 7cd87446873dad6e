#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "host/media/AccessUnit.h"
#include "host/media/AnnexBConverter.h"
#include "host/media/AudioTrack.h"
#include "host/media/MediaPacer.h"
#include "host/media/MediaSource.h"
#include "host/media/MediaTimeline.h"
#include "host/media/ParameterSets.h"
#include "host/media/PictureOrder.h"

/**
 * Reads the video of whatever libavformat opens, and its sound where that is wanted: a file or the
 * URL of a camera. It picks the best * video stream of a kind that is stored and delivers it
 * picture by picture, unchanged but for the framing: H.264 and H.265 as Annex B with the parameter
 * sets in every key frame, MJPEG as JPEG pictures. Files are paced in real time; cameras set the
 * pace themselves. RTSP goes over TCP. Sound comes in the packets of its codec, on the timeline of
 * the pictures.
 *
 * Owns: the connection or file, and libav's state for it.
 * Threads: constructed and read by one thread; stop() and stopped() from any thread, stop() also
 *   from a signal handler.
 * Blocks: the constructor until the source has shown what it is, read() until a picture is due. A
 *   network source that sends no picture for TIMEOUT_SECONDS is given up.
 * Errors: MediaError.
 */
class MediaInput {
 public:
  using Info = MediaSource::Info;

  struct Options {
    /** Pace files in real time. */
    bool realtime = true;
    /** Deliver the sound too. */
    bool audio = false;
    /** When not null: a flag that, set from elsewhere, does what stop() does. */
    const std::atomic<bool>* stop = nullptr;
  };

  explicit MediaInput(const std::string& url) : MediaInput(url, Options()) {}
  MediaInput(const std::string& url, const Options& options);
  MediaInput(const MediaInput&) = delete;
  MediaInput& operator=(const MediaInput&) = delete;

  /**
   * Throws the constructor's error for a file that is missing or may not be read and for a kind of
   * URL that libavformat does not know, without opening anything.
   */
  static void check(const std::string& url) { MediaSource::check(url); }
  /** Whether the source is reached over a network, so that trying again may help. */
  [[nodiscard]] static bool isNetwork(const std::string& url) {
    return MediaSource::isNetwork(url);
  }

  /** The source, without the password that its URL may hold: fit for messages. */
  [[nodiscard]] const std::string& name() const { return source_.name(); }
  [[nodiscard]] const Info& info() const { return source_.info(); }

  /**
   * Delivers the next picture.
   * @return false at the end of the source and after stop(); unit is unchanged then
   */
  [[nodiscard]] bool read(AccessUnit& unit);
  /** The sound that came with the pictures that were read, since the last call. */
  [[nodiscard]] std::vector<AudioPacket> takeAudio();
  /** What the sound is; null without sound, and until its first packet at the latest. */
  [[nodiscard]] const AudioHeader* audioHeader() const;

  /** Ends a read that waits, and all later ones. */
  void stop() { stop_.request(); }
  /** stop() was called or the stop flag is set. */
  [[nodiscard]] bool stopped() const { return stop_.requested(); }

 private:
  [[nodiscard]] bool readPicture(AccessUnit& unit);
  [[nodiscard]] bool take(AccessUnit& unit);
  void frame(AccessUnit& unit, MediaBytes bytes);
  void place(AccessUnit& unit);

  MediaStop stop_;
  MediaSource source_;
  MediaPacer pacer_;
  bool paced_;
  AnnexBConverter converter_;
  ParameterSets sets_;
  MediaTimeline timeline_;
  PictureOrder order_;
  std::unique_ptr<AudioTrack> audio_;  // null without sound
};
