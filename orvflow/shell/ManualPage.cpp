#include "orvflow/shell/ManualPage.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace OrvWorkFlow::Program {

namespace {

// A text as it stands, wherever in a line.
std::string Plain(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else if (c == '\'') {
      result += "\\(aq";
    } else if (c == '^') {
      result += "\\(ha";
    } else if (c == '~') {
      result += "\\(ti";
    } else if (c == '`') {
      result += "\\(ga";
    } else {
      result += c;
    }
  }
  return result;
}

// A whole line of text: none that begins with a "." is taken for a request.
std::string Line(std::string_view text) { return (text.starts_with('.') ? "\\&" : "") + Plain(text) + "\n"; }

std::string InUpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string Bold(const std::string& text) { return "\\fB" + Plain(text) + "\\fP"; }
std::string Italic(const std::string& text) { return "\\fI" + Plain(text) + "\\fP"; }

std::string Head(const std::string& name, const std::string& sentence, const std::string& version) {
  return ".TH " + Plain(InUpperCase(name)) + " 1 \"\" \"" + Plain("orvflow " + version) +
         "\" \"User Commands\"\n.SH NAME\n" + Plain(name) + " \\- " + Plain(sentence) + "\n";
}

std::string OptionsSection(const VerbDescription& verb) {
  std::string text = ".SH OPTIONS\n";
  for (const OptionDescription& option : verb.options) {
    text += ".TP\n";
    for (std::size_t i = 0; i < option.names.size(); ++i) text += (i > 0 ? ", " : "") + Bold(option.names[i]);
    if (!option.value.empty()) {
      text += option.needs_value ? " " + Italic(option.value) : "[=" + Italic(option.value) + "]";
    }
    text += "\n" + Line(option.sentence);
  }
  return text;
}

std::string ArgumentsSection(const VerbDescription& verb) {
  if (verb.arguments.empty()) return {};
  std::string text = ".SH ARGUMENTS\n";
  for (const ArgumentDescription& argument : verb.arguments) {
    text += ".TP\n" + Italic(argument.name) + "\n" + Line(argument.sentence);
  }
  return text;
}

bool IsHeading(std::string_view line) { return line == "Example:" || line == "Examples:"; }

// "  name   what it is".
bool IsTableLine(std::string_view line) {
  if (!line.starts_with("  ") || line.starts_with("   ") || line.starts_with("  orvflow")) return false;
  const std::size_t gap = line.find("  ", 2);
  return gap != std::string_view::npos && line.find_first_not_of(' ', gap) != std::string_view::npos;
}

// What stands below the options in the help: paragraphs, tables and examples, whose lines are indented.
std::string MoreSections(std::string_view more) {
  std::string text;
  bool is_example = false;
  bool is_table = false;
  const auto end_table = [&] {
    if (is_table) text += ".EE\n";
    is_table = false;
  };
  const auto begin_examples = [&] {
    end_table();
    if (!is_example) text += ".SH EXAMPLES\n";
    is_example = true;
  };
  if (!more.empty() && !more.starts_with("  orvflow") && !IsHeading(more.substr(0, more.find('\n')))) {
    text += ".SH DESCRIPTION\n";
  }
  while (!more.empty()) {
    const std::size_t end = std::min(more.find('\n'), more.size());
    const std::string_view line = more.substr(0, end);
    more.remove_prefix(std::min(end + 1, more.size()));
    if (line.empty()) {
      end_table();
      if (!more.empty() && !IsHeading(more.substr(0, more.find('\n'))) && !more.starts_with("  orvflow")) {
        text += ".PP\n";
      }
    } else if (IsHeading(line)) {
      begin_examples();
    } else if (IsTableLine(line)) {
      end_table();
      const std::size_t gap = line.find("  ", 2);
      text += ".TP\n" + Bold(std::string(line.substr(2, gap - 2))) + "\n" +
              Line(line.substr(line.find_first_not_of(' ', gap)));
    } else if (line.starts_with("          ")) {  // goes on with what a line of a table says
      text += Line(line.substr(line.find_first_not_of(' ')));
    } else if (line.starts_with("  ")) {
      if (line.starts_with("  orvflow")) begin_examples();
      if (!is_table) text += ".EX\n";
      is_table = true;
      text += Line(line);
    } else {
      end_table();
      if (line.starts_with("Exit codes:") && !text.ends_with(".PP\n") && !text.ends_with("\n.SH DESCRIPTION\n")) {
        text += ".PP\n";
      }
      text += Line(line);
    }
  }
  end_table();
  return text;
}

}  // namespace

std::string ProgramPage(const ProgramDescription& description, const std::string& version) {
  const VerbDescription& program = description.program;
  std::string text = Head("orvflow", "runs workflows of plug-in nodes", version) + ".SH SYNOPSIS\n" + Bold("orvflow") +
                     " " + Italic("VERB") + " [" + Italic("OPTION") + "]... [" + Italic("ARGUMENT") +
                     "]...\n.SH DESCRIPTION\n" + Line(program.sentence) + ".SH VERBS\n";
  for (const VerbDescription& verb : description.verbs) {
    text += ".TP\n" + Bold(verb.name) + "\n" + Line(verb.sentence) + ".br\nSee\n.BR " + Plain("orvflow-" + verb.name) +
            " (1).\n";
  }
  text += OptionsSection(program);
  std::string more = MoreSections(program.more);
  const std::string heading = ".SH DESCRIPTION\n";
  if (more.starts_with(heading)) more.replace(0, heading.size(), ".SH EXIT STATUS\n");
  return text + more;
}

std::string VerbPage(const ProgramDescription& description, const VerbDescription& verb, const std::string& version) {
  std::string sentence = verb.sentence;
  if (!sentence.empty()) sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
  std::string text = Head("orvflow-" + verb.name, sentence, version) + ".SH SYNOPSIS\n" + Bold("orvflow " + verb.name) +
                     " [" + Italic("OPTION") + "]...";
  for (const ArgumentDescription& argument : verb.arguments) {
    text += " " + Italic(argument.name) + (argument.repeats ? "..." : "");
  }
  text += "\n" + MoreSections(verb.more);
  // Options stand ahead of the examples.
  std::size_t place = text.find(".SH EXAMPLES\n");
  if (place == std::string::npos) place = text.size();
  text.insert(place, ArgumentsSection(verb) + OptionsSection(verb));
  text += ".SH SEE ALSO\n.BR orvflow (1)";
  for (const VerbDescription& other : description.verbs) {
    if (other.name != verb.name) text += ",\n.BR " + Plain("orvflow-" + other.name) + " (1)";
  }
  return text + "\n";
}

}  // namespace OrvWorkFlow::Program
