#include "tests/support/HostileTexts.h"

#include <filesystem>

namespace {

// What may end the place where a text stands ...
constexpr const char* OPENERS[] = {"",  "'",  "\"", "`",    "\\",  "\\'", "')", "cam'",
                                   "1", "%'", "\n", "',0)", "/x'", "$D/", "*/", "3 OR 1=1"};
// ... and what would then be run or read. Whatever runs one of these, or the part of it that ends
// at a slash, harms nothing: no text may remove what is not MARK.
constexpr const char* PAYLOADS[] = {
    "; DROP TABLE pwned; -- ",
    " OR 1=1 -- pwned",
    " UNION SELECT 'pwned'#",
    " OR SLEEP(9) OR pwned='",
    " INTO OUTFILE '/tmp/pwned' -- ",
    "; touch /tmp/pwned;",
    "$(touch /tmp/pwned)",
    "`touch /tmp/pwned`",
    "| touch /tmp/pwned",
    " && touch /tmp/pwned",
    " > /tmp/pwned",
};

constexpr const char* OTHERS[] = {
    "../../../../pwned/x",
    "/tmp/pwned/../../etc/passwd'",
    "-rf pwned",
    "--defaults-file=/tmp/pwned",
    "pwned%s%s%n%n",
    "%n%n%n%n pwned",
    "pwned\xFF\xFE'",
    "\xBF'; DROP TABLE pwned",
    "\xE2\x80\x99 OR pwned=\xE2\x80\x99",
    "pwned\r\nX: y",
    "\x1B]0;pwned\x07",
    "/*!50000 DROP TABLE pwned */",
    "0x70776e6564 pwned",
    "4294967297 pwned",
    "-1' pwned",
    "NULL, pwned",
    "pwned*?[a-z]",
    "~/pwned;",
    "{pwned,/tmp/pwned}",
    "!pwned",
    "pwned' AND EXTRACTVALUE(1,1) AND '",
    "pwned'/**/OR/**/1=1",
    "pwned' LIMIT 1; SET GLOBAL general_log=1",
    "LOAD_FILE('/etc/passwd') pwned",
    "x=pwned; touch /tmp/pwned #",
    "\\x00 pwned",
};

}  // namespace

const std::vector<std::string>& HostileTexts::all() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> made(std::begin(OTHERS), std::end(OTHERS));
    for (const std::string opener : OPENERS) {
      for (const std::string payload : PAYLOADS) made.push_back(opener + payload);
    }
    made.push_back(std::string("pwned\\\0'; DROP TABLE pwned", 26));
    made.push_back("'" + std::string(100000, 'x') + "pwned");
    return made;
  }();
  return texts;
}

bool HostileTexts::escapedInto(const std::string& statement) {
  std::string outside;
  bool quoted = false;
  for (size_t i = 0; i < statement.size(); ++i) {
    if (statement[i] == '\'') {
      quoted = !quoted;  // a doubled quote closes and opens
    } else if (quoted && statement[i] == '\\') {
      ++i;
    } else if (!quoted) {
      outside += statement[i];
    }
  }
  return quoted || outside.find(MARK) != std::string::npos;
}

std::vector<std::string> HostileTexts::traces() {
  std::vector<std::string> found;
  for (const char* place : {"/tmp", "/", ".", "/var/tmp"}) {
    const std::filesystem::path path = std::filesystem::path(place) / MARK;
    if (std::filesystem::exists(path)) found.push_back(path);
  }
  return found;
}

void HostileTexts::removeTraces() {
  std::error_code ignored;
  for (const std::string& path : traces()) std::filesystem::remove(path, ignored);
}
