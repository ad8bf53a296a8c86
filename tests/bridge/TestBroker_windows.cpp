#include "tests/bridge/SmallBroker.h"
#include "tests/bridge/TestBroker.h"

namespace orv_test {

std::vector<BrokerKind> BrokerKinds() { return {BrokerKind::Small}; }

std::unique_ptr<TestBroker> MakeBroker(BrokerKind /*kind*/, const std::filesystem::path& /*folder*/) {
  return std::make_unique<SmallBroker>();
}

}  // namespace orv_test
