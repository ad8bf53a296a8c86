#include "orvflow/verbs/CommandLine.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CLI/Config.hpp"
#include "CLI/Formatter.hpp"
#include "base/text/Suggestion.h"
#include "host/files/HostFiles.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/HelpText.h"
#include "orvflow/verbs/StatusVerb.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

bool IsOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

// "--trace" of "--trace=pump".
std::string OptionName(const std::string& word) { return word.substr(0, word.find('=')); }

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// A word behind "--" that looks like an option carries this until it has been taken for an argument.
constexpr char kNoOption = '\x1F';

void RemoveMark(std::string& word) {
  if (word.starts_with(kNoOption)) word.erase(0, 1);
}

void MarkWordsBehindDashes(std::vector<std::string>& words) {
  const auto dashes = std::find(words.begin(), words.end(), "--");
  if (dashes == words.end()) return;
  for (auto word = words.erase(dashes); word != words.end(); ++word) {
    if (word->starts_with('-')) word->insert(0, 1, kNoOption);
  }
}

void UnmarkArguments(CLI::App& command) {
  for (CLI::Option* option : command.get_options()) {
    const auto unmark = [](std::string& word) {
      RemoveMark(word);
      return std::string();
    };
    if (option->get_positional()) option->transform(CLI::Validator(unmark, ""));
  }
}

void RefuseUnknownOption(const std::string& where, const CLI::App& app, const std::string& word) {
  const std::string name = OptionName(word);
  throw ProgramError(ExitCode::Usage, where + "unknown option " + name + Base::Suggest(name, OptionNames(app)));
}

// `said` is what the parser says: the option's name comes first, and a colon or a blank.
[[noreturn]] void RefuseCountOfValues(const CLI::App& program, const std::string& said) {
  const CLI::App* command = &program;
  std::string verb;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    if (verb.empty()) verb = command->get_name();
  }
  const std::string name = said.substr(0, said.find_first_of(": "));
  if (said.find("disallowed flag override") != std::string::npos) {
    throw ProgramError(ExitCode::Usage, verb + ": --" + name + ": takes no value");
  }
  if (said.find(": At Most") != std::string::npos) {
    throw ProgramError(ExitCode::Usage, verb + ": " + name + ": given more than once");
  }
  const CLI::Option* const option = command->get_option_no_throw(name);
  const std::string value = option == nullptr ? "value" : option->get_type_name();
  throw ProgramError(ExitCode::Usage,
                     verb + ": " + name + ": no " + value + " given (see orvflow " + verb + " --help)");
}

// Who gives a file where a verb belongs wants it run.
std::string SuggestVerb(const std::string& word, const std::vector<std::string>& verbs) {
  const std::string suggestion = Base::Suggest(word, verbs);
  const bool is_flow = word.ends_with(".xml") || word.ends_with(".XML");
  if (!suggestion.empty() || (!is_flow && Host::FindFileKind(word) != Host::FileKind::Readable)) return suggestion;
  return "; to run a workflow: orvflow run " + word;
}

void CheckProgram(const CLI::App& program, const std::vector<std::unique_ptr<Verb>>& verbs) {
  const std::vector<std::string> words = program.remaining();
  if (!words.empty()) {
    if (IsOption(words.front())) RefuseUnknownOption("", program, words.front());
    std::vector<std::string> names;
    names.reserve(verbs.size());
    for (const auto& verb : verbs) names.push_back(verb->command().get_name());
    throw ProgramError(ExitCode::Usage, "unknown verb " + words.front() + SuggestVerb(words.front(), names));
  }
  if (program.get_subcommands().empty()) throw ProgramError(ExitCode::Usage, "no verb given (see orvflow --help)");
}

void CheckVerb(const CLI::App& command) {
  const std::vector<std::string> words = command.remaining();
  if (words.empty()) return;
  const std::string where = command.get_name() + ": ";
  std::string word = words.front();
  if (IsOption(word)) RefuseUnknownOption(where, command, word);
  RemoveMark(word);
  throw ProgramError(ExitCode::Usage, where + "one argument too many: " + word);
}

struct VerbMaker {
  const char* name;
  std::unique_ptr<Verb> (*make)(CLI::App& program);
};

