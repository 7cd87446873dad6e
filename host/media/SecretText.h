#pragma once

#include <string>
#include <string_view>

/**
 * Texts fit for messages, logs and the list of processes: without the user and password of a URL,
 * and with *** for the values of its parameters that are named like a secret (password, pwd, token,
 * key, ...). Rather too much is taken out than too little.
 *
 * Threads: any thread; no state.
 */
class SecretText {
 public:
  /** One word that may hold a URL, such as N=URL: what follows "://" is one address to its end. */
  [[nodiscard]] static std::string ofWord(std::string_view word);
  /** A line that may hold several URLs, each of which ends at a blank. */
  [[nodiscard]] static std::string ofLine(std::string_view line);
  /** As ofLine(), on one line whatever was put into it: control characters become '?'. */
  [[nodiscard]] static std::string ofMessage(std::string message);
};
