#pragma once

#include <string>
#include <vector>

#include "host/record/StreamRecorder.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TestClip.h"

/** A recorder and real clips, recorded as ktr does it. Waiting for a clip's pace takes no time. */
class ClipFixture : public RecorderFixture {
 protected:
  static constexpr unsigned char SOUND = STREAM + 128;

  ClipFixture() { (void)db(); }

  /** The path of a file in the case's directory. */
  [[nodiscard]] std::string path(const std::string& name) const { return dir_.path() + "/" + name; }
  [[nodiscard]] std::string clip(const std::string& name, const TestClip::Form& form) const {
    return TestClip::make(path(name), form);
  }
  /** A clip with flashes and beeps at the same moments; audio as TestClip::makeBeeps() takes it. */
  [[nodiscard]] std::string beeps(const std::string& name, const std::string& audio,
                                  const TestClip::Form& form) const {
    return TestClip::makeBeeps(path(name), audio, form);
  }
  /** How a source is recorded, its sound as stream SOUND if it has any. */
  [[nodiscard]] StreamRecorder::Options source(const std::string& url) const;
  /** Records a source whole; its frame logs are the files "in" and "in.sound". */
  StreamRecorder::Status record(const std::string& url);
  [[nodiscard]] std::vector<std::string> lines(const std::string& name) const;
};
