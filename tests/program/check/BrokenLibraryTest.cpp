// Libraries that are none, or only a part of one, or that misbehave while they are loaded: refused in one line, before
// anything has begun.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class BrokenLibraryTest : public ProgramFixture {
 protected:
  // Of a library beside the program.
  static std::filesystem::path FindLibrary(const std::string& stem) {
    for (const std::string& name : {"lib" + stem + ".so", stem + ".so", stem + ".dll"}) {
      const std::filesystem::path file = std::filesystem::path(ORVFLOW_PROGRAM).parent_path() / name;
      if (std::filesystem::exists(file)) return file;
    }
    return {};
  }

  // `run` and `inspect` refuse the library, and what they say ends so.
  void ExpectRefused(const std::string& library, const std::string& moment) {
    const ProcessResult run = Run({"run", WriteFlow({{"AnyNode", "A", library}}, "AnyNode,A,go")});
    ExpectOneLine(run, moment);
    EXPECT_NE(run.error.find("flow.xml: /WorkFlowEngine/WorkNodes/AnyNode/Binaries/win32_bin: "), std::string::npos)
        << run.error;
    ExpectOneLine(Run({"inspect", library}), moment);
  }

  static void ExpectOneLine(const ProcessResult& result, const std::string& moment) {
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.error.find(moment), std::string::npos) << result.error;
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
  }

  std::string WriteLibrary(const std::string& bytes) const {
    const std::string file = File(FindLibrary("ProgramNodes").filename().string());
    WriteFile(file, bytes);
    return file;
  }
};

// Where the system itself keeps the crash from ending the process, the library has no types.
TEST_F(BrokenLibraryTest, OneThatCrashesWhileItIsLoaded) {
  const std::string flow = WriteFlow({{"AnyNode", "A", "CrashesWhenLoaded"}}, "AnyNode,A,go");
  for (const ProcessResult& result : {Run({"run", flow}), Run({"inspect", "CrashesWhenLoaded"})}) {
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_NE(result.error.find("CrashesWhenLoaded"), std::string::npos) << result.error;
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
  }
}

TEST_F(BrokenLibraryTest, OneThatEndsTheProcessWithoutAnError) {
  ExpectRefused("ExitsWhenLoaded", " while it is loaded; ");
}

TEST_F(BrokenLibraryTest, OneThatDoesNotReturn) {
  ExpectOneLine(Run({"inspect", "SleepsWhenLoaded"}), ": does not return within 10 s while it is loaded; ");
}

// What programs read of a verb holds nothing of what a library prints.
TEST_F(BrokenLibraryTest, OneThatPrintsDoesNotPrintAmongTheAnswers) {
  const std::filesystem::path folder = std::filesystem::path(ORVFLOW_PROGRAM).parent_path() / "hostile";
  std::filesystem::path library = folder / "PrintsAtOnce.so";
  if (!std::filesystem::exists(library)) library = folder / "PrintsAtOnce.dll";
  const std::string flow = WriteFlow({{"AnyNode", "A", "PrintsAtOnce"}}, "AnyNode,A,go");
  const std::string text = "not on standard output";
  const ProcessResult inspect = Run({"inspect", "--json", library.string(), "ProgramNodes"});
  EXPECT_EQ(inspect.exit_code, 4);
  EXPECT_EQ(inspect.output.substr(0, 1), "{");
  EXPECT_NE(inspect.output.find("EchoNode"), std::string::npos);
  EXPECT_EQ(inspect.output.find(text), std::string::npos);
  EXPECT_NE(inspect.error.find(text), std::string::npos) << inspect.error;
  const ProcessResult check = Run({"check", "--json", flow, "--plugin-path", folder.string()});
  EXPECT_EQ(check.exit_code, 3);
  EXPECT_EQ(check.output.substr(0, 1), "{");
  EXPECT_EQ(check.output.find(text), std::string::npos);
  const ProcessResult graph = Run({"graph", flow, "--plugin-path", folder.string()});
  EXPECT_EQ(graph.exit_code, 0);
  EXPECT_EQ(graph.output.substr(0, 8), "digraph ");
  EXPECT_EQ(graph.output.find(text), std::string::npos);
}

TEST_F(BrokenLibraryTest, TheCulpritAmongSeveralIsNamed) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}, {"BrokenNode", "B", "ExitsWhenLoaded"}}, "EchoNode,A,go");
  const ProcessResult result = Run({"run", flow});
  ExpectOneLine(result, " while it is loaded; ");
  EXPECT_NE(result.error.find("/BrokenNode/Binaries/win32_bin: "), std::string::npos) << result.error;
  EXPECT_NE(result.error.find("ExitsWhenLoaded."), std::string::npos) << result.error;
}

TEST_F(BrokenLibraryTest, ALibraryOfATypeThatIsNeverMadeIsLeftAlone) {
  std::string text = ReadFile(WriteFlow({{"EchoNode", "A"}, {"Idle", "B", "CrashesWhenLoaded"}}, "EchoNode,A,go"));
  const std::size_t begin = text.find("<Instances><B>");
  const std::size_t end = text.find("</Instances>", begin);
  WriteFile(File("flow.xml"), text.erase(begin, end - begin + std::string_view("</Instances>").size()));
  const ProcessResult result = Run({"run", File("flow.xml")});
  EXPECT_EQ(result.exit_code, 0) << result.error;
}

TEST_F(BrokenLibraryTest, PartsOfALibrary) {
  const std::string whole = ReadFile(FindLibrary("ProgramNodes"));
  ASSERT_FALSE(whole.empty());
  ExpectRefused(WriteLibrary(whole.substr(0, whole.size() / 2)), "is cut off");
  ExpectRefused(WriteLibrary(whole.substr(0, 512)), "is cut off");
  ExpectRefused(WriteLibrary(whole.substr(0, 10)), "is no library");
  ExpectRefused(WriteLibrary(""), "is no library");
  ExpectRefused(WriteLibrary(std::string(whole.size(), '\0')), "is no library");
}

}  // namespace
}  // namespace orv_test
