#include "orvflow/shell/Completion.h"

namespace OrvWorkFlow::Program {

namespace {

using Kind = WordKind::Kind;

constexpr char kHead[] = R"sh(# Completion of orvflow for bash; made by: orvflow completion bash

_orvflow_takes_value() {
  case "$1 $2" in
)sh";

// Words that readline has cut at "=" are put together: an option waits for its value across it.
constexpr char kWalk[] = R"sh(      return 0 ;;
  esac
  return 1
}

_orvflow() {
  local program=$1 current=${COMP_WORDS[COMP_CWORD]} previous='' verb='' waiting='' ended='' word index
  local -a arguments=()
  for ((index = 1; index < COMP_CWORD; ++index)); do
    word=${COMP_WORDS[index]}
    if [[ $word == '=' && $previous == --* ]]; then
      waiting=$previous
    elif [[ -n $waiting ]]; then
      waiting=''
    elif [[ -n $ended || $word != -* || $word == - ]]; then
      if [[ -z $verb ]]; then verb=$word; else arguments+=("$word"); fi
    elif [[ $word == -- ]]; then
      ended=1
    elif _orvflow_takes_value "$verb" "$word"; then
      waiting=$word
    fi
    previous=$word
  done
  if [[ $current == '=' && $previous == --* ]]; then
    waiting=$previous current=''
  fi
  COMPREPLY=()
  local kind='' choices=''
  if [[ -n $waiting ]]; then
    case "$verb $waiting" in
)sh";

constexpr char kOptions[] = R"sh(    esac
  elif [[ -z $ended && $current == -* ]]; then
    kind=choice
    case "$verb" in
)sh";

constexpr char kArguments[] = R"sh(    esac
  elif [[ -z $verb ]]; then
    kind=choice choices=')sh";

constexpr char kVerbs[] = R"sh('
  else
    case "$verb ${#arguments[@]}" in
)sh";

constexpr char kTail[] = R"sh(    esac
  fi
  case $kind in
    choice)
      mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current") ;;
    files)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    folders)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    paths)
      compopt -o nospace 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -W "$("$program" dict paths "${arguments[1]}" 2>/dev/null)" -- "$current") ;;
  esac
}

complete -o bashdefault -o default -F _orvflow orvflow
)sh";

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// Sets `kind` and `choices`; "" where nothing can be offered.
std::string Setting(const WordKind& word) {
  switch (word.kind) {
    case Kind::Files:
      return "kind=files";
    case Kind::Folders:
      return "kind=folders";
    case Kind::EntryPaths:
      return "kind=paths";
    case Kind::Choice:
      return "kind=choice choices='" + Joined(word.choices) + "'";
    case Kind::Other:
      break;
  }
  return {};
}

std::string Case(const std::string& pattern, const std::string& command) {
  return command.empty() ? "" : "      " + pattern + ") " + command + " ;;\n";
}

std::string OptionNames(const VerbDescription& verb) {
  std::string names;
  for (const OptionDescription& option : verb.options) names += (names.empty() ? "" : " ") + Joined(option.names);
  return names;
}

std::string ValuePatterns(const VerbDescription& verb) {
  std::string patterns;
  for (const OptionDescription& option : verb.options) {
    if (!option.needs_value) continue;
    for (const std::string& name : option.names) patterns += "    '" + verb.name + " " + name + "' | \\\n";
  }
  return patterns;
}

std::string ValueCases(const VerbDescription& verb) {
  std::string cases;
  for (const OptionDescription& option : verb.options) {
    if (option.value.empty()) continue;
    for (const std::string& name : option.names) {
      cases += Case("'" + verb.name + " " + name + "'", Setting(option.kind));
    }
  }
  return cases;
}

std::string ArgumentCases(const VerbDescription& verb) {
  const std::vector<WordKind> words = WordsOf(verb);
  std::string cases;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool is_last = i + 1 == words.size();
    cases += Case("'" + verb.name + " '" + (is_last ? "*" : std::to_string(i)), Setting(words[i]));
  }
  return cases;
}

}  // namespace

std::string BashCompletion(const ProgramDescription& description) {
  std::string patterns;
  std::string values;
  std::string options = Case("''", "choices='" + OptionNames(description.program) + "'");
  std::string arguments;
  std::vector<std::string> verbs;
  for (const VerbDescription& verb : description.verbs) {
    verbs.push_back(verb.name);
    patterns += ValuePatterns(verb);
    values += ValueCases(verb);
    options += Case(verb.name, "choices='" + OptionNames(verb) + "'");
    arguments += ArgumentCases(verb);
  }
  return kHead + patterns + "    '')\n" + kWalk + values + kOptions + options + kArguments + Joined(verbs) + kVerbs +
         arguments + kTail;
}

}  // namespace OrvWorkFlow::Program
