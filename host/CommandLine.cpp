#include "host/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cctype>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/media/MediaError.h"
#include "host/media/SecretText.h"

namespace {

constexpr const char* DESCRIPTION =
    "ktr records network video into plain files and plays it back by time.";

constexpr const char* FOOTER = R"(First steps, with nothing to set up (Ctrl-C ends a recording):
  ktr record   --root ~/video --recorder home 1=rtsp://camera/live
  ktr sessions --root ~/video --recorder home
  ktr play     --root ~/video --recorder home --stream 1 --at -5m -o clip.mp4

Each command tells more: ktr COMMAND --help)";

constexpr const char* HELP_HINT = "see ktr --help";

/** "ktr sessions --help", for the deepest command that was understood. */
std::string helpCommand(const CLI::App& program) {
  std::string words = "ktr";
  const CLI::App* part = &program;
  while (!part->get_subcommands().empty()) {
    part = part->get_subcommands().front();
    words += " " + part->get_name();
  }
  return words + " --help";
}

std::string commandNames(const CLI::App& program) {
  std::string names;
  for (const CLI::App* command : program.get_subcommands({})) {
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  return names;
}

/** A text of the parser as the first half of a line of ours. */
std::string asReason(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  if (!text.empty()) {
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
  }
  return text;
}

HostError translated(const CLI::ParseError& error, const CLI::App& program, const char* firstWord) {
  const std::string word = firstWord;
  if (word.starts_with("-")) {
    return usageError("'" + word + "' does not stand before the command", HELP_HINT);
  }
  if (!program.get_subcommands().empty()) {
    return usageError(asReason(error.what()), "see " + helpCommand(program));
  }
  return usageError("'" + word + "' is not a command",
                    "the commands are " + commandNames(program) + "; " + HELP_HINT);
}

void shapeHelp(CLI::App& program) {
  constexpr size_t columnWidth = 30;
  program.name("ktr");
  program.description(DESCRIPTION);
  program.footer(FOOTER);
  program.get_formatter()->column_width(columnWidth);
  program.get_formatter()->label("Usage", "\nUsage");
  program.get_formatter()->label("REQUIRED", "(required)");
  program.get_formatter()->label("SUBCOMMAND", "COMMAND");
  program.set_version_flag("--version", std::string("ktr ") + KTR_VERSION, "Print the version");
  program.set_help_flag("-h,--help", "Print this help");
}

}  // namespace

int CommandLine::run(int argc, const char* const* argv, HostContext& context) {
  try {
    return parseAndRun(argc, argv, context);
  } catch (const HostError& error) {
    context.err() << "ktr: " << error.what() << std::endl;
    return error.status();
  } catch (const MediaError& error) {
    context.err() << "ktr: " << error.what() << std::endl;
    return HostError::Failed;
  } catch (const std::exception& error) {
    context.err() << "ktr: " << SecretText::ofMessage(error.what())
                  << ": this is a fault of ktr, please report it" << std::endl;
    return HostError::Failed;
  }
}

std::vector<CLI::App*> CommandLine::define(CLI::App& program) const {
  shapeHelp(program);
  program.require_subcommand(0, 1);  // the next word may be the name of another one, and is none
  std::vector<CLI::App*> parts;
  for (const auto& command : commands_) {
    parts.push_back(command->define(program));
    parts.back()->group("Commands");
  }
  return parts;
}

int CommandLine::parseAndRun(int argc, const char* const* argv, HostContext& context) {
  CLI::App program;
  const std::vector<CLI::App*> parts = define(program);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& wanted) {  // help or version
    return program.exit(wanted, context.out(), context.err());
  } catch (const CLI::ParseError& error) {
    throw translated(error, program, argv[1]);
  }
  for (size_t i = 0; i < parts.size(); ++i) {
    if (!parts[i]->parsed()) continue;
    context.startLog(commands_[i]->verbose());
    return commands_[i]->run(context);
  }
  throw usageError("no command is given", HELP_HINT);
}
