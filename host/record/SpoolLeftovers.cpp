#include "host/record/SpoolLeftovers.h"

#include <filesystem>

#include "host/input/AsciiText.h"

namespace fs = std::filesystem;

void SpoolLeftovers::start(const StreamRecorder::Options& options,
                           const std::set<unsigned int>& recorded) {
  constexpr long lastStream = 255;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(options.spoolDirectory, error)) {
    const std::optional<long> stream = parseDigits(entry.path().filename().string());
    if (!stream || *stream > lastStream || recorded.contains(static_cast<unsigned int>(*stream))) {
      continue;
    }
    feeds_.push_back(std::make_unique<SessionFeed>(
        StreamRecorder::feedOptions(options, static_cast<unsigned char>(*stream))));
    feeds_.back()->endSession();
  }
}

void SpoolLeftovers::addOpenSessions(std::set<unsigned int>& open) const {
  for (const auto& feed : feeds_) open.insert(feed->progress().open);
}

void SpoolLeftovers::finish() {
  for (const auto& feed : feeds_) feed->finish();
}
