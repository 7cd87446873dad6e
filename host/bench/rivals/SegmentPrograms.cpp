#include "host/bench/rivals/SegmentPrograms.h"

namespace {

// As long and as large as slices of 128 MiB at 4 Mbit/s.
constexpr const char* SEGMENT_SECONDS = "256";
constexpr const char* SEGMENT_BYTES = "134217728";

using Words = std::vector<std::string>;

Words ffmpegWords(const std::string& movie, const std::string& output) {
  return {
      "ffmpeg",        "-nostdin",      "-v",  "error", "-i", movie, "-c", "copy", "-f", "segment",
      "-segment_time", SEGMENT_SECONDS, output};
}

Words gstreamerWords(const std::string& movie, const std::string& output) {
  return {"gst-launch-1.0",
          "-q",
          "filesrc",
          "location=" + movie,
          "!",
          "qtdemux",
          "!",
          "h264parse",
          "!",
          "splitmuxsink",
          "location=" + output,
          std::string("max-size-bytes=") + SEGMENT_BYTES};
}

bool gstreamerWorks() {
  return ProgramRival::isInstalled("gst-launch-1.0") &&
         ProgramRival::succeeds({"gst-inspect-1.0", "--exists", "splitmuxsink"}) &&
         ProgramRival::succeeds({"gst-inspect-1.0", "--exists", "h264parse"});
}

}  // namespace

std::vector<std::unique_ptr<Rival>> SegmentPrograms::of(BenchPlace& place, BenchMovie& movie) {
  std::vector<std::unique_ptr<Rival>> rivals;
  const auto add = [&](const std::string& name,
                       Words (*words)(const std::string&, const std::string&),
                       const std::string& file) {
    const std::string path = movie.path();
    rivals.push_back(std::make_unique<ProgramRival>(
        place, ProgramRival::Work{name,
                                  [words, path, file](const std::string& directory) {
                                    return words(path, directory + "/" + file);
                                  },
                                  movie.bytes(), movie.frames()}));
  };
  if (ProgramRival::isInstalled("ffmpeg")) {
    add("ffmpeg's segments, .mp4", ffmpegWords, "%05d.mp4");
    add("ffmpeg's segments, .mkv", ffmpegWords, "%05d.mkv");
  }
  if (gstreamerWorks()) add("GStreamer's splitmuxsink, .mp4", gstreamerWords, "%05d.mp4");
  return rivals;
}