// In the order of the help, one a line.
// clang-format off
constexpr VerbMaker kVerbMakers[] = {
    {"run", MakeRunVerb},
    {"status", MakeStatusVerb},
    {"failed", MakeFailedVerb},  // of runs that have ended
    {"bridge", MakeBridgeVerb},
    {"history", MakeHistoryVerb},
    {"why", MakeWhyVerb},
    {"show", MakeShowVerb},
    {"replay", MakeReplayVerb},
    {"ui", MakeUiVerb},
    {"check", MakeCheckVerb},
    {"graph", MakeGraphVerb},
    {"inspect", MakeInspectVerb},
    {"schema", MakeSchemaVerb},
    {"new", MakeNewVerb},
    {"dict", MakeDictVerb},
    {"format", MakeFormatVerb},
    {"diff", MakeDiffVerb},
    {"merge", MakeMergeVerb},
    {"match", MakeMatchVerb},
    {"path", MakePathVerb},
    {"encrypt", MakeEncryptVerb},
    {"decrypt", MakeDecryptVerb},
    {"base64", MakeBase64Verb},
    {"completion", MakeCompletionVerb},
    {"manual", MakeManualVerb},
};
// clang-format on

// What tells of all verbs.
bool NeedsAll(const std::string& verb) { return verb == "completion" || verb == "manual"; }

// Declaring all of them takes longer than what some of them do: one that is named is made alone.
std::vector<std::unique_ptr<Verb>> MakeVerbs(CLI::App& program, const std::string& first_word) {
  const bool is_named = std::any_of(std::begin(kVerbMakers), std::end(kVerbMakers),
                                    [&](const VerbMaker& maker) { return first_word == maker.name; });
  const bool makes_all = !is_named || NeedsAll(first_word);
  std::vector<std::unique_ptr<Verb>> verbs;
  for (const VerbMaker& maker : kVerbMakers) {
    if (makes_all || first_word == maker.name) verbs.push_back(maker.make(program));
  }
  return verbs;
}

}  // namespace

ExitCode ExecuteCommandLine(std::vector<std::string> words) {
  CLI::App program("Runs workflows and looks into plug-in libraries and dictionaries.", "orvflow");
  program.require_subcommand(0, 1);  // A verb's argument may be called like another verb.
  program.allow_windows_style_options(false);
  program.set_version_flag("--version", "orvflow " ORVFLOW_VERSION);
  program.allow_extras();
  program.footer(
      "Exit codes: 0 done, 1 failed or not found, 2 usage, 3 check found errors,\n"
      "4 a plug-in is missing or broken,\n"
      "5 a file is no workflow or a saved state is damaged, 6 stopped with its state saved,\n"
      "7 a file is in use by another process, 130 and 143 stopped without.\n"
      "\n"
      "Example:\n"
      "  orvflow check flow.xml\n"
      "  orvflow run flow.xml\n"
      "  orvflow run --help");
  const std::vector<std::unique_ptr<Verb>> verbs = MakeVerbs(program, words.empty() ? "" : words.front());
  for (const auto& verb : verbs) {
    verb->command().allow_extras();
    UnmarkArguments(verb->command());
  }
  MarkWordsBehindDashes(words);
  try {
    std::reverse(words.begin(), words.end());
    program.parse(std::move(words));
  } catch (const CLI::Success& help) {
    std::ostringstream output;
    const int code = program.exit(help, output, output);
    WriteStandardOutput(FitHelp(output.str()));
    return static_cast<ExitCode>(code);
  } catch (const CLI::ArgumentMismatch& error) {
    RefuseCountOfValues(program, error.what());
  } catch (const CLI::ParseError& error) {
    throw ProgramError(ExitCode::Usage, std::string(error.what()) + " (see orvflow --help)");
  }
  CheckProgram(program, verbs);
  for (const auto& verb : verbs) {
    if (!verb->command().parsed()) continue;
    CheckVerb(verb->command());
    return verb->Execute();
  }
  throw ProgramError(ExitCode::Usage, "no verb given (see orvflow --help)");
}

}  // namespace OrvWorkFlow::Program
