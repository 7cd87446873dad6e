#include "host/input/StreamNumber.h"

#include "host/HostError.h"
#include "host/input/AsciiText.h"

unsigned char StreamNumber::parse(const std::string& text) {
  const std::optional<long> number = parseDigits(text);
  if (!number || *number > MAX) {
    throw usageError("'" + text + "' is not a stream number", "give a number from 0 to 255");
  }
  return static_cast<unsigned char>(*number);
}
