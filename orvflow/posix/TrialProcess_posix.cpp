#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "orvflow/trial/TrialProcess.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return number_; }
  void Close() {
    if (number_ >= 0) close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

// A process and all that it starts stand in a group of their own, which the terminal's keys do not reach.
class Child {
 public:
  ~Child() {
    if (!is_gone_) End();
  }

  // Its end of the socket becomes standard input and output; error output is lost.
  bool Start(const char* argument, int socket) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&files, socket, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, socket, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    std::string name = "orvflow";
    std::string word = argument;
    const std::array<char*, 3> words = {name.data(), word.data(), nullptr};
    const int error = posix_spawn(&process_, "/proc/self/exe", &files, &attributes, words.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    is_gone_ = error != 0;
    return error == 0;
  }

  bool HasEnded() {
    if (!is_gone_) is_gone_ = waitpid(process_, &status_, WNOHANG) != 0;
    return is_gone_;
  }

  void End() {
    kill(-process_, SIGKILL);
    kill(process_, SIGKILL);
    while (waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
    }
    is_gone_ = true;
  }

  std::string Manner() const {
    if (WIFEXITED(status_)) return "ends the process with exit code " + std::to_string(WEXITSTATUS(status_));
    const char* const name = sigabbrev_np(WTERMSIG(status_));
    return "crashes (" + (name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(WTERMSIG(status_))) +
           ")";
  }

 private:
  pid_t process_ = -1;
  int status_ = 0;
  bool is_gone_ = true;
};

// False when the other side reads no more.
bool SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// Reads what is there now. False at the end.
bool ReceiveSome(int socket, std::string& bytes) {
  std::array<char, 4096> block;
  for (;;) {
    const ssize_t count = recv(socket, block.data(), block.size(), MSG_DONTWAIT);
    if (count > 0) {
      bytes.append(block.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
      return false;
    } else if (errno == EAGAIN) {
      return true;
    }
  }
}

}  // namespace

std::optional<TrialEnd> RunTrialProcess(const char* argument, std::string_view input, std::chrono::milliseconds limit,
                                        const std::function<bool()>& gives_up) {
  std::array<int, 2> pair = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) return std::nullopt;
  const Descriptor own(pair[0]);
  Descriptor other(pair[1]);
  Child child;
  if (!child.Start(argument, other.get())) return std::nullopt;
  other.Close();
  SendAll(own.get(), input);
  shutdown(own.get(), SHUT_WR);
  TrialEnd end;
  const Clock::time_point deadline = Clock::now() + limit;
  // What the process started may hold the socket open beyond its end.
  for (bool open = true; !child.HasEnded();) {
    if (Clock::now() >= deadline || gives_up()) {
      child.End();
      end.manner = "does not return within " + std::to_string(limit.count() / 1000) + " s";
      break;
    }
    pollfd ready = {own.get(), POLLIN, 0};
    poll(open ? &ready : nullptr, open ? 1 : 0, open ? 20 : 1);
    open = open && ReceiveSome(own.get(), end.output);
  }
  ReceiveSome(own.get(), end.output);
  if (end.manner.empty()) end.manner = child.Manner();
  return end;
}

std::function<void(std::string_view)> BeginTrial(std::string& input) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const int socket = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  std::array<char, 4096> block;
  for (ssize_t count = 1; count > 0;) {
    count = read(STDIN_FILENO, block.data(), block.size());
    if (count > 0) input.append(block.data(), static_cast<std::size_t>(count));
  }
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  return [socket](std::string_view bytes) { SendAll(socket, bytes); };
}

void EndTrial() { _exit(0); }

}  // namespace OrvWorkFlow::Program
