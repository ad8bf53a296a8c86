#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

#include "orvflow/watch/StatusServer.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr int kMostWaitingAskers = 8;
// Of whoever asks.
constexpr timeval kPatience = {3, 0};
// Of the run, which may wait for it when it ends.
constexpr timeval kPatienceOfOneSending = {0, 200'000};
constexpr std::chrono::milliseconds kPatienceOfTheRun{500};
// Between two looks whether the run has ended, which is told as well.
constexpr int kLongestWait = 1000;

class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number) {}
  ~FileDescriptor() {
    if (number_ >= 0) close(number_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return number_; }
  bool is_open() const { return number_ >= 0; }

 private:
  const int number_;
};

// A name of the kernel's own: the byte in front is 0, and no file has it.
struct Address {
  explicit Address(const std::string& process) {
    const std::string text = "orvflow-status-" + process;
    const std::size_t size = std::min(text.size(), sizeof address.sun_path - 1);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, text.data(), size);
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + size);
  }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }

  sockaddr_un address = {};
  socklen_t length = 0;
};

int OpenSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0); }

void LimitPatience(int socket, timeval patience) {
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

// Whether a process of this user, or of the system's, is at the other end.
bool IsTrusted(int socket) {
  ucred peer = {};
  socklen_t length = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return false;
  return peer.uid == geteuid() || peer.uid == 0;
}

void Send(int socket, std::string_view bytes) {
  const auto deadline = std::chrono::steady_clock::now() + kPatienceOfTheRun;
  while (!bytes.empty() && std::chrono::steady_clock::now() < deadline) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

}  // namespace

struct StatusServer::System {
  explicit System(std::function<std::string()> make_report)
      : report(std::move(make_report)), socket(OpenSocket()), stop(eventfd(0, EFD_CLOEXEC)) {
    const Address address(NumberOfThisProcess());
    if (!socket.is_open() || !stop.is_open()) return;
    if (bind(socket.get(), address.get(), address.length) != 0 || listen(socket.get(), kMostWaitingAskers) != 0) return;
    thread = std::thread([this] { Serve(); });
  }
  ~System() {
    if (!thread.joinable()) return;
    ended = true;
    const std::uint64_t one = 1;
    // Should it fail, the thread sees the end a moment later.
    [[maybe_unused]] const ssize_t written = write(stop.get(), &one, sizeof one);
    thread.join();
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  void Serve() const {
    while (!ended) {
      pollfd events[] = {{socket.get(), POLLIN, 0}, {stop.get(), POLLIN, 0}};
      if (poll(events, 2, kLongestWait) < 0 && errno != EINTR) return;
      if (events[1].revents != 0) return;
      if (events[0].revents != 0) Answer();
    }
  }

  void Answer() const {
    const FileDescriptor asker(accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!asker.is_open() || !IsTrusted(asker.get())) return;
    LimitPatience(asker.get(), kPatienceOfOneSending);
    try {
      Send(asker.get(), report());
    } catch (const std::exception&) {  // No memory: there is no answer.
    }
  }

  const std::function<std::string()> report;
  const FileDescriptor socket;
  const FileDescriptor stop;
  std::atomic<bool> ended = false;
  std::thread thread;
};

StatusServer::StatusServer(std::function<std::string()> report) {
  try {
    system_ = std::make_unique<System>(std::move(report));
  } catch (const std::exception&) {  // No thread is to be had.
  }
}

StatusServer::~StatusServer() = default;

std::string NumberOfThisProcess() { return std::to_string(getpid()); }

std::optional<std::string> AskForStatus(const std::string& process) {
  const FileDescriptor socket(OpenSocket());
  const Address address(process);
  if (!socket.is_open()) return std::nullopt;
  LimitPatience(socket.get(), kPatience);
  if (connect(socket.get(), address.get(), address.length) != 0) return std::nullopt;
  // The administrator may ask anybody's run.
  if (!IsTrusted(socket.get()) && geteuid() != 0) return std::nullopt;
  std::string report;
  char bytes[4096];
  for (;;) {
    const ssize_t count = recv(socket.get(), bytes, sizeof bytes, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    report.append(bytes, static_cast<std::size_t>(count));
  }
  if (report.empty()) return std::nullopt;
  return report;
}

}  // namespace OrvWorkFlow::Program
