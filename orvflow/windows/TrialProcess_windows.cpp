#include "base/windows/WindowsApi.h"

#include <array>
#include <cstdio>
#include <vector>

#include "orvflow/trial/TrialProcess.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

class Handle {
 public:
  Handle() = default;
  ~Handle() { Close(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  HANDLE get() const { return handle_; }
  HANDLE* out() { return &handle_; }
  void Close() {
    if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_ = nullptr;
};

// The end that the child has is inherited, the other is not.
bool MakePipe(Handle& read, Handle& write, const Handle& inherited) {
  SECURITY_ATTRIBUTES plain = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (CreatePipe(read.out(), write.out(), &plain, 1 << 16) == 0) return false;
  return SetHandleInformation(inherited.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) != 0;
}

std::wstring OwnFile() {
  std::wstring file(32768, L'\0');
  file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
  return file;
}

// Inherits these handles and no others. Belongs to the job from its first moment on, and ends with it, whatever it has
// started: otherwise it would stay behind, not yet running, should this process die right now.
bool Start(const char* argument, std::array<HANDLE, 3> streams, HANDLE job, PROCESS_INFORMATION& process) {
  constexpr DWORD kAttributes = 2;
  SIZE_T size = 0;
  InitializeProcThreadAttributeList(nullptr, kAttributes, 0, &size);
  std::vector<char> room(size);
  auto* const attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room.data());
  if (InitializeProcThreadAttributeList(attributes, kAttributes, 0, &size) == 0) return false;
  STARTUPINFOEXW startup = {};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = streams[0];
  startup.StartupInfo.hStdOutput = streams[1];
  startup.StartupInfo.hStdError = streams[2];
  startup.lpAttributeList = attributes;
  UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, streams.data(), sizeof streams, nullptr,
                            nullptr);
  if (job != nullptr)
    UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &job, sizeof job, nullptr, nullptr);
  const std::wstring file = OwnFile();
  std::wstring command = L"orvflow ";
  for (const char* at = argument; *at != '\0'; ++at) command.push_back(static_cast<wchar_t>(*at));
  const DWORD flags = CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT;
  const bool done = CreateProcessW(file.c_str(), command.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr,
                                   &startup.StartupInfo, &process) != 0;
  DeleteProcThreadAttributeList(attributes);
  if (!done) return false;
  AssignProcessToJobObject(job, process.hProcess);  // For a system that does not know the attribute.
  CloseHandle(process.hThread);
  return true;
}

HANDLE MakeJob() {
  const HANDLE job = CreateJobObjectW(nullptr, nullptr);
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (job != nullptr) SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
  return job;
}

void ReceiveSome(HANDLE pipe, std::string& bytes) {
  DWORD available = 0;
  while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) != 0 && available != 0) {
    std::array<char, 4096> block;
    DWORD count = 0;
    if (ReadFile(pipe, block.data(), static_cast<DWORD>(block.size()), &count, nullptr) == 0) return;
    bytes.append(block.data(), count);
  }
}

void SendAll(HANDLE pipe, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    if (WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) == 0) return;
    bytes.remove_prefix(count);
  }
}

DWORD ExitCodeOf(HANDLE process) {
  DWORD code = 0;
  GetExitCodeProcess(process, &code);
  return code;
}

std::string DescribeEnd(HANDLE process) {
  const DWORD code = ExitCodeOf(process);
  constexpr DWORD kFirstFault = 0xC0000000;
  if (code < kFirstFault) return "ends the process with exit code " + std::to_string(code);
  std::array<char, 16> text = {};
  std::snprintf(text.data(), text.size(), "0x%08lX", code);
  return std::string("crashes (") + text.data() + ")";
}

[[noreturn]] void EndWith(UINT code) {
  TerminateProcess(GetCurrentProcess(), code);
  for (;;) Sleep(INFINITE);
}

LONG CALLBACK EndWithFault(EXCEPTION_POINTERS* fault) {
  TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void PrepareTrialProcess(const char* /*argument*/, void (* /*work*/)()) noexcept {}

void DropPreparedTrial() noexcept {}

// Nothing of a process stays on this system when it has ended.
void AwaitEndOfTrial() noexcept {}

std::optional<TrialEnd> RunTrialProcess(const char* argument, std::string_view input, std::chrono::milliseconds limit,
                                        const std::function<bool()>& gives_up) {
  Handle child_input;
  Handle own_output;
  Handle own_input;
  Handle child_output;
  if (!MakePipe(child_input, own_output, child_input) || !MakePipe(own_input, child_output, child_output)) {
    return std::nullopt;
  }
  SECURITY_ATTRIBUTES inherited = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  Handle nothing;
  *nothing.out() = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
  Handle job;
  *job.out() = MakeJob();
  PROCESS_INFORMATION information = {};
  if (!Start(argument, {child_input.get(), child_output.get(), nothing.get()}, job.get(), information)) {
    return std::nullopt;
  }
  Handle process;
  *process.out() = information.hProcess;
  child_input.Close();
  child_output.Close();
  SendAll(own_output.get(), input);
  own_output.Close();
  TrialEnd end;
  const Clock::time_point deadline = Clock::now() + limit;
  while (WaitForSingleObject(process.get(), 5) == WAIT_TIMEOUT) {
    ReceiveSome(own_input.get(), end.output);
    if (Clock::now() < deadline && !gives_up()) continue;
    end.manner = "does not return within " + std::to_string(limit.count() / 1000) + " s";
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), 1000);
    break;
  }
  ReceiveSome(own_input.get(), end.output);
  if (end.manner.empty()) end.manner = DescribeEnd(process.get());
  end.in_vain = ExitCodeOf(process.get()) == kInVainCode;
  return end;
}

std::function<void(std::string_view)> BeginTrial(std::string& input) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  SetUnhandledExceptionFilter(&EndWithFault);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  std::array<char, 4096> block;
  DWORD count = 0;
  while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) !=
             0 &&
         count != 0) {
    input.append(block.data(), count);
  }
  HANDLE report = nullptr;
  DuplicateHandle(GetCurrentProcess(), output, GetCurrentProcess(), &report, 0, FALSE, DUPLICATE_SAME_ACCESS);
  std::freopen("NUL", "r", stdin);
  std::freopen("NUL", "w", stdout);
  SetStdHandle(STD_INPUT_HANDLE, INVALID_HANDLE_VALUE);
  SetStdHandle(STD_OUTPUT_HANDLE, GetStdHandle(STD_ERROR_HANDLE));
  return [report](std::string_view bytes) { SendAll(report, bytes); };
}

void EndTrial() { EndWith(0); }

void EndTrialInVain() { EndWith(kInVainCode); }

}  // namespace OrvWorkFlow::Program
