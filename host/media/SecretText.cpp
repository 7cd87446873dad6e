#include "host/media/SecretText.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace {

constexpr std::string_view SCHEME_END = "://";
constexpr std::string_view MASK = "***";
constexpr std::array<std::string_view, 7> SECRETS{"pass", "pwd",  "secret",    "token",
                                                  "key",  "auth", "credential"};

bool isNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '.';
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

bool namesASecret(std::string_view name) {
  const std::string lower = lowered(name);
  return std::any_of(SECRETS.begin(), SECRETS.end(), [&](std::string_view secret) {
    return lower.find(secret) != std::string::npos;
  });
}

/** The name that ends where the text does. */
std::string_view lastName(std::string_view text) {
  size_t begin = text.size();
  while (begin > 0 && isNameCharacter(text[begin - 1])) --begin;
  return text.substr(begin);
}

// A value ends where the next parameter may begin; a quote is one of the message around it.
std::string withoutSecretValues(std::string_view address) {
  std::string text;
  while (!address.empty()) {
    const size_t equals = address.find('=');
    if (equals == std::string_view::npos) break;
    const std::string_view head = address.substr(0, equals);
    text.append(head).append("=");
    address.remove_prefix(equals + 1);
    if (!namesASecret(lastName(head))) continue;
    address.remove_prefix(std::min(address.find_first_of("&;#'\""), address.size()));
    text += MASK;
  }
  return text.append(address);
}

bool isPort(std::string_view text) {
  return text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Whether a host and its port stand here, and not a user and the beginning of a password.
bool isHostAndPort(std::string_view authority) {
  const size_t colon = authority.find(':');
  if (colon == std::string_view::npos || authority.starts_with("[")) return true;
  const std::string_view host = authority.substr(0, colon);
  return isPort(authority.substr(colon + 1)) && host.find('.') != std::string_view::npos;
}

// User and password end at the last @ of the address proper. A password may hold a slash that
// should have been written as %2F: then they end at the last @ of all.
std::string_view withoutUser(std::string_view address) {
  const std::string_view authority = address.substr(0, address.find_first_of("/?#"));
  const size_t inAuthority = authority.rfind('@');
  if (inAuthority != std::string_view::npos) return withoutUser(address.substr(inAuthority + 1));
  const size_t last = address.rfind('@');
  if (last == std::string_view::npos || isHostAndPort(authority)) return address;
  return address.substr(last + 1);
}

std::string shown(std::string_view address) {
  return withoutSecretValues(withoutUser(address));
}

}  // namespace

std::string SecretText::ofWord(std::string_view word) {
  const size_t end = word.find(SCHEME_END);
  if (end == std::string_view::npos) return std::string(word);
  const size_t begin = end + SCHEME_END.size();
  return std::string(word.substr(0, begin)) + shown(word.substr(begin));
}

std::string SecretText::ofLine(std::string_view line) {
  std::string text;
  while (!line.empty()) {
    const size_t length = std::min(line.find(' '), line.size());
    text += ofWord(line.substr(0, length));
    line.remove_prefix(length);
    if (line.empty()) break;
    text += ' ';
    line.remove_prefix(1);
  }
  return text;
}

std::string SecretText::ofMessage(std::string message) {
  const auto isControl = [](unsigned char c) { return c < ' ' || c == 127; };
  std::replace_if(message.begin(), message.end(), isControl, '?');
  return ofLine(message);
}
