#include "host/bench/rivals/ProgramRival.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "host/bench/ResourceMeter.h"
#include "host/system/ProcessLaunch.h"

namespace fs = std::filesystem;

namespace {
constexpr int STOOD_STILL = 124;  // as timeout(1) says it
constexpr int ATTEMPTS = 3;
constexpr std::uint64_t PER_CENT_WRITTEN = 98;  // containers leave the heads of frames out
}  // namespace

bool ProgramRival::isInstalled(const std::string& program) {
  const char* const path = getenv("PATH");  // NOLINT(concurrency-mt-unsafe): nothing changes it
  std::istringstream places(path == nullptr ? "" : path);
  for (std::string place; std::getline(places, place, ':');) {
    if (!place.empty() && access((place + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

bool ProgramRival::succeeds(const std::vector<std::string>& words) {
  return isInstalled(words.front()) && ProcessLaunch(words, "/dev/null").runAndWait() == 0;
}

Measurement ProgramRival::run() {
  for (int attempt = 1;; ++attempt) {
    Measurement result;
    if (runOnce(result) != STOOD_STILL || attempt == ATTEMPTS) return result;
  }
}

int ProgramRival::runOnce(Measurement& result) const {
  const std::string directory = place_.freshDirectory("program");
  std::vector<std::string> words = {"timeout", "--kill-after=5", std::to_string(limitSeconds())};
  for (const std::string& word : work_.words(directory)) words.push_back(word);
  const ProcessLaunch program(words, place_.directory() + "/program.log");
  const ResourceMeter meter(0, ResourceMeter::Children);
  const int status = program.runAndWait();
  place_.sync();
  meter.read(result);
  result.bytes = work_.bytes;
  result.operations = work_.frames;
  check(directory, status, result);
  fs::remove_all(directory);
  return status;
}

unsigned int ProgramRival::limitSeconds() const {
  constexpr unsigned int LEAST = 5;
  constexpr unsigned int TIMES_REAL_TIME = 20;
  const auto seconds = static_cast<unsigned int>(work_.frames / BenchClip::FRAME_RATE);
  return work_.limitSeconds != 0 ? work_.limitSeconds : LEAST + seconds / TIMES_REAL_TIME;
}

void ProgramRival::check(const std::string& directory, int status, Measurement& result) const {
  if (status != 0) result.flaws.push_back(work_.name + " ends with " + std::to_string(status));
  std::uint64_t written = 0;
  for (const fs::directory_entry& file : fs::directory_iterator(directory)) {
    written += file.file_size();
  }
  if (written >= work_.bytes / 100 * PER_CENT_WRITTEN) return;
  result.flaws.push_back(work_.name + " writes " + std::to_string(written) + " bytes of " +
                         std::to_string(work_.bytes));
}
