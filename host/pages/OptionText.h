#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/**
 * What a program's own description of its command line says, as manual pages and shell completion
 * need it. Stateless; any thread.
 */
class OptionText {
 public:
  /** The options of a command that begin with a dash, in the order of its help. */
  [[nodiscard]] static std::vector<const CLI::Option*> options(const CLI::App& command);
  /** The arguments of a command that are known by their place. */
  [[nodiscard]] static std::vector<const CLI::Option*> arguments(const CLI::App& command);
  /** "-h" and "--help": every name of an option with its dashes, short ones first. */
  [[nodiscard]] static std::vector<std::string> names(const CLI::Option& option);
  /** "DIR"; empty for a flag. */
  [[nodiscard]] static std::string value(const CLI::Option& option);
  /** "ktr server stop": a command's name with those of the commands around it. */
  [[nodiscard]] static std::string path(const CLI::App& command);
  [[nodiscard]] static std::vector<const CLI::App*> commands(const CLI::App& program);
};
