// The seam between a bridge and what carries its frames.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace OrvWorkFlow::Nodes::Bridge {

// A pipe that may lose, double, reorder, delay and forget: the two ends see to the rest. It connects, and connects
// anew, by itself. One thread.
class Transport {
 public:
  virtual ~Transport() = default;
  // What comes for the address, Poll gives. Throws std::runtime_error for settings that cannot be right.
  virtual void Open(const std::string& address) = 0;
  // False when it cannot be sent now; Problem says why.
  virtual bool Send(const std::string& address, const std::string& bytes) = 0;
  // Waits for the next frame, not longer than `time`; a connection that is begun can take longer, 50 ms.
  virtual std::optional<std::string> Poll(std::chrono::milliseconds time) = 0;
  // Waits until what was sent is with the broker, but not longer than 300 ms.
  virtual void Close() = 0;

  // Why nothing can be sent now; "" when it can.
  virtual std::string Problem() const { return {}; }
};

struct TransportSettings {
  std::string kind;  // "mqtt" or "folder"
  std::string host;
  std::uint16_t port = 0;
  std::filesystem::path folder;
  std::string faults;
  std::string client;  // how the broker calls this end; the same in each process that continues it
  std::map<std::string, std::string> secrets;  // of the file, by their names
};

// Throws std::runtime_error for settings that cannot be right.
std::unique_ptr<Transport> MakeTransport(const TransportSettings& settings);
std::unique_ptr<Transport> MakeMqtt(const TransportSettings& settings);

// "user = me" and so on, a line each; "#" begins a comment. Throws std::runtime_error for a file that cannot be read
// and a name that is none of user, password, tls, ca, certificate and key.
std::map<std::string, std::string> ReadSecrets(const std::filesystem::path& file, const std::string& shown_name);

}  // namespace OrvWorkFlow::Nodes::Bridge
