#include "db/KTRTextGuard.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "runtime/KTLogger.h"

namespace {

// Words of a condition in capital letters, those of SQL and the columns of an event but its data.
constexpr std::array<std::string_view, 16> WORDS{
    "WHERE", "AND",   "OR",      "NOT", "IN",       "ORDER",     "BY",      "ASC",
    "DESC",  "LIMIT", "BETWEEN", "ID",  "SENSORID", "TIMESTAMP", "EVENTID", "EVENTTYPE"};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// No locale may add letters.
bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isBeyondAscii(char c) {
  return static_cast<unsigned char>(c) >= 0x80;
}

bool isOfName(char c) {
  return isLetter(c) || isDigit(c) || isBeyondAscii(c) || c == '_' || c == '$' || c == '-';
}

// A quote is doubled or, like all that is escaped, has a backslash before it.
bool staysQuoted(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\'' && text[i] != '\\') continue;
    const bool quote = text[i] == '\'';
    if (++i == text.size() || (quote && text[i] != '\'')) return false;
  }
  return true;
}

bool isOfCondition(char c) {
  return isDigit(c) || std::string_view(" ,()<>=!").find(c) != std::string_view::npos;
}

// A condition holds nothing but its words, numbers, comparisons and brackets.
bool isCondition(const KTString& text) {
  const KTString upper = text.toUpperCase();
  std::string_view rest = upper.view();
  while (!rest.empty()) {
    const auto length =
        static_cast<size_t>(std::find_if_not(rest.begin(), rest.end(), isLetter) - rest.begin());
    const bool known = std::find(WORDS.begin(), WORDS.end(), rest.substr(0, length)) != WORDS.end();
    if (length == 0 ? !isOfCondition(rest.front()) : !known) return false;
    rest.remove_prefix(std::max<size_t>(length, 1));
  }
  return true;
}

}  // namespace

const char* KTRTextGuard::refusal(Place place, const KTString& text) {
  const std::string_view bytes = text.view();
  switch (place) {
    case Name:
      return std::all_of(bytes.begin(), bytes.end(), isOfName)
                 ? nullptr
                 : "a name has letters, digits and _ $ - only";
    case Quoted:
      return staysQuoted(bytes) ? nullptr : "it does not stay between its quotes";
    case Condition:
      break;
  }
  return isCondition(text) ? nullptr : "it is more than a condition on the numbers of events";
}

bool KTRTextGuard::allows(Place place, const KTString& text) {
  const char* reason = refusal(place, text);
  if (reason == nullptr) return true;
  KTLogger::instance()->log(KTLogger::Error, "[ TEXT REFUSED ] '%s' : %s", text.c_str(), reason);
  return false;
}
