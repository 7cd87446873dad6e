#include <sys/stat.h>

#include <csignal>
#include <iostream>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"

int main(int argc, char** argv) {
  umask(077);                      // recordings are the owner's business
  (void)signal(SIGPIPE, SIG_IGN);  // a camera or a reader that goes away is an error of one call
  HostContext context(std::cout, std::cerr);
  return CommandLine(makeAllCommands()).run(argc, argv, context);
}
