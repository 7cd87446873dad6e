#include "host/bench/rivals/SegmentPrograms.h"

namespace {

// As long and as large as slices of 128 MiB at 4 Mbit/s.
constexpr const char* SEGMENT_SECONDS = "256";
constexpr const char* SEGMENT_BYTES = "134217728";
constexpr unsigned int START_AND_END_SECONDS = 30;  // at most, of many live streams

using Words = std::vector<std::string>;

// A movie to be copied by one process: once, as fast as it goes, or for several streams at once, at
// the pace of its pictures.
struct Job {
  std::string movie;
  unsigned int streams;
  bool live;
};

struct Program {
  std::string name;
  std::function<Words(const Job&, const std::string&)> words;  // for a directory to write to
};

void append(Words& words, const Words& others) {
  words.insert(words.end(), others.begin(), others.end());
}

Words ffmpegWords(const Job& job, const std::string& directory, const std::string& suffix) {
  Words words = {"ffmpeg", "-nostdin", "-v", "error"};
  for (unsigned int i = 0; i < job.streams; ++i) {
    if (job.live) words.emplace_back("-re");
    append(words, {"-i", job.movie});
  }
  for (unsigned int i = 0; i < job.streams; ++i) {
    const std::string number = std::to_string(i);
    append(words, {"-map", number + ":v", "-c", "copy", "-f", "segment", "-segment_time",
                   SEGMENT_SECONDS, directory + "/" + number + "-%05d" + suffix});
  }
  return words;
}

Words gstreamerWords(const Job& job, const std::string& directory) {
  Words words = {"gst-launch-1.0", "-q"};
  for (unsigned int i = 0; i < job.streams; ++i) {
    append(words, {"filesrc", "location=" + job.movie, "!", "qtdemux", "!", "h264parse", "!"});
    if (job.live) append(words, {"identity", "sync=true", "!"});
    append(words, {"splitmuxsink", "location=" + directory + "/" + std::to_string(i) + "-%05d.mp4",
                   std::string("max-size-bytes=") + SEGMENT_BYTES});
  }
  return words;
}

bool gstreamerWorks() {
  return ProgramRival::isInstalled("gst-launch-1.0") &&
         ProgramRival::succeeds({"gst-inspect-1.0", "--exists", "splitmuxsink"}) &&
         ProgramRival::succeeds({"gst-inspect-1.0", "--exists", "h264parse"});
}

Program ffmpeg(const std::string& suffix) {
  return {"ffmpeg's segments, " + suffix, [suffix](const Job& job, const std::string& directory) {
            return ffmpegWords(job, directory, suffix);
          }};
}

std::vector<Program> installed(const std::vector<std::string>& ffmpegSuffixes) {
  std::vector<Program> programs;
  if (ProgramRival::isInstalled("ffmpeg")) {
    for (const std::string& suffix : ffmpegSuffixes) programs.push_back(ffmpeg(suffix));
  }
  if (gstreamerWorks()) programs.push_back({"GStreamer's splitmuxsink, .mp4", gstreamerWords});
  return programs;
}

ProgramRival::Work workOf(const Program& program, const Job& job, BenchMovie& movie) {
  ProgramRival::Work work{
      program.name,
      [program, job](const std::string& directory) { return program.words(job, directory); },
      job.streams * movie.bytes(), job.streams * movie.frames()};
  if (!job.live) return work;
  const auto seconds = static_cast<unsigned int>(movie.frames() / BenchClip::FRAME_RATE);
  work.name += " of one process";
  work.limitSeconds = seconds + START_AND_END_SECONDS;
  return work;
}

std::vector<std::unique_ptr<Rival>> rivalsOf(const std::vector<Program>& programs,
                                             unsigned int streams, bool live, BenchPlace& place,
                                             BenchMovie& movie) {
  std::vector<std::unique_ptr<Rival>> rivals;
  for (const Program& program : programs) {
    const Job job{movie.path(), streams, live};
    rivals.push_back(std::make_unique<ProgramRival>(place, workOf(program, job, movie)));
  }
  return rivals;
}

}  // namespace

std::vector<std::unique_ptr<Rival>> SegmentPrograms::of(BenchPlace& place, BenchMovie& movie) {
  return rivalsOf(installed({".mp4", ".mkv"}), 1, false, place, movie);
}

// One form of each is enough: a minute cannot be made shorter.
std::vector<std::unique_ptr<Rival>> SegmentPrograms::live(BenchPlace& place, BenchMovie& movie,
                                                          unsigned int streams) {
  return rivalsOf(installed({".mp4"}), streams, true, place, movie);
}
