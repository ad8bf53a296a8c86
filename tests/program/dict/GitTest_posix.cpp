// Dictionary files in a repository of git: as merge driver, as external diff, and as what git shows of enciphered
// files.
#include <cstdlib>
#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class GitTest : public ProgramFixture {
 protected:
  void SetUp() override {
    if (std::system("git --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "needs git: install the package git";
    Shell("git init -q . && git config user.name t && git config user.email t@localhost");
    Shell("git symbolic-ref HEAD refs/heads/main");
    Shell("git config merge.orvflow.name x && git config merge.orvflow.driver '" ORVFLOW_PROGRAM
          " merge %O %A %B --name %P'");
    WriteFile(File(".gitattributes"), "*.xml merge=orvflow diff=orvflow\n");
  }

  // In the repository, with no configuration but its own.
  ProcessResult Shell(const std::string& command) const {
    return RunProcess("/bin/sh", {"-c", "export HOME='" + directory_.path().string() +
                                            "' GIT_CONFIG_NOSYSTEM=1 GIT_PAGER=cat LC_ALL=C; unset GIT_DIR; cd '" +
                                            directory_.path().string() + "' && " + command});
  }
  void Commit(const std::string& inner) const {
    WriteFile(File("flow.xml"), "<IDictionaryRoot>\n" + inner + "</IDictionaryRoot>\n");
    EXPECT_EQ(Shell("git add -A && git commit -q -m x").exit_code, 0);
  }
};

TEST_F(GitTest, MergesWhatDoesNotConflict) {
  Commit("<!-- c -->\n<A __type='int'>1</A>\n<B __type='int'>1</B>\n");
  Shell("git checkout -q -b other");
  Commit("<!-- c -->\n<A __type='int'>1</A>\n<B __type='int'>2</B>\n");
  Shell("git checkout -q main");
  Commit("<!-- c -->\n<A __type='int'>3</A>\n<B __type='int'>1</B>\n");
  const ProcessResult merge = Shell("git merge -q -m merged other");
  EXPECT_EQ(merge.exit_code, 0) << merge.output << merge.error;
  EXPECT_THAT(ReadFile(File("flow.xml")),
              HasSubstr("\n\t<!-- c -->\n\t<A __type=\"int\">3</A>\n\t<B __type=\"int\">2</B>\n"));
  EXPECT_EQ(Shell("git status --porcelain").output, "");
}

TEST_F(GitTest, ConflictsAreLeftToTheUser) {
  Commit("<A __type='int'>1</A>\n");
  Shell("git checkout -q -b other");
  Commit("<A __type='int'>2</A>\n");
  Shell("git checkout -q main");
  Commit("<A __type='int'>3</A>\n");
  const ProcessResult merge = Shell("git merge -m merged other");
  EXPECT_EQ(merge.exit_code, 1);
  EXPECT_THAT(merge.error, HasSubstr("orvflow: flow.xml: /A: conflict: base: int 1; ours: int 3; theirs: int 2\n"));
  EXPECT_THAT(merge.output, HasSubstr("CONFLICT (content): Merge conflict in flow.xml"));
  EXPECT_EQ(Shell("git status --porcelain").output, "UU flow.xml\n");
  EXPECT_EQ(Run({"dict", "get", File("flow.xml"), "/A"}).output, "3\n");
}

TEST_F(GitTest, FilesThatBothSidesAddedAreMerged) {
  WriteFile(File("other.txt"), "x");
  Shell("git add -A && git commit -q -m x && git checkout -q -b other");
  Commit("<A/>\n");
  Shell("git checkout -q main");
  Commit("<B/>\n");
  const ProcessResult merge = Shell("git merge -q -m merged other");
  EXPECT_EQ(merge.exit_code, 0) << merge.output << merge.error;
  EXPECT_EQ(Run({"dict", "list", File("flow.xml")}).output, "B\nA\n") << "ours stand first";
}

TEST_F(GitTest, ShowsDifferencesByPath) {
  Shell("git config diff.orvflow.command '" ORVFLOW_PROGRAM " diff --git'");
  Commit("<A __type='int'>1</A>\n");
  WriteFile(File("flow.xml"), "<IDictionaryRoot><A __type='int'>2</A></IDictionaryRoot>");
  WriteFile(File("new.xml"), "<IDictionaryRoot><N/></IDictionaryRoot>");
  const ProcessResult diff = Shell("git add -N new.xml && git diff --ext-diff");
  EXPECT_EQ(diff.exit_code, 0) << diff.error;
  EXPECT_THAT(diff.output, HasSubstr("--- a/flow.xml\n+++ b/flow.xml\n~ /A: int 1 -> int 2\n"));
  EXPECT_THAT(diff.output, HasSubstr("--- a/new.xml\n+++ b/new.xml\n+ /N\n"));
}

TEST_F(GitTest, ShowsEncipheredFilesAsText) {
  WriteFile(File("key"), "a key\n");
  Shell("git config diff.orvflow.textconv '" ORVFLOW_PROGRAM " format --key-file key -o -'");
  const auto write = [&](const std::string& value) {
    WriteFile(File("flow.xml"), Run({"encrypt", "--key-file", File("key")},
                                    "<IDictionaryRoot><A __type='str'>" + value + "</A></IDictionaryRoot>")
                                    .raw_output);
  };
  write("one");
  Shell("git add -A && git commit -q -m x");
  write("two");
  const ProcessResult diff = Shell("git diff");
  EXPECT_THAT(diff.output, HasSubstr("-\t<A __type=\"str\">one</A>\n+\t<A __type=\"str\">two</A>\n")) << diff.error;
}

}  // namespace
}  // namespace orv_test
