#include "host/input/RecorderName.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/input/AsciiText.h"

RecorderName RecorderName::parse(const std::string& text) {
  if (text.empty() || text.size() > MAX_LENGTH ||
      !std::all_of(text.begin(), text.end(), isAsciiLetterOrDigit)) {
    throw usageError("'" + text + "' is not a recorder name",
                     "give 1 to 32 letters and digits, such as --recorder garage");
  }
  return RecorderName(text);
}
