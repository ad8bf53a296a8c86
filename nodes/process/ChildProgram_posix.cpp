#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "nodes/process/ChildProgram.h"

extern char** environ;

namespace OrvWorkFlow::Nodes {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }
  int get() const { return number_; }
  void Reset(int number) {
    Close();
    number_ = number;
  }
  int Take() { return std::exchange(number_, -1); }
  void Close() {
    if (number_ >= 0) close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

[[noreturn]] void Fail(const std::string& what, int error) {
  throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) Fail("no pipe can be had", errno);
    reading.Reset(ends[0]);
    writing.Reset(ends[1]);
  }
  Descriptor reading;
  Descriptor writing;
};

// Attributes and actions of a start.
class Spawning {
 public:
  explicit Spawning(pid_t group) {
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_init(&actions_);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, group);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  }
  Spawning(const Spawning&) = delete;
  Spawning& operator=(const Spawning&) = delete;
  ~Spawning() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }

  void Give(int descriptor, int as) { posix_spawn_file_actions_adddup2(&actions_, descriptor, as); }
  void GiveNothing(int as) { posix_spawn_file_actions_addopen(&actions_, as, "/dev/null", O_RDWR, 0); }
  void Enter(const std::string& folder) { posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str()); }

  // 0, or why it cannot be started.
  int Start(pid_t& process, const std::string& program, const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment) {
    std::vector<char*> words = Pointers(arguments);
    std::vector<char*> variables = Pointers(environment);
    return posix_spawnp(&process, program.c_str(), &actions_, &attributes_, words.data(), variables.data());
  }

 private:
  static std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
  }

  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t actions_;
};

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& added) {
  std::vector<std::string> variables = added;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    const std::string_view name = text.substr(0, std::min(text.find('='), text.size() - 1) + 1);
    bool is_set = false;
    for (const std::string& other : added) is_set = is_set || other.starts_with(name);
    if (!is_set) variables.emplace_back(*variable);
  }
  return variables;
}

int ExitCode(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

// The first of the program's process group is a guard that waits for the end of a pipe which this process holds open:
// when that ends, however it ends, the guard ends the group. As long as nobody asks for the guard's end its number, and
// with it the group's, belongs to nobody else.
class PosixProgram final : public ChildProgram {
 public:
  explicit PosixProgram(const ProgramStart& start) {
    StartGuard();
    try {
      StartProgram(start);
    } catch (...) {
      EndGroup();
      throw;
    }
  }
  ~PosixProgram() override {
    EndGroup();
    if (process_ > 0 && !has_ended_) waitpid(process_, nullptr, 0);
  }

  std::optional<int> Attend(std::chrono::milliseconds wait, const Sink& output, const Sink& error) override {
    if (!has_ended_) {
      std::array<pollfd, 2> polled = {{{output_.reading.get(), POLLIN, 0}, {error_.reading.get(), POLLIN, 0}}};
      // Both closed: nothing would be waited for.
      const bool is_silent = output_.reading.get() < 0 && error_.reading.get() < 0;
      poll(is_silent ? nullptr : polled.data(), is_silent ? 0 : polled.size(), static_cast<int>(wait.count()));
      int status = 0;
      has_ended_ = waitpid(process_, &status, WNOHANG) == process_;
      if (has_ended_) {
        exit_code_ = ExitCode(status);
        EndGroup();
      }
    }
    const bool has_output = Read(output_.reading, output);
    const bool has_error = Read(error_.reading, error);
    if (!has_ended_ || has_output || has_error) return std::nullopt;
    return exit_code_;
  }

  void AskToEnd() override {
    if (guard_ > 0) kill(-guard_, SIGTERM);
  }
  void Kill() override {
    if (guard_ > 0) kill(-guard_, SIGKILL);
  }

 private:
  void StartGuard() {
    Pipe pipe;
    Spawning spawning(0);
    spawning.Give(pipe.reading.get(), STDIN_FILENO);
    spawning.GiveNothing(STDOUT_FILENO);
    spawning.GiveNothing(STDERR_FILENO);
    const int problem = spawning.Start(guard_, "/bin/sh", {"sh", "-c", "trap '' TERM; read nothing; kill -KILL 0"}, {});
    if (problem != 0) Fail("/bin/sh cannot be started", problem);
    held_open_.Reset(pipe.writing.Take());
  }

  void StartProgram(const ProgramStart& start) {
    Spawning spawning(guard_);
    spawning.GiveNothing(STDIN_FILENO);
    spawning.Give(output_.writing.get(), STDOUT_FILENO);
    spawning.Give(error_.writing.get(), STDERR_FILENO);
    if (!start.folder.empty()) {
      if (access(start.folder.c_str(), X_OK) != 0) Fail("the folder " + start.folder + " cannot be entered", errno);
      spawning.Enter(start.folder);
    }
    std::vector<std::string> words = {start.program};
    words.insert(words.end(), start.arguments.begin(), start.arguments.end());
    const int problem = spawning.Start(process_, start.program, words, EnvironmentWith(start.environment));
    if (problem != 0) Fail(start.program + " cannot be started", problem);
    for (Pipe* pipe : {&output_, &error_}) {
      pipe->writing.Close();
      fcntl(pipe->reading.get(), F_SETFL, O_NONBLOCK);
    }
  }

  // One piece. Whether there may be more at once.
  static bool Read(Descriptor& descriptor, const Sink& sink) {
    if (descriptor.get() < 0) return false;
    std::array<char, 65536> piece;
    const ssize_t size = read(descriptor.get(), piece.data(), piece.size());
    if (size > 0) {
      sink({piece.data(), static_cast<std::size_t>(size)});
      return true;
    }
    if (size == 0) descriptor.Close();
    return false;
  }

  void EndGroup() {
    if (guard_ <= 0) return;
    kill(-guard_, SIGKILL);
    kill(guard_, SIGKILL);
    waitpid(guard_, nullptr, 0);
    guard_ = -1;
  }

  pid_t guard_ = -1;
  pid_t process_ = -1;
  Descriptor held_open_;
  Pipe output_;
  Pipe error_;
  bool has_ended_ = false;
  int exit_code_ = 0;
};

}  // namespace

std::string HostPath(std::string platform_path) {
  std::replace(platform_path.begin(), platform_path.end(), '\\', '/');
  return platform_path.starts_with("Z:/") ? platform_path.substr(2) : platform_path;
}

std::unique_ptr<ChildProgram> ChildProgram::Start(const ProgramStart& start) {
  return std::make_unique<PosixProgram>(start);
}

}  // namespace OrvWorkFlow::Nodes
