#pragma once

#include <string>
#include <vector>

/**
 * One stream to record: its number and where it comes from, given as N=URL, or as N=@FILE with the
 * URL in the first line of a file that not everybody may read.
 *
 * Recordings are looked up by stream number alone, so two sources never share a number, and neither
 * do the picture and the sound of one source.
 *
 * Threads: one thread at a time for each object.
 * Blocks: the parsers for the file that a text names.
 * Errors: the parsers throw a usage error that shows the form.
 */
struct StreamSource {
  /** What is recorded of each source. */
  enum Tracks { Video, VideoAndAudio };
  /** The sound of video stream N is stream N + AUDIO_OFFSET. */
  static constexpr unsigned char AUDIO_OFFSET = 128;

  unsigned char stream = 0;
  std::string url;

  [[nodiscard]] static StreamSource parse(const std::string& text);
  /** All of a command line; with audio, numbers end at 127 to leave the rest to the sound. */
  [[nodiscard]] static std::vector<StreamSource> parseAll(const std::vector<std::string>& texts,
                                                          Tracks tracks = Video);
};
