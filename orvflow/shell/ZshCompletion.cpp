#include <algorithm>

#include "orvflow/shell/Completion.h"

namespace OrvWorkFlow::Program {

namespace {

using Kind = WordKind::Kind;

// Within apostrophes, and with a backslash before each of `special`.
std::string Quoted(const std::string& text, const std::string& special) {
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else if (special.find(c) != std::string::npos) {
      result.append("\\").append(1, c);
    } else {
      result += c;
    }
  }
  return result;
}

std::string Message(const std::string& name) { return Quoted(name.empty() ? "value" : name, ":\\"); }

std::string Action(const WordKind& word) {
  switch (word.kind) {
    case Kind::Files:
      return "_files";
    case Kind::Folders:
      return "_files -/";
    case Kind::EntryPaths:
      return "_orvflow_paths";
    case Kind::Choice:
      break;
    case Kind::Other:
      return " ";
  }
  std::string choices;
  for (const std::string& choice : word.choices) choices += (choices.empty() ? "" : " ") + choice;
  return "(" + choices + ")";
}

std::string OptionSpecs(const VerbDescription& verb, const std::string& indent) {
  std::string specs;
  for (const OptionDescription& option : verb.options) {
    for (const std::string& name : option.names) {
      const bool is_long = name.starts_with("--");
      const std::string how = option.value.empty() ? "" : !is_long ? "+" : option.needs_value ? "=" : "=-";
      std::string spec = "*" + name + how + "[" + Quoted(option.sentence, "[]\\") + "]";
      if (!option.value.empty()) {
        spec += (option.needs_value ? ":" : "::") + Message(option.value) + ":" + Action(option.kind);
      }
      specs += indent + "'" + spec + "' \\\n";
    }
  }
  return specs;
}

std::string ArgumentSpecs(const VerbDescription& verb, const std::string& indent) {
  std::string specs;
  std::size_t place = 1;
  for (const ArgumentDescription& argument : verb.arguments) {
    for (std::size_t i = 0; i < argument.kinds.size(); ++i) {
      const bool repeats = argument.repeats && i + 1 == argument.kinds.size();
      specs += indent + "'" + (repeats ? "*" : std::to_string(place++)) + ":" + Message(argument.name) + ":" +
               Action(argument.kinds[i]) + "' \\\n";
    }
  }
  return specs;
}

constexpr char kHead[] = R"sh(#compdef orvflow
# Completion of orvflow for zsh; made by: orvflow completion zsh

_orvflow_paths() {
  local -a paths
  paths=(${(f)"$(orvflow dict paths ${(Q)words[3]} 2>/dev/null)"})
  compadd -S '' -a paths
}

_orvflow() {
  local curcontext="$curcontext" state line
  local -a verbs
  _arguments -C \
)sh";

}  // namespace

std::string ZshCompletion(const ProgramDescription& description) {
  std::string text = kHead + OptionSpecs(description.program, "    ") +
                     "    '1:verb:->verb' \\\n    '*::argument:->argument' && return\n  case $state in\n    verb)\n"
                     "      verbs=(\n";
  for (const VerbDescription& verb : description.verbs) {
    text += "        '" + Quoted(verb.name + ":", "") + Quoted(verb.sentence, ":\\") + "'\n";
  }
  text += "      )\n      _describe verb verbs ;;\n    argument)\n      case $words[1] in\n";
  for (const VerbDescription& verb : description.verbs) {
    text += "        " + verb.name + ")\n          _arguments \\\n" + OptionSpecs(verb, "            ") +
            ArgumentSpecs(verb, "            ");
    text.erase(text.rfind(" \\\n"));
    text += " ;;\n";
  }
  return text + "      esac ;;\n  esac\n}\n\n_orvflow \"$@\"\n";
}

}  // namespace OrvWorkFlow::Program
