#include "orvflow/trial/LibraryTrial.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <set>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/files/FileIdentity.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/trial/TrialProcess.h"
#include "orvflow/verbs/Verb.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

// Some libraries fetch data when they are loaded; none may take a user's patience.
constexpr std::chrono::seconds kTimeLimit{10};

// The lines between the two processes: a letter and a text. To the trial: the depth, plug-in directories, files. From
// it: a file is begun, a type of it is made, a file is done; all are unloaded again.
constexpr char kMake = 'm';
constexpr char kDirectory = 'p';
constexpr char kFile = 'f';
constexpr char kBegun = 'b';
constexpr char kMaking = 't';
constexpr char kDone = 'd';
constexpr char kUnloaded = 'u';

void AppendLine(std::string& text, char letter, std::string_view line) {
  text.append(1, letter).append(line).append(1, '\n');
}

struct Line {
  char letter = 0;
  std::string text;
};

// A line that was cut off is none.
std::vector<Line> SplitLines(std::string_view text) {
  std::vector<Line> lines;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    if (end > 0) lines.push_back({text.front(), std::string(text.substr(1, end - 1))});
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::string DescribeTask(const std::vector<std::string>& files, TrialDepth depth) {
  std::string task;
  if (depth == TrialDepth::Make) AppendLine(task, kMake, "");
  const Sdk::TextListHolder directories;
  Runtime::PluginLoader::GetDirectories(directories.get());
  for (const std::string& directory : directories.Texts()) AppendLine(task, kDirectory, directory);
  for (const std::string& file : files) AppendLine(task, kFile, file);
  return task;
}

struct TrialVerdict {
  std::string file;
  std::string fault;  // "" when there is none
};

// What the trial was doing when it ended, as far as it reported.
TrialVerdict ReadReport(const TrialEnd& end, const std::vector<std::string>& files) {
  std::string file = files.back();
  std::string moment = "when it is unloaded";
  bool unloaded = false;
  for (const Line& line : SplitLines(end.output)) {
    if (line.letter == kBegun) {
      file = line.text;
      moment = "while it is loaded";
    } else if (line.letter == kMaking) {
      moment = "while a " + line.text + " of it is made";
    } else if (line.letter == kDone) {
      moment = "when it is unloaded";
    } else if (line.letter == kUnloaded) {
      unloaded = true;
    }
  }
  if (unloaded) return {};
  return {file, end.manner + " " + moment + "; build it again, or name another"};
}

TrialVerdict TryTogether(const std::vector<std::string>& files, TrialDepth depth) {
  const auto gives_up = [] { return RequestedStop() != StopRequest::None; };
  const std::optional<TrialEnd> end = RunTrialProcess(kTrialArgument, DescribeTask(files, depth), kTimeLimit, gives_up);
  if (!end) return {};
  if (end->in_vain) throw std::bad_alloc();
  const TrialVerdict verdict = ReadReport(*end, files);
  if (!verdict.fault.empty() && gives_up()) {
    const bool interrupted = RequestedStop() == StopRequest::Interrupt;
    throw ProgramError(interrupted ? ExitCode::Interrupted : ExitCode::Terminated,
                       std::string("stopped by ") + NameOf(RequestedStop()) + " while libraries were tried");
  }
  return verdict;
}

// What was found good, with the depth.
std::set<std::string>& KnownFiles() {
  static std::set<std::string> known;
  return known;
}

std::string KnownAs(const std::string& file, TrialDepth depth) {
  return (depth == TrialDepth::Make ? "m" : "l") + IdentityOfFile(file) + file;
}

void MakeOneOfEach(const std::function<void(std::string_view)>& report) {
  const Sdk::TextListHolder names;
  WorkFlowFactory::GetObjectTypeNames(names.get());
  for (const std::string& name : names.Texts()) {
    std::string line;
    AppendLine(line, kMaking, name);
    report(line);
    IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name.c_str());
    if (creator == nullptr) continue;
    try {
      IBaseWorkFlowObject* const object = creator->Create();
      if (object != nullptr) object->Release();
    } catch (...) {
    }
    creator->Destroy();
  }
}

// What nobody catches is the library's fault, unless it is for lack of memory.
[[noreturn]] void EndWithReason() {
  try {
    if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    EndTrialInVain();
  } catch (...) {
  }
  std::abort();
}

// Of the process that this one is a copy of.
std::optional<Host::WorkflowHost>* copied_host = nullptr;

void TryAll() {
  std::string task;
  const std::function<void(std::string_view)> report = BeginTrial(task);
  if (task.empty()) return;  // Who had it made ready is gone.
  bool makes = false;
  std::vector<std::string> directories;
  std::vector<std::string> files;
  for (Line& line : SplitLines(task)) {
    if (line.letter == kMake) makes = true;
    if (line.letter == kDirectory) directories.push_back(std::move(line.text));
    if (line.letter == kFile) files.push_back(std::move(line.text));
  }
  std::vector<const char*> pointers;
  for (const std::string& directory : directories) pointers.push_back(directory.c_str());
  Runtime::PluginLoader::SetPluginDirectories(pointers.data(), pointers.size());
  std::optional<Host::WorkflowHost> made;
  std::optional<Host::WorkflowHost>& host = copied_host != nullptr ? *copied_host : made;
  if (makes && host) EndTrialInVain();  // Objects are made without a host.
  if (!makes && !host) host.emplace();
  for (const std::string& file : files) {
    std::string line;
    AppendLine(line, kBegun, file);
    report(line);
    WorkFlowFactory::LoadSharedLibrary(file.c_str());  // What the loader refuses is told by the one who asks for it.
    if (makes) MakeOneOfEach(report);
    line.front() = kDone;
    report(line);
  }
  host.reset();
  WorkFlowFactory::UnloadSharedLibraries();
  std::string line;
  AppendLine(line, kUnloaded, "");
  report(line);
}

}  // namespace

TrialFaults TryLibraries(const std::vector<std::string>& files, TrialDepth depth) {
  std::vector<std::string> unknown;
  std::vector<std::string> identities;
  for (const std::string& file : files) {
    const bool is_listed = std::find(unknown.begin(), unknown.end(), file) != unknown.end();
    std::string identity = KnownAs(file, depth);
    if (is_listed || KnownFiles().contains(identity)) continue;
    unknown.push_back(file);
    identities.push_back(std::move(identity));
  }
  if (unknown.empty()) {
    DropPreparedTrial();
    return {};
  }
  const TrialVerdict verdict = TryTogether(unknown, depth);
  if (verdict.fault.empty()) {
    KnownFiles().insert(identities.begin(), identities.end());
    return {};
  }
  TrialFaults faults;
  if (unknown.size() > 1) {
    for (const std::string& file : unknown) {
      const TrialVerdict alone = TryTogether({file}, depth);
      if (!alone.fault.empty()) faults.emplace(file, alone.fault);
    }
  }
  if (faults.empty()) faults.emplace(verdict.file, verdict.fault);
  return faults;
}

void PrepareToTryLibraries() noexcept { PrepareTrialProcess(kTrialArgument, &ServeTrial); }

void PrepareToTryLibraries(std::optional<Host::WorkflowHost>& host) noexcept {
  copied_host = &host;
  PrepareToTryLibraries();
  copied_host = nullptr;
}

void ServeTrial() {
  // Whoever had it begun may have more memory, and does it once more or says so.
  std::set_terminate(&EndWithReason);
  try {
    TryAll();
  } catch (const std::bad_alloc&) {
    EndTrialInVain();
  }
  EndTrial();
}

}  // namespace OrvWorkFlow::Program
