// orvflow graph with Graphviz at hand, and without.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;

class PictureTest : public ProgramFixture {
 protected:
  const std::string flow_ = (SourceFolder() / "examples" / "01_backup" / "flow.xml").string();
};

TEST_F(PictureTest, AreWhatTheirNamesSay) {
  for (const auto& [name, begin] :
       {std::pair{"x.svg", "<?xml"}, std::pair{"x.png", "\x89PNG"}, std::pair{"x.PDF", "%PDF"}}) {
    const ProcessResult result = Run({"graph", flow_, "-o", File(name)});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(ReadFile(File(name)).starts_with(begin)) << name;
    EXPECT_FALSE(fs::exists(File(std::string(name) + ".dot")));
  }
}

// Graphviz reads the text as it was meant.
TEST_F(PictureTest, HostileNamesAreDrawn) {
  const std::string flow = File("hostile.xml");
  std::ofstream(flow, std::ios::binary)
      << "<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type=\"str\">a&lt;/b&gt;&amp;\\\"]; x "
         "[</WorkFlowName><WorkNodes>"
         "<T\"\\><Instances><I\xFF\x01'&#><maps><s><map0 __type=\"str\">T,gone &lt;b&gt;,x]\\</map0></s></maps></I>"
         "</Instances></T></WorkNodes></WorkFlowEngine></IDictionaryRoot>";
  const ProcessResult result = Run({"graph", "--no-findings", flow, "-o", File("hostile.svg")});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_THAT(ReadFile(File("hostile.svg")), HasSubstr("a&lt;/b&gt;&amp;"));
}

TEST_F(PictureTest, DifferencesAreDrawn) {
  const std::string other = (SourceFolder() / "examples" / "02_interrupted" / "flow.xml").string();
  const ProcessResult result = Run({"graph", flow_, "--diff", other, "-o", File("x.svg")});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, "");
  EXPECT_THAT(ReadFile(File("x.svg")), HasSubstr("+ Copier"));
}

TEST_F(PictureTest, AMissingGraphvizIsNamed) {
  const std::string path = std::getenv("PATH");
  setenv("PATH", "/nonexistent", 1);
  const ProcessResult result = Run({"graph", flow_, "-o", File("x.svg")});
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error, HasSubstr("install the package graphviz"));
  EXPECT_FALSE(fs::exists(File("x.svg")));
  EXPECT_FALSE(fs::exists(File("x.svg.dot")));
}

TEST_F(PictureTest, GraphvizThatFailsIsSaid) {
  fs::create_directory(File("x.svg"));
  const ProcessResult result = Run({"graph", flow_, "-o", File("x.svg")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error, HasSubstr("x.svg: dot failed with exit code"));
}

}  // namespace
}  // namespace orv_test
