// The code in docs/embedding.md is that of the host which is built against the packages.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace {

TEST(EmbeddingGuideTest, ItsFilesAreThoseOfTheHostThatIsBuilt) {
  const std::filesystem::path source = orv_test::SourceFolder();
  const std::string page = orv_test::ReadFile(source / "docs" / "embedding.md");
  ASSERT_FALSE(page.empty());
  for (const char* name : {"CMakeLists.txt", "TickHost.cpp", "flow.xml"}) {
    const std::string file = orv_test::ReadFile(source / "tests" / "consumer" / "host" / name);
    ASSERT_FALSE(file.empty()) << name;
    EXPECT_NE(page.find("\n" + file + "```\n"), std::string::npos) << name << " differs from what the page shows";
  }
}

}  // namespace
