#include "nodes/process/RunProgram.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <iterator>
#include <stdexcept>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/process/OutputText.h"
#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr NodeInput kInputs[] = {
    {"run", "starts the program"},
    {"stop", "ends it, with all that it started"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"succeeded", false, "it has ended with exit code 0"},
    {"failed", true, "it cannot be started, or has ended with another code; why is in /RunProgram/<instance>/Problem"},
    {"timed_out", false, "it took too long and was ended; the user is told where nothing takes it"},
    {"stopped", false, "it was ended by the signal stop"},
    {"code1", false, "it has ended with a code of the first of Codes"},
    {"code2", false, "the second"},
    {"code3", false, "the third"},
    {"code4", false, "the fourth"},
    {"code5", false, "the fifth"},
    {"code6", false, "the sixth"},
    {"code7", false, "the seventh"},
    {"code8", false, "the eighth"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Program", "", "its file, or a name that is looked for in PATH"),
    TextListParameterRow("Arguments",
                         "each is one argument as it stands; one that is a path $... becomes the platform's"),
    TextParameterRow("Folder", ".", "the folder in which it works"),
    TextListParameterRow("Environment", "NAME=VALUE, on top of the variables of the run"),
    NumberParameterRow("Milliseconds", "0", 0, "the time that it may take; 0 for any"),
    NumberParameterRow("EndMilliseconds", "1000", 0, "the time to end by itself when it is asked to", 60000),
    TextListParameterRow("Codes", "exit codes with ways of their own, as in 3 or 10-19; eight at most"),
    TextParameterRow("OutputFile", "none", "the file that gets its standard output"),
    TextParameterRow("ErrorFile", "none", "the file that gets its standard error"),
    NumberParameterRow("MostBytes", "65536", 0, "how much of each is kept in the workflow's dictionary", 1 << 24),
    NumberParameterRow("MostFileKilobytes", "1048576", 1, "how much of each is written to a file"),
};

constexpr char kAttempt[] = "Attempt";
constexpr char kProblem[] = "Problem";
constexpr std::chrono::milliseconds kLook(20);

std::string FirstLine(const std::string& text) {
  return text.substr(0, std::min(text.find_first_of("\r\n"), std::size_t{200}));
}

}  // namespace

// What is kept of one stream: the beginning in memory, more in the file.
class RunProgram::Writing {
 public:
  Writing(IFileSystemA& file_system, std::string file, std::size_t most_kept, std::uint64_t most_in_file)
      : file_system_(&file_system),
        file_(file == "none" ? "" : std::move(file)),
        most_kept_(most_kept),
        most_in_file_(most_in_file) {
    if (!file_.empty() && !file_system.WriteFileBytes(file_.c_str(), nullptr, 0)) {
      throw std::runtime_error(Sdk::WithReason(file_system, "cannot write " + file_));
    }
  }

  void Take(std::string_view bytes) {
    kept_ += bytes.substr(0, most_kept_ - std::min(most_kept_, kept_.size()));
    const auto room = static_cast<std::size_t>(
        std::min<std::uint64_t>(bytes.size(), most_in_file_ - std::min(most_in_file_, bytes_)));
    bytes_ += bytes.size();
    if (file_.empty() || room == 0) return;
    const Sdk::TextHolder text;
    if (!text->Assign(bytes.data(), room) || !file_system_->AppendFileString(file_.c_str(), text.get())) {
      throw std::runtime_error(Sdk::WithReason(*file_system_, "cannot write " + file_));
    }
  }

  const std::string& kept() const { return kept_; }
  std::uint64_t bytes() const { return bytes_; }

 private:
  IFileSystemA* file_system_;
  std::string file_;
  std::size_t most_kept_;
  std::uint64_t most_in_file_;
  std::string kept_;
  std::uint64_t bytes_ = 0;
};

struct RunProgram::Running {
  std::unique_ptr<ChildProgram> program;
  Writing output;
  Writing error;
  SteadyClock::time_point begin = SteadyClock::now();
  std::optional<SteadyClock::time_point> asked_to_end = std::nullopt;
  const char* asked_by = nullptr;  // the signal that is fired for it
};

void RunProgram::RunningDeleter::operator()(Running* running) const { delete running; }

constinit const NodeDescription RunProgram::kDescription = {
    .sentence = "Runs a program",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool RunProgram::OnSignal(std::string_view signal) {
  if (signal == "stop") {
    is_stop_asked_ = true;
    return true;
  }
  if (signal == "resume") {
    Continue();
    return true;
  }
  if (running_ != nullptr) return false;
  is_stop_asked_ = false;
  Sdk::NodeRecord record = Record();
  record.Clear();
  record.SetNumber(kAttempt, 0);
  return BeginAnew();
}

Sdk::WorkerNode::Outcome RunProgram::Work() {
  const char* output = "failed";
  try {
    if (running_ == nullptr) StartProgram();
    output = Attend();
    if (output == nullptr) return Outcome::Stopped;
  } catch (const std::exception& error) {
    Record().SetText(kProblem, AsText(error.what()));
  }
  running_.reset();
  TellUnheard(output);
  FireLast(output);
  return Outcome::Done;
}

// What went wrong is somebody's business: the workflow's or the user's.
void RunProgram::TellUnheard(const char* output) {
  const std::string_view name = output;
  if (name != "failed" && name != "timed_out") return;
  if (!IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), output)) TellUser(Record().Text(kProblem));
}

