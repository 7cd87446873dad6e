// Writes what is installed beside ktr, a manual page for each command and the completion for bash,
// into a directory. Part of the build only.
#include <CLI/CLI.hpp>
#include <exception>
#include <fstream>
#include <iostream>

#include "host/CommandLine.h"
#include "host/commands/AllCommands.h"
#include "host/pages/BashCompletion.h"
#include "host/pages/ManualPage.h"

namespace {

void writePage(const std::string& directory, const CLI::App& command) {
  const ManualPage page(command);
  std::ofstream file(directory + "/" + page.name() + ".1");
  file.exceptions(std::ios::failbit | std::ios::badbit);
  page.print(file);
}

void writeAll(const std::string& directory) {
  const CommandLine line(makeAllCommands());
  CLI::App program;
  const std::vector<CLI::App*> commands = line.define(program);
  writePage(directory, program);
  for (const CLI::App* command : commands) writePage(directory, *command);
  std::ofstream completion(directory + "/ktr.bash");
  completion.exceptions(std::ios::failbit | std::ios::badbit);
  BashCompletion(program).print(completion);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: ktr_pages DIRECTORY\n";
    return 2;
  }
  try {
    writeAll(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "ktr_pages: " << error.what() << '\n';
    return 1;
  }
}
