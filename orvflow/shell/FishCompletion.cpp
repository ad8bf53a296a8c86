#include "orvflow/shell/Completion.h"

namespace OrvWorkFlow::Program {

namespace {

using Kind = WordKind::Kind;

std::string Quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') result += '\\';
    result += c;
  }
  return result + "'";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// What is offered for a word; files are what the shell offers by itself.
std::string Offer(const WordKind& word) {
  switch (word.kind) {
    case Kind::Files:
      return " -F";
    case Kind::Folders:
      return " -f -a '(__fish_complete_directories)'";
    case Kind::EntryPaths:
      return " -f -a '(__orvflow_paths)'";
    case Kind::Choice:
      return " -f -a " + Quoted(Joined(word.choices));
    case Kind::Other:
      break;
  }
  return " -f";
}

std::string OptionLines(const VerbDescription& verb, const std::string& condition) {
  std::string lines;
  for (const OptionDescription& option : verb.options) {
    lines += "complete -c orvflow -n " + condition;
    for (const std::string& name : option.names) {
      lines += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (option.needs_value) lines += " -r" + Offer(option.kind);
    lines += " -d " + Quoted(option.sentence) + "\n";
  }
  return lines;
}

constexpr char kHead[] = R"sh(# Completion of orvflow for fish; made by: orvflow completion fish

# How many words that are no options stand behind the verb. An option's value counts as one.
function __orvflow_words
  set -l words (commandline -opc)
  count (string match -v -- '-*' $words[3..-1])
end

function __orvflow_paths
  set -l words (commandline -opc)
  orvflow dict paths $words[4] 2>/dev/null
end

)sh";

}  // namespace

std::string FishCompletion(const ProgramDescription& description) {
  const std::string no_verb = "__fish_use_subcommand";
  std::string text = kHead + OptionLines(description.program, no_verb);
  for (const VerbDescription& verb : description.verbs) {
    const std::string in_verb = Quoted("__fish_seen_subcommand_from " + verb.name);
    text += "\ncomplete -c orvflow -n " + no_verb + " -f -a " + verb.name + " -d " + Quoted(verb.sentence) + "\n";
    text += OptionLines(verb, in_verb);
    const std::vector<WordKind> words = WordsOf(verb);
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::string count = words.size() == 1      ? ""
                                : i + 1 < words.size() ? "; and test (__orvflow_words) -eq " + std::to_string(i)
                                                       : "; and test (__orvflow_words) -ge " + std::to_string(i);
      text += "complete -c orvflow -n " + Quoted("__fish_seen_subcommand_from " + verb.name + count) + Offer(words[i]) +
              "\n";
    }
  }
  return text;
}

}  // namespace OrvWorkFlow::Program
