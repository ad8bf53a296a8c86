// The code in docs/embedding.md is what `orvflow new host TickHost` makes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace {

std::string WithItsName(std::string text) {
  const std::string token = "NewHost";
  for (std::size_t at = text.find(token); at != std::string::npos; at = text.find(token)) {
    text.replace(at, token.size(), "TickHost");
  }
  return text;
}

TEST(EmbeddingGuideTest, ItsFilesAreThoseOfANewHost) {
  const std::filesystem::path source = orv_test::SourceFolder();
  const std::string page = orv_test::ReadFile(source / "docs" / "embedding.md");
  ASSERT_FALSE(page.empty());
  for (const char* name : {"CMakeLists.txt", "NewHost.cpp", "flow.xml"}) {
    const std::string file = WithItsName(orv_test::ReadFile(source / "orvflow" / "new" / "templates" / "host" / name));
    ASSERT_FALSE(file.empty()) << name;
    EXPECT_NE(page.find("\n" + file + "```\n"), std::string::npos) << name << " differs from what the page shows";
  }
}

}  // namespace
