// What the user asks of a run.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/host/HostedRun.h"
#include "orvflow/files/Setting.h"
#include "orvflow/page/PageOptions.h"

namespace OrvWorkFlow::Program {

// What a run that is cut off goes on from.
enum class Durability {
  Off,      // the state that was saved last
  Process,  // where it was when the process died
  Power,    // and, when the machine did, where the disk has it; nothing is done outside before
};

// Files and folders are as the user names them; "" where there is none.
struct RunOptions {
  std::string flow;
  std::string state_file;
  bool fresh = false;
  bool retry = false;
  bool update = false;
  bool force = false;  // errors that are found before the run do not keep it from beginning
  Host::CheckpointSetting checkpoint;
  std::vector<std::string> absorbs;
  std::string key_file;
  std::string log_file;
  std::string record_file;
  Durability durable = Durability::Process;
  std::string timeout;  // seconds, as they were given
  std::optional<std::chrono::duration<double>> time_limit;
  std::vector<std::string> plugin_directories;
  std::vector<Setting> settings;
  std::optional<PageOptions> page;  // that shows the run
};

// The program reads a key or a token, which no other process is to have.
inline bool HasSecrets(const RunOptions& options) { return !options.key_file.empty() || options.page.has_value(); }

}  // namespace OrvWorkFlow::Program
