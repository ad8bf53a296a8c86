// A plug-in of another version of the contract.
#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/plugins/TestNode.h"

namespace {

class WrongVersionNode final : public orv_test::TestNode<WrongVersionNode> {
 public:
  static constexpr const char* kTypeName = "TestWrongVersion";
  WrongVersionNode() : TestNode(kTypeName) {}

  bool Signal(const char* /*signal_name*/) override { return true; }
};

OrvWorkFlow::WorkFlowFactory registration(new (std::nothrow) orv_test::TestNodeCreator<WrongVersionNode>);

}  // namespace

extern "C" ORV_EXPORT unsigned OrvWorkFlowPluginVersion();
extern "C" ORV_EXPORT unsigned OrvWorkFlowPluginVersion() { return OrvWorkFlow::kPluginContractVersion + 41; }
