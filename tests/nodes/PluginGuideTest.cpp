// The code in docs/plugins.md is that of the nodes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace {

// What `orvflow new node SignalCounter` makes of the template.
std::string WithItsName(std::string text) {
  const std::string token = "NewNode";
  for (std::size_t at = text.find(token); at != std::string::npos; at = text.find(token)) {
    text.replace(at, token.size(), "SignalCounter");
  }
  return text;
}

std::vector<std::string> CodeBlocks(const std::string& text) {
  std::vector<std::string> blocks;
  std::size_t at = 0;
  while ((at = text.find("\n```c", at)) != std::string::npos) {
    const std::size_t begin = text.find('\n', at + 1) + 1;
    const std::size_t end = text.find("\n```", begin);
    blocks.push_back(text.substr(begin, end - begin));
    at = end + 4;
  }
  return blocks;
}

TEST(PluginGuideTest, ItsCodeIsCodeThatIsBuilt) {
  const std::filesystem::path source = orv_test::SourceFolder();
  std::string built;
  for (const auto& folder : {source / "nodes" / "backup", source / "nodes" / "flow",
                             source / "examples" / "10_own_node", source / "orvflow" / "new" / "templates" / "node"}) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.is_regular_file()) built += WithItsName(orv_test::ReadFile(entry.path()));
    }
  }
  const std::string page = orv_test::ReadFile(source / "docs" / "plugins.md");
  const std::vector<std::string> blocks = CodeBlocks(page);
  ASSERT_EQ(blocks.size(), 10u);
  EXPECT_NE(page.find(orv_test::ReadFile(source / "examples" / "10_own_node" / "flow.xml")), std::string::npos);
  for (const std::string& block : blocks) EXPECT_NE(built.find(block), std::string::npos) << block;
}

}  // namespace
