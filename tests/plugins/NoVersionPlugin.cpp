// A library that registers a node type and does not say which contract it was built for.
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/plugins/TestNode.h"

namespace {

class UnversionedNode final : public orv_test::TestNode<UnversionedNode> {
 public:
  static constexpr const char* kTypeName = "TestUnversioned";
  UnversionedNode() : TestNode(kTypeName) {}

  bool Signal(const char* /*signal_name*/) override { return true; }
};

OrvWorkFlow::WorkFlowFactory registration(new (std::nothrow) orv_test::TestNodeCreator<UnversionedNode>);

}  // namespace
