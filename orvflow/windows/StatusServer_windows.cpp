#include "base/windows/WindowsApi.h"

#include <sddl.h>

#include <thread>
#include <utility>
#include <vector>

#include "orvflow/watch/StatusServer.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr DWORD kPatience = 3000;
constexpr DWORD kRejectRemote = 0x00000008;  // PIPE_REJECT_REMOTE_CLIENTS, which older headers lack.

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~Handle() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE get() const { return handle_; }
  bool is_open() const { return handle_ != nullptr; }

 private:
  HANDLE handle_;
};

struct LocalFreer {
  void operator()(void* block) const { LocalFree(block); }
};

std::string PipeName(const std::string& process) { return "\\\\.\\pipe\\orvflow-status-" + process; }

// Gives this user all rights, and nobody else any. Null when the system does not say who that is.
std::unique_ptr<void, LocalFreer> OwnerOnly() {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0) return nullptr;
  const Handle token(opened);
  DWORD size = 0;
  GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
  std::vector<char> user(size);
  if (GetTokenInformation(token.get(), TokenUser, user.data(), size, &size) == 0) return nullptr;
  char* text = nullptr;
  if (ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text) == 0) return nullptr;
  const std::unique_ptr<void, LocalFreer> owned_text(text);
  const std::string rights = std::string("D:P(A;;GA;;;") + text + ")";
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (ConvertStringSecurityDescriptorToSecurityDescriptorA(rights.c_str(), SDDL_REVISION_1, &descriptor, nullptr) ==
      0) {
    return nullptr;
  }
  return std::unique_ptr<void, LocalFreer>(descriptor);
}

// One operation on a pipe, waited for with a limit.
class Operation {
 public:
  Operation() : event_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) { overlapped_.hEvent = event_.get(); }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  OVERLAPPED* get() { return &overlapped_; }

  // `begun` is what the call answered. The bytes, or nothing when it failed, took too long, or `stop` was set.
  std::optional<DWORD> Finish(HANDLE pipe, BOOL begun, DWORD patience, HANDLE stop = nullptr) {
    if (begun == 0 && GetLastError() == ERROR_PIPE_CONNECTED) return 0;
    if (begun == 0 && GetLastError() != ERROR_IO_PENDING) return std::nullopt;
    const HANDLE events[] = {event_.get(), stop};
    const DWORD woken = WaitForMultipleObjects(stop != nullptr ? 2 : 1, events, FALSE, patience);
    if (woken != WAIT_OBJECT_0) CancelIo(pipe);
    DWORD count = 0;
    const BOOL done = GetOverlappedResult(pipe, &overlapped_, &count, TRUE);
    if (woken != WAIT_OBJECT_0 || done == 0) return std::nullopt;
    return count;
  }

 private:
  OVERLAPPED overlapped_ = {};
  const Handle event_;
};

HANDLE MakePipe() {
  const std::unique_ptr<void, LocalFreer> rights = OwnerOnly();
  if (rights == nullptr) return INVALID_HANDLE_VALUE;
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, rights.get(), FALSE};
  return CreateNamedPipeA(PipeName(NumberOfThisProcess()).c_str(),
                          PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                          PIPE_TYPE_BYTE | PIPE_WAIT | kRejectRemote, 1, 65536, 512, 0, &attributes);
}

}  // namespace

struct StatusServer::System {
  explicit System(std::function<std::string()> make_report)
      : report(std::move(make_report)), pipe(MakePipe()), stop(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {
    if (pipe.is_open() && stop.is_open()) thread = std::thread([this] { Serve(); });
  }
  ~System() {
    if (!thread.joinable()) return;
    SetEvent(stop.get());
    thread.join();
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  void Serve() const {
    while (WaitForSingleObject(stop.get(), 0) != WAIT_OBJECT_0) {
      Operation connection;
      const BOOL begun = ConnectNamedPipe(pipe.get(), connection.get());
      if (connection.Finish(pipe.get(), begun, INFINITE, stop.get())) Answer();
      DisconnectNamedPipe(pipe.get());
    }
  }

  // The zero says where the report ends: a disconnection would take what was not read yet.
  void Answer() const {
    try {
      const std::string text = report() + '\0';
      Operation writing;
      const auto size = static_cast<DWORD>(text.size());
      if (!writing.Finish(pipe.get(), WriteFile(pipe.get(), text.data(), size, nullptr, writing.get()), kPatience,
                          stop.get())) {
        return;
      }
      char byte = 0;
      Operation goodbye;
      goodbye.Finish(pipe.get(), ReadFile(pipe.get(), &byte, 1, nullptr, goodbye.get()), kPatience, stop.get());
    } catch (const std::exception&) {  // No memory: there is no answer.
    }
  }

  const std::function<std::string()> report;
  const Handle pipe;
  const Handle stop;
  std::thread thread;
};

StatusServer::StatusServer(std::function<std::string()> report) {
  try {
    system_ = std::make_unique<System>(std::move(report));
  } catch (const std::exception&) {  // No thread is to be had.
  }
}

StatusServer::~StatusServer() = default;

std::string NumberOfThisProcess() { return std::to_string(GetCurrentProcessId()); }

std::optional<std::string> AskForStatus(const std::string& process) {
  const std::string name = PipeName(process);
  if (WaitNamedPipeA(name.c_str(), kPatience) == 0) return std::nullopt;
  const Handle pipe(CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr));
  if (!pipe.is_open()) return std::nullopt;
  std::string report;
  char bytes[4096];
  while (report.empty() || report.back() != '\0') {
    Operation reading;
    const std::optional<DWORD> count =
        reading.Finish(pipe.get(), ReadFile(pipe.get(), bytes, sizeof bytes, nullptr, reading.get()), kPatience);
    if (!count || *count == 0) return std::nullopt;
    report.append(bytes, *count);
  }
  report.pop_back();
  return report;
}

}  // namespace OrvWorkFlow::Program
