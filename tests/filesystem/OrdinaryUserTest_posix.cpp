// What a user without the superuser's rights may do. The tests run as any user; as the superuser they give up the
// rights in a process of their own.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/support/ForkAlone_posix.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

constexpr unsigned kNobody = 65534;

template <class Char>
class OrdinaryUser : public orv_test::FileSystemTest<Char> {
 protected:
  OrdinaryUser() { ::chmod(this->directory_.path().c_str(), 0755); }

  // Files and directories of the user; `mode` comes last, so that it may forbid everything.
  void Give(const std::string& name, unsigned mode) {
    if (IsRoot()) {
      ASSERT_EQ(::lchown(this->Host(name).c_str(), kNobody, kNobody), 0);
    }
    ASSERT_EQ(::chmod(this->Host(name).c_str(), mode), 0);
  }
  void GiveFile(const std::string& name, unsigned mode) {
    this->MakeFile(name, "old");
    Give(name, mode);
  }
  void GiveDirectory(const std::string& name, unsigned mode) {
    std::filesystem::create_directories(this->Host(name));
    Give(name, mode);
  }
  // Runs the checks as the user; each that does not hold is named on standard error.
  struct Check {
    const char* name;
    bool holds;
  };
  void ExpectAsUser(const std::function<std::vector<Check>()>& checks) {
    const pid_t child = orv_test::ForkAlone();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (IsRoot() && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(2);
      int failed = 0;
      for (const Check& check : checks()) {
        if (check.holds) continue;
        std::fprintf(stderr, "as an ordinary user: %s\n", check.name);
        failed = 1;
      }
      ::_exit(failed);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  bool IsRoot() const { return ::geteuid() == 0; }
};
TYPED_TEST_SUITE(OrdinaryUser, orv_test::Widths);

TYPED_TEST(OrdinaryUser, ReadOnlyFilesOfTheUser) {
  this->GiveDirectory("d", 0755);
  for (const char* name : {"d/written", "d/replaced", "d/edited", "d/removed", "d/target", "d/source"}) {
    this->GiveFile(name, 0444);
  }
  auto* face = this->face_;
  typename TestFixture::String text(this->T("x"));
  this->ExpectAsUser([&]() -> std::vector<typename TestFixture::Check> {
    return {
        {"no write", !face->WriteFileBytes(this->At("d\\written").c_str(), "new", 3)},
        {"no replacement", !face->ReplaceFileBytes(this->At("d\\replaced").c_str(), "new", 3)},
        {"no edit", !face->PrependFileString(this->At("d\\edited").c_str(), text.out())},
        {"MakeFile finds it", face->MakeFile(this->At("d\\written").c_str())},
        {"removed", face->RemoveFile(this->At("d\\removed").c_str())},
        {"copied onto", face->CopyOneFile(this->At("d\\source").c_str(), this->At("d\\target").c_str(), true)},
        {"written then", face->WriteFileBytes(this->At("d\\target").c_str(), "new", 3)},
    };
  });
  for (const char* name : {"d/written", "d/replaced", "d/edited", "d/source"}) EXPECT_EQ(this->Content(name), "old");
  EXPECT_FALSE(this->Exists("d/removed"));
  EXPECT_EQ(this->Content("d/target"), "new");
}

TYPED_TEST(OrdinaryUser, FilesOfOthers) {
  if (!this->IsRoot()) GTEST_SKIP() << "needs two users";
  this->GiveDirectory("d", 0755);
  this->MakeFile("d/public", "old");
  this->MakeFile("d/secret", "old");
  ::chmod(this->Host("d/public").c_str(), 0644);
  ::chmod(this->Host("d/secret").c_str(), 0600);
  this->MakeFile("theirs/file", "old");
  ::chmod(this->Host("theirs").c_str(), 0755);
  auto* face = this->face_;
  orv_test::Stream stream;
  this->ExpectAsUser([&]() -> std::vector<typename TestFixture::Check> {
    return {
        {"read", face->ReadFileToStream(this->At("d\\public").c_str(), stream.out()) && stream.bytes() == "old"},
        {"no write", !face->WriteFileBytes(this->At("d\\public").c_str(), "new", 3)},
        {"no replacement, though the directory would allow it",
         !face->ReplaceFileBytes(this->At("d\\public").c_str(), "new", 3)},
        {"no read", !face->ReadFileToStream(this->At("d\\secret").c_str(), stream.out())},
        {"no size", face->FileSize(this->At("d\\secret").c_str()) == 0},
        {"it exists", face->FileExists(this->At("d\\secret").c_str())},
        {"no copy", !face->CopyOneFile(this->At("d\\secret").c_str(), this->At("d\\copy").c_str(), true)},
        {"no removal", !face->RemoveFile(this->At("theirs\\file").c_str())},
        {"no deletion", !face->DeleteDirectory(this->At("theirs").c_str())},
        {"no new file", !face->MakeFile(this->At("theirs\\new").c_str())},
        {"no new directory", !face->MakeDirectory(this->At("theirs\\new").c_str())},
    };
  });
  EXPECT_EQ(this->Everything(), (std::vector<std::string>{"d/", "d/public", "d/secret", "theirs/", "theirs/file"}));
  EXPECT_EQ(this->Content("d/public"), "old");
}

// A directory that takes no new files: replacements and edits write the file itself.
TYPED_TEST(OrdinaryUser, ADirectoryThatTakesNoNewFiles) {
  this->GiveDirectory("d", 0755);
  this->GiveFile("d/replaced", 0644);
  this->GiveFile("d/edited", 0644);
  this->GiveFile("d/copied", 0644);
  this->MakeFile("source", "a copy");
  this->Give("source", 0644);
  this->Give("d", 0555);
  auto* face = this->face_;
  this->ExpectAsUser([&]() -> std::vector<typename TestFixture::Check> {
    return {
        {"replaced", face->ReplaceFileBytes(this->At("d\\replaced").c_str(), "new", 3)},
        {"edited", face->DeleteFileBytes(this->At("d\\edited").c_str(), 1, 1)},
        {"copied over", face->CopyOneFile(this->At("source").c_str(), this->At("d\\copied").c_str(), true)},
        {"no new file", !face->ReplaceFileBytes(this->At("d\\fresh").c_str(), "new", 3)},
        {"no removal", !face->RemoveFile(this->At("d\\edited").c_str())},
    };
  });
  EXPECT_EQ(this->Content("d/replaced"), "new");
  EXPECT_EQ(this->Content("d/edited"), "od");
  this->Give("d", 0755);
  EXPECT_EQ(this->Content("d/copied"), "a copy");
  EXPECT_EQ(this->Everything(), (std::vector<std::string>{"d/", "d/copied", "d/edited", "d/replaced", "source"}));
}

// What cannot be entered counts as empty in a listing; a copy or a deletion that missed it has failed.
TYPED_TEST(OrdinaryUser, ADirectoryThatCannotBeEntered) {
  this->GiveDirectory("t", 0755);
  this->GiveDirectory("t/open", 0755);
  this->GiveDirectory("t/closed", 0755);
  this->GiveDirectory("to", 0755);
  this->GiveFile("t/open/a", 0644);
  this->GiveFile("t/closed/b", 0644);
  this->Give("t/closed", 0);
  auto* face = this->face_;
  typename TestFixture::List files;
  typename TestFixture::List directories;
  const auto tree = this->At("t");
  const auto names_closed = [&] {
    typename TestFixture::String path;
    typename TestFixture::String reason;
    return face->GetLastFailure(nullptr, path.out(), reason.out()) && path.str() == this->At("t\\closed") &&
           reason.str() == this->T("permission denied");
  };
  this->ExpectAsUser([&]() -> std::vector<typename TestFixture::Check> {
    return {
        {"listed", face->ListFiles(tree.c_str(), files.out()) && files.vec() == std::vector{this->At("t\\open\\a")}},
        {"said what is missing", names_closed()},
        {"directories listed", face->ListDirectories(tree.c_str(), directories.out()) && directories.vec().size() == 2},
        {"size of the rest", face->FileSize(tree.c_str()) == 3},
        {"the copy failed", !face->CopyDirectory(tree.c_str(), this->At("to\\copy").c_str(), true)},
        {"and said why", names_closed()},
        {"and copied the rest", face->FileExists(this->At("to\\copy\\open\\a").c_str())},
    };
  });
  this->Give("t/closed", 0755);
  EXPECT_TRUE(this->Exists("t/closed/b"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
