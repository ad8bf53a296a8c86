#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

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
  void Take(int number) {
    Close();
    number_ = number;
  }
  void Close() {
    if (number_ >= 0) close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

// A copy of a process has one thread, and locks that other threads held stay locked in it for ever.
bool HasOneThread() {
  struct stat threads {};
  return stat("/proc/self/task", &threads) == 0 && threads.st_nlink == 3;  // its own name, "..", and one
}

// What a program that is begun anew finds: signals as the system sets them, and no files of whoever began it.
void BecomeFresh(int socket) {
  setpgid(0, 0);
  for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  dup2(socket, STDIN_FILENO);
  dup2(socket, STDOUT_FILENO);
  dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  ::signal(SIGPIPE, SIG_IGN);
}

// A process and all that it starts stand in a group of their own, which the terminal's keys do not reach.
class Child {
 public:
  ~Child() {
    if (has_said_all_) Await();
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
    return Watch(error == 0);
  }

  // As a copy of this process, which need not load all anew. This process has one thread.
  bool StartAsCopy(void (*work)(), int socket) {
    process_ = fork();
    if (process_ == 0) {
      BecomeFresh(socket);
      try {
        work();
      } catch (...) {
      }
      EndTrialInVain();
    }
    return Watch(process_ > 0);
  }

  // Can be read from when the process has ended; -1 where the system has no such thing.
  int watch() const { return watch_.get(); }

  bool HasEnded() {
    if (!is_gone_) is_gone_ = waitpid(process_, &status_, WNOHANG) != 0;
    return is_gone_;
  }

  // It ends by itself, and is waited for when there is nothing else to do.
  void NoteSaidAll() { has_said_all_ = true; }

  void End() {
    kill(-process_, SIGKILL);
    kill(process_, SIGKILL);
    Await();
  }

  void Await() {
    while (!is_gone_ && waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
    }
    is_gone_ = true;
  }

  bool EndedInVain() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == kInVainCode; }

  std::string Manner() const {
    if (WIFEXITED(status_)) return "ends the process with exit code " + std::to_string(WEXITSTATUS(status_));
    const char* const name = sigabbrev_np(WTERMSIG(status_));
    return "crashes (" + (name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(WTERMSIG(status_))) +
           ")";
  }

 private:
  bool Watch(bool has_started) {
    is_gone_ = !has_started;
    if (has_started) watch_.Take(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    return has_started;
  }

  pid_t process_ = -1;
  Descriptor watch_{-1};
  int status_ = 0;
  bool is_gone_ = true;
  bool has_said_all_ = false;
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

struct Trial {
  // `work`, if given, is what the process with that argument does.
  bool Start(const char* its_argument, void (*work)() = nullptr) {
    std::array<int, 2> pair = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) return false;
    own.Take(pair[0]);
    const Descriptor other(pair[1]);
    argument = its_argument;
    return work != nullptr && HasOneThread() ? child.StartAsCopy(work, other.get())
                                             : child.Start(its_argument, other.get());
  }

  std::string argument;
  Descriptor own{-1};
  Child child;
};

// Ended by force when this process ends without having used it.
std::unique_ptr<Trial>& Prepared() {
  static std::unique_ptr<Trial> prepared;
  return prepared;
}

// The one that has said all and that nobody has waited for yet.
std::unique_ptr<Trial>& Ending() {
  static std::unique_ptr<Trial> ending;
  return ending;
}

// What EndTrial says. A library that had got hold of the socket could close it, but would not say this.
constexpr char kSaidAll = '\0';

bool HasSaidAll(TrialEnd& end) {
  if (!end.output.ends_with(kSaidAll)) return false;
  end.output.pop_back();
  return true;
}

// Gives it what it is to do, and waits for its end. One that has said all need not be waited for: taking it down takes
// the system as long as loading a library (start_bench).
TrialEnd Use(std::unique_ptr<Trial> trial, std::string_view input, std::chrono::milliseconds limit,
             const std::function<bool()>& gives_up) {
  Child& child = trial->child;
  const int socket = trial->own.get();
  SendAll(socket, input);
  shutdown(socket, SHUT_WR);
  TrialEnd end;
  const Clock::time_point deadline = Clock::now() + limit;
  // What the process started may hold the socket open beyond its end.
  for (bool open = true; !child.HasEnded();) {
    if (Clock::now() >= deadline || gives_up()) {
      child.End();
      end.manner = "does not return within " + std::to_string(limit.count() / 1000) + " s";
      break;
    }
    // Where its end wakes this process its reports need not: they are kept for it, and taken now and then. The last one
    // closes the socket.
    const bool is_woken = child.watch() >= 0;
    const short awaited = is_woken ? POLLRDHUP : POLLIN;
    std::array<pollfd, 2> ready = {{{open ? socket : -1, awaited, 0}, {child.watch(), POLLIN, 0}}};
    poll(ready.data(), ready.size(), open || is_woken ? 20 : 1);
    open = open && ReceiveSome(socket, end.output);
    if (open || !HasSaidAll(end)) continue;
    child.NoteSaidAll();
    Ending() = std::move(trial);
    return end;
  }
  ReceiveSome(socket, end.output);
  HasSaidAll(end);
  if (end.manner.empty()) end.manner = child.Manner();
  end.in_vain = child.EndedInVain();
  return end;
}

}  // namespace

void PrepareTrialProcess(const char* argument, void (*work)()) noexcept {
  try {
    auto trial = std::make_unique<Trial>();
    if (trial->Start(argument, work)) Prepared() = std::move(trial);
  } catch (...) {  // It is started when it is needed.
  }
}

void DropPreparedTrial() noexcept { Prepared().reset(); }

void AwaitEndOfTrial() noexcept { Ending().reset(); }

std::optional<TrialEnd> RunTrialProcess(const char* argument, std::string_view input, std::chrono::milliseconds limit,
                                        const std::function<bool()>& gives_up) {
  AwaitEndOfTrial();
  std::unique_ptr<Trial> trial = std::exchange(Prepared(), nullptr);
  if (trial != nullptr && trial->argument == argument) {
    TrialEnd end = Use(std::move(trial), input, limit, gives_up);
    if (!end.in_vain) return end;
  }
  trial = std::make_unique<Trial>();
  if (!trial->Start(argument)) return std::nullopt;
  return Use(std::move(trial), input, limit, gives_up);
}

namespace {

int report_socket = -1;  // Of the process that was started.

}  // namespace

std::function<void(std::string_view)> BeginTrial(std::string& input) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  report_socket = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  std::array<char, 4096> block;
  for (ssize_t count = 1; count != 0;) {
    count = read(STDIN_FILENO, block.data(), block.size());
    if (count < 0 && errno != EINTR) EndTrialInVain();
    if (count > 0) input.append(block.data(), static_cast<std::size_t>(count));
  }
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  return [](std::string_view bytes) { SendAll(report_socket, bytes); };
}

void EndTrial() {
  SendAll(report_socket, {&kSaidAll, 1});
  shutdown(report_socket, SHUT_WR);
  _exit(0);
}

void EndTrialInVain() { _exit(kInVainCode); }

}  // namespace OrvWorkFlow::Program
