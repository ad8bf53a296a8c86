#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <stdexcept>

#include "tests/program/support/ChildProcess.h"

namespace orv_test {

struct ChildProcess::System {
  PROCESS_INFORMATION process = {};
};

namespace {

// A file that the child may read from or write to.
class InheritedFile {
 public:
  InheritedFile(const std::string& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    handle_ = CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_DELETE, &inherited, disposition,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  ~InheritedFile() { CloseHandle(handle_); }
  InheritedFile(const InheritedFile&) = delete;
  InheritedFile& operator=(const InheritedFile&) = delete;
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

constexpr DWORD kMinute = 60000;

// False when the process is still there a minute later.
bool End(HANDLE process) {
  TerminateProcess(process, 1);
  return WaitForSingleObject(process, kMinute) == WAIT_OBJECT_0;
}

// Lets the system's own routine for console events run in the process, as the console does: so the event comes to that
// process alone, which needs no console. False where the system does not tell where its routine is. A thread can only
// be made with the help of the process: one that does not give it is ended.
bool SendConsoleEvent(HANDLE process, DWORD event) {
  void* const routine = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase.dll"), "CtrlRoutine"));
  if (routine == nullptr) return false;
  std::future<HANDLE> thread = std::async(std::launch::async, [&] {
    return CreateRemoteThread(process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine),
                              reinterpret_cast<void*>(static_cast<ULONG_PTR>(event)), 0, nullptr);
  });
  const bool is_in_time = thread.wait_for(std::chrono::milliseconds(kMinute)) == std::future_status::ready;
  if (!is_in_time) End(process);
  const HANDLE handle = thread.get();
  if (handle == nullptr) return false;
  CloseHandle(handle);
  return is_in_time;
}

// In quotes; backslashes before a quote are doubled, as the C library of the child undoes.
std::string Quoted(const std::string& word) {
  std::string quoted = "\"";
  std::size_t backslashes = 0;
  for (const char character : word) {
    if (character == '"') quoted.append(backslashes + 1, '\\');
    backslashes = character == '\\' ? backslashes + 1 : 0;
    quoted.push_back(character);
  }
  return quoted.append(backslashes, '\\') + "\"";
}

std::wstring Widen(const std::string& utf8) {
  std::wstring wide(utf8.size(), L'\0');
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(),
                                         static_cast<int>(wide.size()));
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           std::string_view input)
    : system_(std::make_unique<System>()) {
  std::string file = program;
  std::replace(file.begin(), file.end(), '/', '\\');
  std::string command = Quoted(file);
  for (const std::string& argument : arguments) command += " " + Quoted(argument);
  WriteFile(directory_.path() / "input", input);
  const InheritedFile input_file(directory_.file("input"), GENERIC_READ, OPEN_EXISTING);
  const InheritedFile output(directory_.file("output"), GENERIC_WRITE, CREATE_ALWAYS);
  const InheritedFile error(directory_.file("error"), GENERIC_WRITE, CREATE_ALWAYS);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input_file.get();
  startup.hStdOutput = output.get();
  startup.hStdError = error.get();
  std::wstring wide_command = Widen(command);
  if (CreateProcessW(Widen(file).c_str(), wide_command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                     &system_->process) == 0) {
    throw std::runtime_error("cannot start " + program);
  }
}

ChildProcess::~ChildProcess() {
  if (!End(system_->process.hProcess)) ADD_FAILURE() << "a program cannot be ended";
  CloseHandle(system_->process.hThread);
  CloseHandle(system_->process.hProcess);
}

bool ChildProcess::Interrupt() { return SendConsoleEvent(system_->process.hProcess, CTRL_C_EVENT); }

bool ChildProcess::Break() { return SendConsoleEvent(system_->process.hProcess, CTRL_BREAK_EVENT); }

bool ChildProcess::Terminate() { return SendConsoleEvent(system_->process.hProcess, CTRL_CLOSE_EVENT); }

std::vector<ChildProcess::Ending> ChildProcess::Endings() {
  return {{"Ctrl-C", &ChildProcess::Interrupt},
          {"Ctrl-C", &ChildProcess::Break},
          {"the closing of the console", &ChildProcess::Terminate}};
}

ProcessResult ChildProcess::Wait() {
  if (WaitForSingleObject(system_->process.hProcess, kMinute) != WAIT_OBJECT_0) {
    if (!End(system_->process.hProcess)) throw std::runtime_error("a program that takes too long cannot be ended");
  }
  DWORD exit_code = 0;
  GetExitCodeProcess(system_->process.hProcess, &exit_code);
  const std::string output = ReadFile(directory_.path() / "output");
  return {static_cast<int>(exit_code), WithPlainLineEnds(output), ErrorSoFar(), output};
}

}  // namespace orv_test
