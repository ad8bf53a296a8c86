// The command line as its verbs declare it, for whatever speaks about it: completions of shells, manual pages.
#pragma once

#include <string>
#include <vector>

#include "CLI/App.hpp"

namespace OrvWorkFlow::Program {

// What may stand in one place of the command line.
struct WordKind {
  enum class Kind { Files, Folders, EntryPaths, Choice, Other };
  Kind kind = Kind::Other;
  std::vector<std::string> choices;  // of a Choice

  static WordKind OneOf(std::vector<std::string> choices) { return {Kind::Choice, std::move(choices)}; }
};

// Says what an option's value may be, or an argument's words: one kind a word, the last for all that follow. Options
// and arguments that do not say it are known by the names of their values (FILE, DIR).
void DeclareWords(CLI::Option* option, std::vector<WordKind> kinds);

struct OptionDescription {
  std::vector<std::string> names;  // "-o", "--output"
  std::string value;               // "FILE"; "" for none
  bool needs_value = false;        // as the next word; an optional one follows a "="
  std::string sentence;
  WordKind kind;
};
struct ArgumentDescription {
  std::string name;
  std::string sentence;
  std::vector<WordKind> kinds;  // at least one
  bool repeats = false;
};
struct VerbDescription {
  std::string name;
  std::string sentence;
  std::vector<OptionDescription> options;
  std::vector<ArgumentDescription> arguments;
  std::string more;  // what stands below the options
};
struct ProgramDescription {
  VerbDescription program;
  std::vector<VerbDescription> verbs;
};
ProgramDescription Describe(const CLI::App& program);

// The kind of each word behind the verb; the last is that of all that follow.
std::vector<WordKind> WordsOf(const VerbDescription& verb);

}  // namespace OrvWorkFlow::Program
