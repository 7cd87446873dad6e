#include "host/HostError.h"

#include <cerrno>
#include <system_error>

#include "host/media/SecretText.h"

HostError::HostError(Status status, const std::string& wrong, const std::string& remedy)
    : std::runtime_error(SecretText::ofMessage(wrong + ": " + remedy)), status_(status) {}

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
