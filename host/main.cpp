#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"
#include "host/media/SecretText.h"

namespace {

// Everybody may list the words of a process, so what is secret in them is overwritten.
void hideSecrets(char* word) {
  const size_t room = std::strlen(word);
  const std::string shown = SecretText::ofWord(word);
  if (shown == word) return;
  std::memset(word, 0, room);
  shown.copy(word, room);
}

}  // namespace

int main(int argc, char** argv) {
  umask(077);                      // recordings are the owner's business
  (void)signal(SIGPIPE, SIG_IGN);  // a camera or a reader that goes away is an error of one call
  HostContext context(std::cout, std::cerr);
  const std::vector<std::string> words(argv, argv + argc);
  std::vector<const char*> arguments;
  for (int i = 0; i < argc; ++i) {
    arguments.push_back(words[static_cast<size_t>(i)].c_str());
    hideSecrets(argv[i]);
  }
  return CommandLine(makeAllCommands()).run(argc, arguments.data(), context);
}
