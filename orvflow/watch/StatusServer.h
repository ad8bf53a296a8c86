// How a run answers `orvflow status`: through a channel of the system's that only processes of the same user can open,
// that is named after the run's process, and that goes with it. Nothing of it is in the file system.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace OrvWorkFlow::Program {

// A run answers with the path of its state and a line break, its report, this, and its report as JSON. No report holds
// it.
constexpr char kFormSeparator = '\x1E';

class StatusServer {
 public:
  // Without the channel (refused by the system, say) nothing answers; the run does not depend on it. `report` is called
  // on a thread of this object's own, once for each question. Whoever asks and does not listen is left after some
  // seconds.
  explicit StatusServer(std::function<std::string()> report);
  StatusServer(const StatusServer&) = delete;
  StatusServer& operator=(const StatusServer&) = delete;
  ~StatusServer();

 private:
  struct System;  // What the platform keeps.
  std::unique_ptr<System> system_;
};

// What the system and its user call this process.
std::string NumberOfThisProcess();

// Asks the run in the process of that number. Nothing when no run of this user answers there within some seconds.
std::optional<std::string> AskForStatus(const std::string& process);

}  // namespace OrvWorkFlow::Program
