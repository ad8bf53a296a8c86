#include "tests/bridge/TestBroker.h"

#include "tests/bridge/Mosquitto_posix.h"
#include "tests/bridge/SmallBroker.h"

namespace orv_test {

std::vector<BrokerKind> BrokerKinds() { return {BrokerKind::Small, BrokerKind::Mosquitto}; }

std::unique_ptr<TestBroker> MakeBroker(BrokerKind kind, const std::filesystem::path& folder) {
  if (kind == BrokerKind::Small) return std::make_unique<SmallBroker>();
  if (!std::filesystem::exists(kMosquitto)) return nullptr;
  return std::make_unique<Mosquitto>(folder);
}

}  // namespace orv_test
