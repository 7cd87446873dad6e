#include "tests/host_recording/ClipFixture.h"

#include <fstream>

StreamRecorder::Options ClipFixture::source(const std::string& url) const {
  StreamRecorder::Options options;
  options.recorder = "cam";
  options.storageDirectory = path("cam");
  options.sliceSize = 1 << 20;
  options.stream = STREAM;
  options.url = url;
  options.audio = true;
  options.audioStream = SOUND;
  return options;
}

StreamRecorder::Status ClipFixture::record(const std::string& url) {
  StreamRecorder::Options options = source(url);
  options.frameLog = path("in");
  options.audioLog = path("in.sound");
  StreamRecorder recorder(options);
  recorder.start();
  recorder.join();
  EXPECT_EQ("", recorder.takeError());
  return recorder.status();
}

std::vector<std::string> ClipFixture::lines(const std::string& name) const {
  std::ifstream file(path(name));
  std::vector<std::string> all;
  for (std::string line; std::getline(file, line);) all.push_back(line);
  return all;
}
