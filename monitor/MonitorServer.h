// The server of the page that shows a run: HTTP on the loopback address, and a WebSocket for each tab. It has one
// thread; whoever asks slowly, much or not at all delays nobody but himself, and never the run.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Monitor {

class ServerProblem : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Content {
  unsigned status = 200;
  std::string type = "application/json";
  std::string body;
  bool is_page = false;  // that the program carries: a compressed file, which brings its own content policy
};

// What is shown. Called on the server's thread, between Start and Stop. What it throws becomes an answer of status 500.
class LiveSource {
 public:
  // `target` is a path and a query, of a request that was let in.
  virtual Content Get(std::string_view target) = 0;
  // The same for a command, of kMostBodyBytes at most. Asked only of a server that takes commands.
  virtual Content Post(std::string_view /*target*/, const std::string& /*body*/) { return {404, "text/plain", {}}; }
  // All that a tab shows, as JSON. For a tab that is new, or has missed something.
  virtual std::string WholeUpdate() = 0;
  // What is different since the last call, at most ten times a second; "" for nothing. Values, not differences: a tab
  // may get some of them twice.
  virtual std::string Update() = 0;

 protected:
  ~LiveSource() = default;
};

class MonitorServer {
 public:
  // The limits of what is taken from outside.
  static constexpr std::uint32_t kMostHeaderBytes = 8 * 1024;
  static constexpr std::uint32_t kMostBodyBytes = 4 * 1024;
  static constexpr std::uint32_t kMostFrameBytes = 1024;
  static constexpr std::size_t kMostConnections = 64;
  static constexpr std::size_t kMostTabs = 32;
  static constexpr std::string_view kLivePath = "/api/live";  // of the WebSocket

  struct Patience {
    unsigned request = 10'000;  // milliseconds for a whole request, or its answer, or until the next one
    unsigned tab = 30'000;      // until a tab that does not respond is left
    unsigned end = 1'000;       // for the last update
  };

  // Takes the port, 0 any that is free. Throws ServerProblem. Nothing is answered yet. Without `takes_commands` nothing
  // that is asked for changes anything.
  MonitorServer(std::uint16_t port, std::string token, Patience patience, bool takes_commands = false);
  MonitorServer(const MonitorServer&) = delete;
  MonitorServer& operator=(const MonitorServer&) = delete;
  // Stops without a last word.
  ~MonitorServer();

  std::uint16_t port() const { return port_; }

  // Once. `source` is asked until Stop. Throws std::system_error where there is no thread to be had.
  void Start(LiveSource& source);
  // Sends the last update, ends all connections and frees the port. Waits for slow tabs as long as the patience says.
  void Stop(const std::string& last_update) noexcept;

 private:
  class Engine;                     // All that knows the network.
  std::unique_ptr<Engine> engine_;  // Null after Stop.
  const std::uint16_t port_;
};

}  // namespace OrvWorkFlow::Monitor
