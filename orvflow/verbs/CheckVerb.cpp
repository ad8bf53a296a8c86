// orvflow check FLOW.xml...: what is wrong with workflows, without running them.
#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/files/HostFiles.h"
#include "orvflow/check/FindingsOutput.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/files/KeyFile.h"
#include "orvflow/run/FlowCheck.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/Colours.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 30;

// What positions are looked up in; "" where it cannot be read: the findings stand without.
std::string TextOfFile(const std::string& file) {
  std::ifstream stream(file, std::ios::binary | std::ios::ate);
  const std::streamoff size = stream ? static_cast<std::streamoff>(stream.tellg()) : -1;
  if (size < 0 || static_cast<std::size_t>(size) > kMostBytes) return {};
  std::string text(static_cast<std::size_t>(size), '\0');
  stream.seekg(0);
  stream.read(text.data(), static_cast<std::streamsize>(size));
  return stream ? text : std::string();
}

// "line 3, column 5: what" in its parts.
PlacedFinding FindingFor(const std::string& problem) {
  PlacedFinding placed{{Flow::Severity::Warning, Flow::Area::Wiring, "", problem, ""}, {}};
  static constexpr std::string_view kLine = "line ";
  static constexpr std::string_view kColumn = ", column ";
  static constexpr std::string_view kAfter = ": ";
  const char* const end = problem.data() + problem.size();
  if (!problem.starts_with(kLine)) return placed;
  Flow::SourcePlace place;
  const auto line = std::from_chars(problem.data() + kLine.size(), end, place.line);
  if (!std::string_view(line.ptr, end).starts_with(kColumn)) return placed;
  const auto column = std::from_chars(line.ptr + kColumn.size(), end, place.column);
  if (!std::string_view(column.ptr, end).starts_with(kAfter)) return placed;
  placed.finding.what = std::string(column.ptr + kAfter.size(), end);
  placed.place = place;
  return placed;
}

// The finding for a file that was read and is damaged; nothing for other failures.
std::optional<PlacedFinding> DamageOf(IDictionary& dictionary) {
  FileReport report;
  const Sdk::TextHolder words;
  if (!dictionary.GetLoadReport(&report, words.get()) || report.failure != FileFailure::Damaged) return std::nullopt;
  return PlacedFinding{{Flow::Severity::Error, Flow::Area::Wiring, "", words.Text(), ""}, {report.line, report.column}};
}

class CheckVerb final : public Verb {
 public:
  explicit CheckVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  FileFindings Check(const std::string& flow, FlowUse use, const char* key) const;
  void ReadCompany(const char* key);
  static bool Load(IDictionary& dictionary, const FlowSource& source, FileFindings& file);

  std::vector<std::string> flows_;
  std::vector<std::string> absorbs_;
  // What runs together: the workflow, if it is the only one, and those that it takes in; nothing where one of them
  // cannot be read.
  std::vector<Flow::FlowBeside> company_;
  std::vector<std::string> plugin_directories_;
  std::string key_file_;
  bool proves_ = false;
  bool json_ = false;
  bool sarif_ = false;
  ColourUse colour_use_ = ColourUse::Auto;
};

CheckVerb::CheckVerb(CLI::App& program)
    : Verb(program, "check", "Tells what is wrong with workflows, running nothing") {
  command().add_option("FLOW.xml", flows_, "The workflows' dictionary files; - for standard input")->type_name("");
  command()
      .add_option("--absorb", absorbs_, "Another workflow that is to be taken in; it is checked, too")
      ->type_name("FILE")
      ->allow_extra_args(false);
  AddKeyFileOption(command(), key_file_);
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  AddFlag("--prove", proves_,
          "Says what is certain of every run, or shows the way to the contrary: all signals are handled, all "
          "nodes are reached, circles end, the queue is never longer than some number");
  AddFlag("--json", json_, "Prints the findings as JSON (docs/findings.schema.json)");
  AddFlag("--sarif", sarif_, "Prints them as SARIF, for code hosts");
  AddColourOption(command(), colour_use_);
  command().footer(
      "A line for each finding: FILE:LINE:COLUMN: /Dictionary/Path: severity: what; what to do.\n"
      "Exit codes: 0 no errors, 3 errors or not all is proved, 1 a file cannot be read, 2 usage,\n"
      "5 a file cannot be deciphered, 7 a file is in use.\n"
      "\n"
      "Example:\n"
      "  orvflow check flow.xml\n"
      "  orvflow check --absorb guest.xml flow.xml\n"
      "  orvflow check --prove flow.xml\n"
      "  orvflow check --json *.xml");
}

