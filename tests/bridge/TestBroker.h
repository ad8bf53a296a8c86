// A broker of a test's own.
#pragma once

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace orv_test {

struct BrokerRules {
  std::string user = {}, password = {};  // none: anybody may connect
  bool is_read_only = false;             // what is published to it, nobody gets, and it says so
};

class TestBroker {
 public:
  virtual ~TestBroker() = default;
  // Before a start; anybody may do anything where it is not called.
  virtual void Use(const BrokerRules& rules) = 0;
  // On the same port each time.
  virtual void Start() = 0;
  // As kill -9 does; connections break.
  virtual void Kill() = 0;
  // Removes what it has kept for a start.
  virtual void Wipe() = 0;
  virtual int port() const = 0;
};

enum class BrokerKind { Small, Mosquitto };

// The small one is for all platforms. Where there is Mosquitto each test has it, too, so that both are known to be
// alike.
std::vector<BrokerKind> BrokerKinds();
// Null for Mosquitto where it is not installed.
std::unique_ptr<TestBroker> MakeBroker(BrokerKind kind, const std::filesystem::path& folder);

inline std::ostream& operator<<(std::ostream& stream, BrokerKind kind) {
  return stream << (kind == BrokerKind::Small ? "Small" : "Mosquitto");
}

}  // namespace orv_test
