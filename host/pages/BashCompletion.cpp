#include "host/pages/BashCompletion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>

#include "host/pages/OptionText.h"

namespace {

// A command is known by the words that lead to it: "/server/stop"; the program itself by "".
constexpr const char* HEAD = R"(# Completion of ktr for bash.

_ktr() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' words='' kind=words word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $command/$word in
)";

constexpr const char* AFTER_COMMANDS = R"(        command+=/$word
        ;;
    esac
  done

  case $command in
)";

constexpr const char* AFTER_WORDS = R"(  esac
  case $command:$previous in
)";

// A stream is given as N=URL, which bash splits at the "=".
constexpr const char* TAIL = R"(    *:=) kind=files ;;
  esac
  [[ $current == = ]] && kind=files current=''

  COMPREPLY=()
  case $kind in
    words) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    files) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    directories) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
  esac
  # Names of files get their blanks quoted, and directories a slash; outside of a completion, as in
  # a test, there is nothing to set.
  [[ $kind == words ]] || compopt -o filenames 2>/dev/null
  return 0
}

complete -F _ktr ktr
)";

std::string place(const CLI::App& command) {
  const CLI::App* outer = command.get_parent();
  return outer == nullptr ? "" : place(*outer) + "/" + command.get_name();
}

std::string allPlaces(const CLI::App& command) {
  std::string places;
  for (const CLI::App* part : OptionText::commands(command)) {
    const std::string inner = allPlaces(*part);
    places += (places.empty() ? "" : " | ") + place(*part) + (inner.empty() ? "" : " | " + inner);
  }
  return places;
}

void printWords(std::ostream& out, const CLI::App& command) {
  std::string words;
  for (const CLI::App* part : OptionText::commands(command)) words += " " + part->get_name();
  for (const CLI::Option* option : OptionText::options(command)) {
    words += " " + OptionText::names(*option).back();
  }
  const std::string where = place(command);
  out << "    " << (where.empty() ? "''" : where) << ") words='" << words.substr(1) << "' ;;\n";
  for (const CLI::App* part : OptionText::commands(command)) printWords(out, *part);
}

std::string completionOf(std::string value) {
  if (value == "DIR") return "kind=directories";
  if (value == "FILE") return "kind=files";
  if (value.find('|') == std::string::npos) return "kind=none";
  std::replace(value.begin(), value.end(), '|', ' ');
  return "words='" + value + "'";
}

void printValues(std::ostream& out, const CLI::App& command) {
  for (const CLI::Option* option : OptionText::options(command)) {
    const std::string value = OptionText::value(*option);
    if (value.empty()) continue;
    std::string patterns;
    for (const std::string& name : OptionText::names(*option)) {
      patterns += (patterns.empty() ? "" : " | ") + place(command) + ":" + name;
    }
    out << "    " << patterns << ") " << completionOf(value) << " ;;\n";
  }
  for (const CLI::App* part : OptionText::commands(command)) printValues(out, *part);
}

}  // namespace

void BashCompletion::print(std::ostream& out) const {
  out << HEAD << "      " << allPlaces(program_) << ")\n" << AFTER_COMMANDS;
  printWords(out, program_);
  out << AFTER_WORDS;
  printValues(out, program_);
  out << TAIL;
}
