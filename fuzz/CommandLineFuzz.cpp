// The command line of ktr, one word a line of the input, up to the point where a command that found
// nothing wrong asks for the database.
#include "host/CommandLine.h"

#include <unistd.h>

#include <sstream>
#include <vector>

#include "fuzz/FuzzRequire.h"
#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/commands/AllCommands.h"
#include "tests/support/TempDir.h"

namespace {

/** Thrown in place of an opened database; no std::exception, which would become a message. */
struct AllIsValid {};

class ContextWithoutServer : public HostContext {
 public:
  using HostContext::HostContext;
  void open(const CommonOptions&, Purpose) override { throw AllIsValid(); }
};

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words{"ktr"};
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) words.push_back(line.c_str());
  return words;
}

// The server's own commands have nothing to check and the benchmark asks for no database of the
// context: they would start a server. Files that words could name are out of reach but for those of
// the machine itself.
bool isOutOfBounds(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    if (word == "server" || word == "bench" || word.find("/dev") != std::string::npos ||
        word.find("/proc") != std::string::npos) {
      return true;
    }
  }
  return false;
}

void enterEmptyDirectory() {
  static const TempDir directory;
  static const bool entered = chdir(directory.path().c_str()) == 0;
  fuzzRequire(entered, "there is a directory to work in");
}

void checkAnswer(int status, const std::string& out, const std::string& err) {
  if (status == 0) {
    fuzzRequire(!out.empty() && err.empty(), "only help and version end well without a database");
    return;
  }
  fuzzRequire(status == HostError::Failed || status == HostError::Usage, "a status is known");
  fuzzRequire(out.empty(), "an error prints no result");
  fuzzRequire(err.starts_with("ktr: ") && err.find('\n') == err.size() - 1, "an error is one line");
  fuzzRequire(!err.ends_with("this is a fault of ktr, please report it\n"),
              "an error is understood");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilentLog::use();
  enterEmptyDirectory();
  const std::vector<std::string> words = wordsOf(fuzzText({data, size}));
  if (isOutOfBounds(words)) return 0;
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  const int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);

  std::ostringstream out;
  std::ostringstream err;
  ContextWithoutServer context(out, err);
  try {
    const int status = CommandLine(makeAllCommands()).run(count, arguments.data(), context);
    checkAnswer(status, out.str(), err.str());
  } catch (const AllIsValid&) {
    fuzzRequire(out.str().empty() && err.str().empty(), "what is valid is not complained about");
  }
  return 0;
}
