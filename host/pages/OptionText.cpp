#include "host/pages/OptionText.h"

#include <CLI/CLI.hpp>

namespace {

std::vector<const CLI::Option*> shown(const CLI::App& command, bool positional) {
  return command.get_options([positional](const CLI::Option* option) {
    return option->get_positional() == positional && !option->get_group().empty();
  });
}

}  // namespace

std::vector<const CLI::Option*> OptionText::options(const CLI::App& command) {
  return shown(command, false);
}

std::vector<const CLI::Option*> OptionText::arguments(const CLI::App& command) {
  return shown(command, true);
}

std::vector<std::string> OptionText::names(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::string OptionText::value(const CLI::Option& option) {
  return option.get_items_expected_max() == 0 ? "" : option.get_type_name();
}

std::string OptionText::path(const CLI::App& command) {
  const CLI::App* outer = command.get_parent();
  return outer == nullptr ? command.get_name() : path(*outer) + " " + command.get_name();
}

std::vector<const CLI::App*> OptionText::commands(const CLI::App& program) {
  return program.get_subcommands([](const CLI::App*) { return true; });
}
