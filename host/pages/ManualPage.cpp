#include "host/pages/ManualPage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <vector>

#include "host/pages/OptionText.h"

namespace {

constexpr const char* EXAMPLES = "Examples:";

constexpr const char* EXIT_STATUS = R"(.SH EXIT STATUS
.TP
.B 0
What was asked for is done.
.TP
.B 1
It could not be done; one line on standard error says why, and what to do.
.TP
.B 2
The command line makes no sense.
)";

constexpr const char* FILES = R"(.SH FILES
.TP
.I DIR/NAME/
The recordings of recorder NAME, in a directory for each day.
.TP
.I DIR/.ktr/
The private database server: its option file, its log and the index of all recordings.
.TP
.I ~/.my.cnf
Names, in its part [client], a production server for the commands that are told to use it.
)";

// The characters that troff would turn into others, or take for its own.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '~':
        result += "\\(ti";
        break;
      case '^':
        result += "\\(ha";
        break;
      case '`':
        result += "\\(ga";
        break;
      case '\'':
        result += "\\(aq";
        break;
      default:
        result += c;
    }
  }
  return result;
}

// A whole line of text: one that begins with a dot would be a request.
std::string line(const std::string& text) {
  return (text.starts_with(".") ? "\\&" : "") + escaped(text) + "\n";
}

std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return "\\fI" + escaped(text) + "\\fR";
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string one; std::getline(stream, one);) lines.push_back(one);
  return lines;
}

bool isSetIn(const std::string& text) {
  return text.starts_with("  ");
}

// The paragraphs of a footer; those under "Examples:", or all the others.
std::vector<std::vector<std::string>> paragraphs(const std::string& footer, bool examples) {
  std::vector<std::vector<std::string>> found(1);
  for (const std::string& text : linesOf(footer)) {
    if (text.empty()) {
      found.emplace_back();
    } else {
      found.back().push_back(text);
    }
  }
  std::erase_if(found, [examples](const auto& paragraph) {
    return paragraph.empty() || (paragraph.front() == EXAMPLES) != examples;
  });
  return found;
}

void printParagraph(std::ostream& out, const std::vector<std::string>& paragraph) {
  bool verbatim = false;
  for (const std::string& text : paragraph) {
    if (isSetIn(text) != verbatim) {
      verbatim = !verbatim;
      out << (verbatim ? ".PP\n.nf\n" : ".fi\n");
    }
    out << line(verbatim ? text.substr(2) : text);
  }
  if (verbatim) out << ".fi\n";
}

void printOption(std::ostream& out, const CLI::Option& option, const std::string& heading) {
  out << ".TP\n" << heading;
  if (!OptionText::value(option).empty() && !option.get_positional()) {
    out << " " << italic(OptionText::value(option));
  }
  out << (option.get_required() ? " (required)\n" : "\n");
  for (const std::string& text : linesOf(option.get_description())) out << line(text);
  if (!option.get_default_str().empty()) {
    out << "The default is " << bold(option.get_default_str()) << ".\n";
  }
}

void printOptions(std::ostream& out, const CLI::App& command) {
  for (const CLI::Option* argument : OptionText::arguments(command)) {
    printOption(out, *argument, italic(OptionText::value(*argument)));
  }
  for (const CLI::Option* option : OptionText::options(command)) {
    std::string heading;
    for (const std::string& name : OptionText::names(*option)) {
      heading += (heading.empty() ? "" : ", ") + bold(name);
    }
    printOption(out, *option, heading);
  }
}

std::string lowerFirst(std::string text) {
  if (!text.empty()) {
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
  }
  return text;
}

std::string pageName(const CLI::App& command) {
  std::string name = OptionText::path(command);
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

}  // namespace

std::string ManualPage::name() const {
  return pageName(command_);
}

bool ManualPage::isProgram() const {
  return command_.get_parent() == nullptr;
}

void ManualPage::print(std::ostream& out) const {
  std::string title = name();
  std::transform(title.begin(), title.end(), title.begin(),
                 [](unsigned char c) { return std::toupper(c); });
  out << ".TH " << escaped(title) << " 1 \"\" \"ktr " KTR_VERSION "\" \"User Commands\"\n";
  const std::string summary = isProgram() ? "record network video and play it back by time"
                                          : lowerFirst(command_.get_description());
  out << ".SH NAME\n" << escaped(name()) << " \\- " << escaped(summary) << "\n";
  printSynopsis(out);
  out << ".SH DESCRIPTION\n" << line(command_.get_description() + (isProgram() ? "" : "."));
  for (const auto& paragraph : paragraphs(command_.get_footer(), false)) {
    out << ".PP\n";
    printParagraph(out, paragraph);
  }
  out << ".SH OPTIONS\n";
  printOptions(out, command_);
  printCommands(out);
  for (auto& paragraph : paragraphs(command_.get_footer(), true)) {
    paragraph.erase(paragraph.begin());
    out << ".SH EXAMPLES\n";
    printParagraph(out, paragraph);
  }
  out << EXIT_STATUS << FILES;
  printSeeAlso(out);
}

void ManualPage::printSynopsis(std::ostream& out) const {
  out << ".SH SYNOPSIS\n" << bold(OptionText::path(command_));
  if (!OptionText::commands(command_).empty()) out << " " << italic("COMMAND");
  for (const CLI::Option* option : OptionText::options(command_)) {
    if (!option->get_required()) continue;
    out << " " << bold(OptionText::names(*option).back()) << " "
        << italic(OptionText::value(*option));
  }
  out << " [" << italic("OPTIONS") << "]";
  for (const CLI::Option* argument : OptionText::arguments(command_)) {
    out << " " << italic(OptionText::value(*argument)) << "...";
  }
  out << "\n";
}

void ManualPage::printCommands(std::ostream& out) const {
  const std::vector<const CLI::App*> commands = OptionText::commands(command_);
  if (!commands.empty()) out << ".SH COMMANDS\n";
  for (const CLI::App* command : commands) {
    if (isProgram()) {
      out << ".TP\n" << bold(pageName(*command)) << "(1)\n" << line(command->get_description());
    } else {
      out << ".SS " << escaped(OptionText::path(*command)) << "\n"
          << line(command->get_description() + ".");
      printOptions(out, *command);
    }
  }
}

void ManualPage::printSeeAlso(std::ostream& out) const {
  const CLI::App& program = isProgram() ? command_ : *command_.get_parent();
  out << ".SH SEE ALSO\n" << (isProgram() ? "" : bold(pageName(program)) + "(1),\n");
  for (const CLI::App* command : OptionText::commands(program)) {
    if (command != &command_) out << bold(pageName(*command)) << "(1),\n";
  }
  out << bold("mariadbd") << "(8)\n";
}
