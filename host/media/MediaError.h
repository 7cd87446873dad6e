#pragma once

#include <stdexcept>
#include <string>

#include "host/media/SecretText.h"

/**
 * What every class of this folder throws when it cannot go on. The text is one line made for the
 * person at the terminal: what is wrong, a colon, what to do about it. Secrets of a URL are taken
 * out.
 */
class MediaError : public std::runtime_error {
 public:
  MediaError(const std::string& whatIsWrong, const std::string& whatToDo)
      : std::runtime_error(SecretText::ofMessage(whatIsWrong + ": " + whatToDo)) {}
};
