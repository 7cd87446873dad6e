#include "host/bench/BenchMovie.h"

#include "host/bench/rivals/ReadLoop.h"
#include "host/media/MediaOutput.h"

const std::string& BenchMovie::path() {
  if (path_.empty()) {
    const std::string path =
        place_.freshDirectory("movie-" + std::to_string(seconds_)) + "/movie.mp4";
    make(path);
    place_.sync();
    (void)ReadLoop({path}, ReadLoop::USUAL_BLOCK).run();
    path_ = path;
  }
  return path_;
}

void BenchMovie::make(const std::string& path) {
  MediaOutput output(path, MediaCodec::H264);
  KTRVideoFrame frame;
  for (std::uint64_t i = 0; i < frames(); ++i) {
    const auto stampMs = static_cast<std::uint32_t>(i * BenchClip::FRAME_MS);
    if (frame.parse(place_.clip().frame(i, stampMs))) output.write(stampMs, frame);
  }
  output.finish();
}