ExitCode CheckVerb::Execute() {
  if (flows_.empty()) throw UsageError("no workflow file given");
  if (proves_ && sarif_) throw UsageError("--sarif has no place for what --prove says; take --json");
  const bool is_file = flows_.size() == 1 && !IsStandardStream(flows_[0]);
  if (proves_ && !absorbs_.empty() && !is_file) {
    throw UsageError("--prove takes what is absorbed together with one workflow, which has to be a file");
  }
  if (json_ && sarif_) throw UsageError("--json and --sarif are two forms of one output; give one of them");
  if (std::count(flows_.begin(), flows_.end(), "-") > 1) throw UsageError("standard input can be read once only");
  std::optional<KeyFile> key;
  if (!key_file_.empty()) key.emplace(key_file_);
  AddPluginDirectories(plugin_directories_);
  std::vector<FileFindings> files;
  ExitCode code = ExitCode::Done;
  const auto check = [&](const std::string& flow, const FlowUse& use) {
    try {
      files.push_back(Check(flow, use, key ? key->key() : nullptr));
    } catch (const ProgramError& error) {  // The others are looked at all the same.
      PrintErrorLine(error.what());
      code = error.code();
    } catch (const Host::HostError& error) {
      PrintErrorLine(error.what());
      code = CodeOf(error.kind());
    }
  };
  {
    const OutputAside aside;
    ReadCompany(key ? key->key() : nullptr);
    for (const std::string& flow : flows_) {
      check(flow, {.takes_in_others = !absorbs_.empty(), .beside = Flow::WithoutOne(company_, 0)});
    }
    for (std::size_t i = 0; i < absorbs_.size(); ++i) {
      check(absorbs_[i], {.is_guest = true, .beside = Flow::WithoutOne(company_, i + 1)});
    }
  }
  WriteStandardOutput(json_    ? FindingsAsJson(files)
                      : sarif_ ? FindingsAsSarif(files)
                               : FindingsAsText(files, Colours::ForOutput(colour_use_)));
  if (code != ExitCode::Done) return code;
  const bool fails = std::any_of(files.begin(), files.end(),
                                 [](const FileFindings& file) { return file.proof && !file.proof->Holds(); });
  return fails || Count(files).errors > 0 ? ExitCode::CheckFailed : ExitCode::Done;
}

// A workflow that cannot be read says so when it is looked at.
void CheckVerb::ReadCompany(const char* key) {
  const bool is_one = flows_.size() == 1 && !IsStandardStream(flows_[0]);
  if (absorbs_.empty() || !is_one) return;
  const auto host = std::make_unique<Host::WorkflowHost>();
  host->UseKey(key);
  std::vector<std::string> names = absorbs_;
  names.insert(names.begin(), flows_[0]);
  for (const std::string& name : names) {
    const std::string file = Host::MakeAbsolutePath(name);
    const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
    if (!dictionary->LoadFile(file.c_str())) return company_.clear();
    company_.push_back({Flow::ReadWorkflow(*dictionary), name, file, !company_.empty()});
  }
}

// Each file has the libraries to itself: a type is that of the library that this file names.
FileFindings CheckVerb::Check(const std::string& flow, FlowUse use, const char* key) const {
  const auto host = std::make_unique<Host::WorkflowHost>();
  host->UseKey(key);
  const FlowSource source(flow);
  FileFindings file{source.shown_name(), {}};
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  if (!Load(*dictionary, source, file)) return file;
  const Flow::SourcePlaces places(TextOfFile(source.file()));
  use.file = source.path();
  for (Flow::Finding& finding : FindFaults(*dictionary, use)) {
    const Flow::SourcePlace place = places.At(finding.path);
    file.findings.push_back({std::move(finding), place});
  }
  const bool has_errors = Count({file}).errors > 0;
  const bool is_whole = absorbs_.empty() || !use.beside.empty();  // All could be read.
  if (proves_ && is_whole && !use.is_guest && !has_errors) file.proof = ProveFlow(*dictionary, use);
  std::stable_sort(file.findings.begin(), file.findings.end(), [](const PlacedFinding& a, const PlacedFinding& b) {
    return a.place.line != b.place.line ? a.place.line < b.place.line : a.place.column < b.place.column;
  });
  return file;
}

// False when there is nothing to look at; the finding says why. Throws HostError when the file cannot be read.
bool CheckVerb::Load(IDictionary& dictionary, const FlowSource& source, FileFindings& file) {
  try {
    LoadDictionary(dictionary, source.file(), source.shown_name());
  } catch (const Host::HostError&) {
    const std::optional<PlacedFinding> damage = DamageOf(dictionary);
    if (!damage) throw;
    file.findings.push_back(*damage);
    return false;
  }
  for (const std::string& problem : Host::LookAtLoadedText(dictionary).problems) {
    file.findings.push_back(FindingFor(problem));
  }
  if (dictionary.Exists("/")) return true;
  file.findings.push_back(
      {{Flow::Severity::Error, Flow::Area::Wiring, "", "is no dictionary: its root is not IDictionaryRoot", ""}, {}});
  return false;
}

}  // namespace

std::unique_ptr<Verb> MakeCheckVerb(CLI::App& program) { return std::make_unique<CheckVerb>(program); }

}  // namespace OrvWorkFlow::Program
