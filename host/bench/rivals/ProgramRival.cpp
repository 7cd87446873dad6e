#include "host/bench/rivals/ProgramRival.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "host/bench/ResourceMeter.h"
#include "host/system/ProcessLaunch.h"

namespace fs = std::filesystem;

namespace {
constexpr std::uint64_t PER_CENT_WRITTEN = 98;  // containers leave the heads of frames out
}

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
  const std::string directory = place_.freshDirectory("program");
  const ProcessLaunch program(work_.words(directory), place_.directory() + "/program.log");
  Measurement result;
  const ResourceMeter meter(0, ResourceMeter::Children);
  const int status = program.runAndWait();
  place_.sync();
  meter.read(result);
  result.bytes = work_.bytes;
  result.operations = work_.frames;
  check(directory, status, result);
  fs::remove_all(directory);
  return result;
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
