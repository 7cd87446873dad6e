#include "host/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace {

constexpr const char* SERVER_HELP =
    "Database server: ktr's own under DIR, with nothing\n"
    "to set up (private, the default), or the one that\n"
    "the MySQL client option files name (client)";

std::string checkServer(const std::string& text) {
  return text == "private" || text == "client" ? "" : "give private or client";
}

}  // namespace

void CommonOptions::addDatabaseOptions(CLI::App& command) {
  command.add_option("--root", root_, "Directory under which everything is stored")
      ->type_name("DIR")
      ->required();
  command.add_option("--server", server_, SERVER_HELP)
      ->type_name("private|client")
      ->check(checkServer);
  command.add_flag("-v,--verbose", verbose_, "Show everything that the library reports");
}

void CommonOptions::addRecorder(CLI::App& command) {
  command.add_option("--recorder", recorder_, "Name of the recorder: 1 to 32 letters and digits")
      ->type_name("NAME")
      ->required();
}

void CommonOptions::addJson(CLI::App& command) {
  command.add_flag("--json", json_, "Print JSON, for programs");
}
