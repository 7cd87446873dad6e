#pragma once

#include <string>
#include <vector>

#include "host/record/StreamRecorder.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TestClip.h"

/** A recorder and real clips, recorded as ktr does it. Waiting for a clip's pace takes no time. */
class ClipFixture : public RecorderFixture {
 protected:
  ClipFixture() { (void)db(); }

  /** The path of a file in the case's directory. */
  [[nodiscard]] std::string path(const std::string& name) const { return dir_.path() + "/" + name; }
  [[nodiscard]] std::string clip(const std::string& name, const TestClip::Form& form) const {
    return TestClip::make(path(name), form);
  }
  [[nodiscard]] StreamRecorder::Options source(const std::string& url) const;
  /** Records a source whole; its frame log is the file "in". */
  StreamRecorder::Status record(const std::string& url);
  [[nodiscard]] std::vector<std::string> lines(const std::string& name) const;
};
