// A program that runs, with all that it starts itself: they end with this object, and with the process that made it,
// however that ends. On POSIX a program leaves that company if it makes a session of its own.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Nodes {

struct ProgramStart {
  std::string program;  // a path of the platform, or a name that is looked for in PATH
  std::vector<std::string> arguments;
  std::string folder;                    // empty: that of this process
  std::vector<std::string> environment;  // "NAME=VALUE", on top of that of this process
};

// How the system itself calls a file that the file system object gives a platform path for.
std::string HostPath(std::string platform_path);

class ChildProgram {
 public:
  using Sink = std::function<void(std::string_view)>;

  // Its standard input is empty. Throws std::runtime_error with the reason when it cannot be started.
  static std::unique_ptr<ChildProgram> Start(const ProgramStart& start);
  // Ends it.
  virtual ~ChildProgram() = default;

  // Passes on what it has written, and waits for more, so long at most. Its exit code once it has ended; the company
  // that it left is ended then, and all output was passed on. Ended by a signal: 128 and the signal's number.
  virtual std::optional<int> Attend(std::chrono::milliseconds wait, const Sink& output, const Sink& error) = 0;

  // Asks all of them to end (SIGTERM); where there is no such thing, ends them.
  virtual void AskToEnd() = 0;
  // Ends all of them. Attend tells then that it has ended.
  virtual void Kill() = 0;
};

}  // namespace OrvWorkFlow::Nodes