void RunProgram::StartProgram() {
  Sdk::NodeRecord record = Record();
  record.SetNumber(kAttempt, record.Number(kAttempt) + 1);
  ProgramStart start;
  start.program = PlatformPath(TextParameter("Program"));
  if (start.program.empty()) throw std::runtime_error("no program is named");
  start.arguments = TextListParameter("Arguments");
  for (std::string& argument : start.arguments) argument = PlatformPath(argument);
  start.folder = PlatformPath(TextParameter("Folder"));
  start.environment = TextListParameter("Environment");
  for (const std::string& variable : start.environment) {
    if (variable.find('=', 1) == std::string::npos) {
      throw std::runtime_error("\"" + variable + "\" is no variable; write NAME=VALUE");
    }
  }
  const auto kept = static_cast<std::size_t>(NumberParameter("MostBytes"));
  const std::uint64_t in_file = static_cast<std::uint64_t>(NumberParameter("MostFileKilobytes")) * 1024;
  Writing output(FileSystem(), TextParameter("OutputFile"), kept, in_file);
  Writing error(FileSystem(), TextParameter("ErrorFile"), kept, in_file);
  running_.reset(new Running{ChildProgram::Start(start), std::move(output), std::move(error)});
}

const char* RunProgram::Attend() {
  Running& running = *running_;
  std::optional<int> exit_code;
  while (!exit_code) {
    if (StopWanted()) return nullptr;
    LimitTime(running);
    exit_code = running.program->Attend(
        kLook, [&](std::string_view bytes) { running.output.Take(bytes); },
        [&](std::string_view bytes) { running.error.Take(bytes); });
  }
  Sdk::NodeRecord record = Record();
  record.SetText("Output", AsText(running.output.kept()));
  record.SetText("Error", AsText(running.error.kept()));
  record.SetNumber("Bytes", static_cast<std::int64_t>(running.output.bytes() + running.error.bytes()));
  record.SetNumber("ExitCode", *exit_code);
  if (running.asked_by == nullptr) return SignalFor(*exit_code);
  record.SetText(kProblem, std::string(running.asked_by) == "stopped" ? "it was stopped" : "it took too long");
  return running.asked_by;
}

void RunProgram::LimitTime(Running& running) {
  const SteadyClock::time_point now = SteadyClock::now();
  if (running.asked_to_end) {
    if (now - *running.asked_to_end >= std::chrono::milliseconds(NumberParameter("EndMilliseconds"))) {
      running.program->Kill();
    }
    return;
  }
  const std::int32_t limit = NumberParameter("Milliseconds");
  const bool is_late = limit > 0 && now - running.begin >= std::chrono::milliseconds(limit);
  if (!is_late && !is_stop_asked_) return;
  running.asked_to_end = now;
  running.asked_by = is_stop_asked_ ? "stopped" : "timed_out";
  running.program->AskToEnd();
}

// "3" or "10-19".
const char* RunProgram::SignalFor(int exit_code) {
  constexpr const char* kCodes[] = {"code1", "code2", "code3", "code4", "code5", "code6", "code7", "code8"};
  const std::vector<std::string> codes = TextListParameter("Codes");
  if (codes.size() > std::size(kCodes)) throw std::runtime_error("the parameter Codes has more than eight");
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const char* const end = codes[i].data() + codes[i].size();
    int first = 0;
    std::from_chars_result read = std::from_chars(codes[i].data(), end, first);
    int last = first;
    if (read.ec == std::errc() && read.ptr != end && *read.ptr == '-') read = std::from_chars(read.ptr + 1, end, last);
    if (read.ec != std::errc() || read.ptr != end)
      throw std::runtime_error("\"" + codes[i] + "\" is no exit code; write 3 or 10-19");
    if (exit_code >= first && exit_code <= last) return kCodes[i];
  }
  if (exit_code == 0) return "succeeded";
  Sdk::NodeRecord record = Record();
  const std::string said = FirstLine(record.Text("Error"));
  record.SetText(kProblem,
                 "it has ended with exit code " + std::to_string(exit_code) + (said.empty() ? "" : ": " + said));
  return "failed";
}

// Arguments that begin with "$" and are no workflow path stay as they are.
std::string RunProgram::PlatformPath(const std::string& path) const {
  if (!path.starts_with('$')) return path;
  const Sdk::TextHolder text;
  if (!FileSystem().WorkflowPathToPlatformPathString(path.c_str(), text.get())) return path;
  return HostPath(text->GetText());
}

}  // namespace OrvWorkFlow::Nodes
