#include "tests/support/TestClip.h"

#include <stdio.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

struct Closing {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

// What a shell command prints; throws when the command fails.
std::string output(const std::string& command) {
  std::unique_ptr<FILE, Closing> pipe(popen(command.c_str(), "r"));
  if (!pipe) throw std::runtime_error("cannot run " + command);
  std::string text;
  char part[4096];
  for (size_t n = 0; (n = fread(part, 1, sizeof(part), pipe.get())) != 0;) text.append(part, n);
  if (pclose(pipe.release()) != 0) throw std::runtime_error("failed: " + command);
  return text;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.front() != '#') all.push_back(line);
  }
  return all;
}

std::vector<std::string> packetsOf(const std::string& path, const char* kind,
                                   const std::string& field) {
  std::vector<std::string> values =
      lines(output("ffprobe -v error -select_streams " + std::string(kind) +
                   " -of csv=p=0 -show_entries packet=" + field + " '" + path + "'"));
  for (std::string& value : values) value.erase(std::min(value.find(','), value.size()));
  return values;
}

std::string streamOf(const std::string& path, const char* kind, const std::string& field) {
  const std::vector<std::string> all =
      lines(output("ffprobe -v error -select_streams " + std::string(kind) +
                   " -of csv=p=0 -show_entries stream=" + field + " '" + path + "'"));
  return all.empty() ? "" : all.front();
}

std::vector<double> numbersBehind(const std::string& label, const std::string& text) {
  std::vector<double> numbers;
  for (size_t at = 0; (at = text.find(label, at)) != std::string::npos;) {
    at += label.size();
    numbers.push_back(std::stod(text.substr(at, 20)));
  }
  return numbers;
}

std::string encoder(const TestClip::Form& form) {
  const std::string bFrames = std::to_string(form.bFrames);
  const std::string interval = std::to_string(form.keyInterval);
  if (form.codec == "h264") {
    return "libx264 -preset veryfast -sc_threshold 0 -bf " + bFrames + " -g " + interval;
  }
  if (form.codec == "hevc") {
    return "libx265 -preset ultrafast -x265-params log-level=none:scenecut=0:bframes=" + bFrames +
           ":keyint=" + interval + ":min-keyint=" + interval;
  }
  return form.codec + " -g " + interval;
}

}  // namespace

std::string TestClip::make(const std::string& path, const Form& form) {
  ffmpeg("-f lavfi -i testsrc2=size=" + form.size + ":rate=" + std::to_string(form.frameRate) +
         ":duration=" + std::to_string(form.seconds) + " -pix_fmt yuvj420p -c:v " + encoder(form) +
         " " + form.encoderOptions + " '" + path + "'");
  return path;
}

std::string TestClip::makeBeeps(const std::string& path, const std::string& audio,
                                const Form& form) {
  const std::string seconds = std::to_string(form.seconds);
  ffmpeg("-f lavfi -i \"color=black:size=" + form.size + ":rate=" + std::to_string(form.frameRate) +
         ":duration=" + seconds +
         ",drawbox=color=white:t=fill:enable='gte(t,1)*lt(mod(t+1,2),0.2)'\" -f lavfi -i "
         "\"aevalsrc='gte(t,1)*lt(mod(t+1,2),0.2)*sin(2000*PI*t)':s=48000:d=" +
         seconds + "\" -pix_fmt yuvj420p -c:v " + encoder(form) + " " + form.encoderOptions +
         " -c:a " + audio + " '" + path + "'");
  return path;
}

std::string TestClip::makeSound(const std::string& path) {
  ffmpeg("-f lavfi -i sine=duration=1 '" + path + "'");
  return path;
}

void TestClip::ffmpeg(const std::string& arguments) {
  output("ffmpeg -nostdin -v error -y " + arguments);
}

std::vector<std::string> TestClip::pictures(const std::string& path) {
  std::vector<std::string> hashes = lines(output("ffmpeg -nostdin -v error -i '" + path +
                                                 "' -map 0:v -fps_mode passthrough -f framemd5 -"));
  for (std::string& line : hashes) line.erase(0, line.rfind(' ') + 1);
  return hashes;
}

std::vector<std::string> TestClip::packets(const std::string& path, const std::string& field) {
  return packetsOf(path, "v", field);
}

std::vector<std::string> TestClip::audioPackets(const std::string& path, const std::string& field) {
  return packetsOf(path, "a", field);
}

std::string TestClip::stream(const std::string& path, const std::string& field) {
  return streamOf(path, "v", field);
}

std::string TestClip::audioStream(const std::string& path, const std::string& field) {
  return streamOf(path, "a", field);
}

// The picture filter prints the stretches that are black, the sound filter those that are silent:
// what begins where one of them ends.
std::vector<double> TestClip::flashes(const std::string& path) {
  return numbersBehind("black_end:", output("ffmpeg -nostdin -y -i '" + path +
                                            "' -map 0:v -vf blackdetect=d=0.1:pix_th=0.5 "
                                            "-fps_mode passthrough -f null - 2>&1"));
}

std::vector<double> TestClip::beeps(const std::string& path) {
  return numbersBehind("silence_end: ", output("ffmpeg -nostdin -y -i '" + path +
                                               "' -map 0:a -af silencedetect=n=0.1:d=0.1 -f null "
                                               "- 2>&1"));
}

std::string TestClip::format(const std::string& path, const std::string& field) {
  return lines(output("ffprobe -v error -of csv=p=0 -show_entries format=" + field + " '" + path +
                      "'"))
      .at(0);
}
