#include <windows.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "nodes/process/ChildProgram.h"

namespace OrvWorkFlow::Nodes {

namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }
  HANDLE get() const { return handle_; }
  void Reset(HANDLE handle) {
    Close();
    handle_ = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
  }
  void Close() {
    if (handle_ != nullptr) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_;
};

[[noreturn]] void Fail(const std::string& what, DWORD error = GetLastError()) {
  throw std::runtime_error(what + ": " + std::system_category().message(static_cast<int>(error)));
}

struct Pipe {
  Pipe() {
    HANDLE first = nullptr;
    HANDLE second = nullptr;
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    if (!CreatePipe(&first, &second, &inherited, 1 << 16)) Fail("no pipe can be had");
    reading.Reset(first);
    writing.Reset(second);
    SetHandleInformation(first, HANDLE_FLAG_INHERIT, 0);
  }
  Handle reading;
  Handle writing;
};

// As the usual start of a program takes a command line apart.
void AppendWord(std::string& line, std::string_view word) {
  if (!line.empty()) line += ' ';
  if (!word.empty() && word.find_first_of(" \t\n\v\"") == std::string_view::npos) {
    line += word;
    return;
  }
  line += '"';
  std::size_t slashes = 0;
  for (const char c : word) {
    if (c == '\\') {
      ++slashes;
      continue;
    }
    line.append(c == '"' ? 2 * slashes + 1 : slashes, '\\');
    slashes = 0;
    line += c;
  }
  line.append(2 * slashes, '\\');
  line += '"';
}

// A batch file is run by the command processor, which takes these characters for its own, within quotes as well.
void RefuseForBatch(const ProgramStart& start) {
  std::string end = start.program.substr(start.program.size() - std::min<std::size_t>(4, start.program.size()));
  for (char& c : end) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  if (end != ".bat" && end != ".cmd") return;
  for (const std::string& argument : start.arguments) {
    if (argument.find_first_of("\"%&|<>^!\r\n") != std::string::npos) {
      throw std::runtime_error(start.program + " cannot be given the argument " + argument);
    }
  }
}

// The block of variables: each ends in a zero, and so does the block.
std::string EnvironmentWith(const std::vector<std::string>& added) {
  std::string block;
  for (const std::string& variable : added) block += variable + '\0';
  char* const own = GetEnvironmentStringsA();
  for (const char* at = own; at != nullptr && *at != '\0';) {
    const std::string_view text = at;
    const std::size_t end = text.find('=', 1);
    bool is_set = false;
    for (const std::string& other : added) {
      is_set = is_set || (end != std::string_view::npos && other.size() > end && other[end] == '=' &&
                          CompareStringA(LOCALE_INVARIANT, NORM_IGNORECASE, other.data(), static_cast<int>(end), at,
                                         static_cast<int>(end)) == CSTR_EQUAL);
    }
    if (!is_set) block.append(text).push_back('\0');
    at += text.size() + 1;
  }
  if (own != nullptr) FreeEnvironmentStringsA(own);
  block.push_back('\0');
  return block;
}

// The job ends with its last handle, which this process holds: so does all that is in it.
class WindowsProgram final : public ChildProgram {
 public:
  explicit WindowsProgram(const ProgramStart& start) {
    RefuseForBatch(start);
    job_.Reset(CreateJobObjectA(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job_.get() == nullptr ||
        !SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
      Fail("no job can be had");
    }
    StartProgram(start);
  }
  ~WindowsProgram() override { EndAll(); }

  std::optional<int> Attend(std::chrono::milliseconds wait, const Sink& output, const Sink& error) override {
    bool has_more = Read(output_, output) | Read(error_, error);
    if (has_more) return std::nullopt;
    if (!has_ended_) {
      has_ended_ = WaitForSingleObject(process_.get(), static_cast<DWORD>(wait.count())) == WAIT_OBJECT_0;
      if (!has_ended_) return std::nullopt;
      EndAll();
      has_more = Read(output_, output) | Read(error_, error);
      if (has_more) return std::nullopt;
    }
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return static_cast<int>(code);
  }

  void AskToEnd() override { EndAll(); }
  void Kill() override { EndAll(); }

 private:
  void StartProgram(const ProgramStart& start) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const Handle nothing(
        CreateFileA("NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing.get();
    startup.hStdOutput = output_.writing.get();
    startup.hStdError = error_.writing.get();
    std::string line;
    AppendWord(line, start.program);
    for (const std::string& argument : start.arguments) AppendWord(line, argument);
    std::string environment = EnvironmentWith(start.environment);
    PROCESS_INFORMATION made = {};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED | CREATE_NO_WINDOW,
                        environment.data(), start.folder.empty() ? nullptr : start.folder.c_str(), &startup, &made)) {
      Fail(start.program + " cannot be started");
    }
    process_.Reset(made.hProcess);
    const Handle thread(made.hThread);
    if (!AssignProcessToJobObject(job_.get(), process_.get())) {
      const DWORD error = GetLastError();
      TerminateProcess(process_.get(), 1);
      Fail(start.program + " cannot be put into a job", error);
    }
    ResumeThread(thread.get());
    output_.writing.Close();
    error_.writing.Close();
  }

  // One piece. Whether there may be more at once.
  static bool Read(const Pipe& pipe, const Sink& sink) {
    DWORD there = 0;
    if (!PeekNamedPipe(pipe.reading.get(), nullptr, 0, nullptr, &there, nullptr) || there == 0) return false;
    std::array<char, 65536> piece;
    DWORD size = 0;
    if (!ReadFile(pipe.reading.get(), piece.data(), std::min<DWORD>(there, piece.size()), &size, nullptr)) return false;
    sink({piece.data(), size});
    return size > 0;
  }

  void EndAll() { TerminateJobObject(job_.get(), 1); }

  Handle job_;
  Handle process_;
  Pipe output_;
  Pipe error_;
  bool has_ended_ = false;
};

}  // namespace

std::string HostPath(std::string platform_path) { return platform_path; }

std::unique_ptr<ChildProgram> ChildProgram::Start(const ProgramStart& start) {
  return std::make_unique<WindowsProgram>(start);
}

}  // namespace OrvWorkFlow::Nodes
