#pragma once

#include <string>
#include <vector>

/**
 * Real clips of a few seconds, made by the ffmpeg program, and what ffmpeg says of a clip.
 *
 * Errors: std::runtime_error with the command that failed.
 * Blocks: until ffmpeg is done.
 */
class TestClip {
 public:
  /** How a clip is made. */
  struct Form {
    std::string codec = "h264";  // h264, hevc, mjpeg, or an encoder's name
    int bFrames = 0;
    double seconds = 2;
    int frameRate = 25;
    int keyInterval = 10;  // frames
    std::string size = "160x120";
    std::string encoderOptions = "";  // further ones for the command line
  };

  /** Makes a clip; the extension of path decides on the container. Returns path. */
  static std::string make(const std::string& path, const Form& form);
  static std::string make(const std::string& path) { return make(path, Form()); }
  /**
   * Makes a clip with a white picture and a beep at the same moment, every two seconds from second
   * 1 on; the rest is black and silent. audio is the encoder of the sound and its options.
   */
  static std::string makeBeeps(const std::string& path, const std::string& audio, const Form& form);
  /** Makes a sound file without video. */
  static std::string makeSound(const std::string& path);
  /** Runs ffmpeg with these arguments. */
  static void ffmpeg(const std::string& arguments);

  /** When white pictures begin, seconds, as ffmpeg decodes the clip. */
  [[nodiscard]] static std::vector<double> flashes(const std::string& path);
  /** When beeps begin, seconds, as ffmpeg decodes the clip. */
  [[nodiscard]] static std::vector<double> beeps(const std::string& path);
  /** One field of every packet of sound as ffprobe prints it. */
  [[nodiscard]] static std::vector<std::string> audioPackets(const std::string& path,
                                                             const std::string& field);
  /** One field of the sound stream as ffprobe prints it; empty without sound. */
  [[nodiscard]] static std::string audioStream(const std::string& path, const std::string& field);

  /** A hash of each decoded picture, in the order of showing. */
  [[nodiscard]] static std::vector<std::string> pictures(const std::string& path);
  /** One field of every video packet as ffprobe prints it, in the order of the file. */
  [[nodiscard]] static std::vector<std::string> packets(const std::string& path,
                                                        const std::string& field);
  /** One field of the container as ffprobe prints it. */
  [[nodiscard]] static std::string format(const std::string& path, const std::string& field);
  /** One field of the video stream as ffprobe prints it. */
  [[nodiscard]] static std::string stream(const std::string& path, const std::string& field);
};
