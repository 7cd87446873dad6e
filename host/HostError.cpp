#include "host/HostError.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace {

std::string oneLine(std::string text) {
  const auto isControl = [](unsigned char c) { return c < ' ' || c == 127; };
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

}  // namespace

HostError::HostError(Status status, const std::string& wrong, const std::string& remedy)
    : std::runtime_error(oneLine(wrong + ": " + remedy)), status_(status) {}

HostError failure(const std::string& wrong, const std::string& remedy) {
  return {HostError::Failed, wrong, remedy};
}

HostError usageError(const std::string& wrong, const std::string& remedy) {
  return {HostError::Usage, wrong, remedy};
}

HostError systemFailure(const std::string& wrong, const std::string& remedy) {
  const int cause = errno;
  return {HostError::Failed, wrong + " (" + std::generic_category().message(cause) + ")", remedy};
}
