#include "orvflow/shell/CommandDescription.h"

#include <algorithm>
#include <map>
#include <utility>

namespace OrvWorkFlow::Program {

namespace {

using Kind = WordKind::Kind;

// Of the one command line of the process.
std::map<const CLI::Option*, std::vector<WordKind>>& DeclaredWords() {
  static std::map<const CLI::Option*, std::vector<WordKind>> words;
  return words;
}

// By the name of the value.
WordKind KindFor(const std::string& value) {
  if (value == "DIR") return {Kind::Folders, {}};
  if (value == "WHEN") return WordKind::OneOf({"auto", "always", "never"});
  for (const char* file : {"FILE", "F", "FLOW.xml", "LIBRARY", "OLD", "NEW", "BASE", "OURS", "THEIRS"}) {
    if (value == file) return {Kind::Files, {}};
  }
  return {value.ends_with(".xml") ? Kind::Files : Kind::Other, {}};
}

std::vector<WordKind> KindsOf(const CLI::Option* option, const std::string& value) {
  const auto found = DeclaredWords().find(option);
  return found == DeclaredWords().end() ? std::vector<WordKind>{KindFor(value)} : found->second;
}

OptionDescription DescribeOption(const CLI::Option* option) {
  OptionDescription description;
  for (const std::string& name : option->get_snames()) description.names.push_back("-" + name);
  for (const std::string& name : option->get_lnames()) description.names.push_back("--" + name);
  description.sentence = option->get_description();
  const bool takes_value = option->get_items_expected_max() > 0;
  if (takes_value) description.value = option->get_type_name();
  description.needs_value = option->get_items_expected_min() > 0;
  description.kind = KindsOf(option, description.value).front();
  return description;
}

VerbDescription DescribeCommand(const CLI::App& command) {
  VerbDescription verb{command.get_name(), command.get_description(), {}, {}, command.get_footer()};
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group().empty()) continue;
    if (option->get_positional()) {
      const std::string name = option->get_name(true);
      const bool repeats = option->get_items_expected_max() > 1;
      verb.arguments.push_back({name, option->get_description(), KindsOf(option, name), repeats});
    } else {
      verb.options.push_back(DescribeOption(option));
    }
  }
  return verb;
}

}  // namespace

void DeclareWords(CLI::Option* option, std::vector<WordKind> kinds) { DeclaredWords()[option] = std::move(kinds); }

ProgramDescription Describe(const CLI::App& program) {
  ProgramDescription description{DescribeCommand(program), {}};
  for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_group().empty()) description.verbs.push_back(DescribeCommand(*command));
  }
  return description;
}

std::vector<WordKind> WordsOf(const VerbDescription& verb) {
  std::vector<WordKind> words;
  for (const ArgumentDescription& argument : verb.arguments) {
    words.insert(words.end(), argument.kinds.begin(), argument.kinds.end());
  }
  const bool ends = verb.arguments.empty() || !verb.arguments.back().repeats;
  if (ends) words.emplace_back();
  return words;
}

}  // namespace OrvWorkFlow::Program
