// Copies of whole trees.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::FakeEngine;
using orv_test::GlobalEngine;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kNoDirectory[] = "/errors/directory does not exist|The directory does not exist.";
constexpr char kCannotCreateDirectory[] = "/errors/cannot create directory|Cannot create directory.";
constexpr char kCopyFailed[] = "/errors/copy file failed|Copy file failed.";

template <class Char>
class CopyDirectory : public orv_test::FileSystemTest<Char> {
 protected:
  CopyDirectory() {
    for (const char* name : {"from/a.txt", "from/b/c.txt", "from/b/d/e.txt", "from/f/g.txt"}) {
      this->MakeFile(name, std::string("content of ") + name);
    }
    std::filesystem::create_directories(this->Host("from/b/empty"));
  }
  bool Copy(std::string_view source, std::string_view destination, bool overwrite = false) {
    return this->face_->CopyDirectory(this->T(source).c_str(), this->T(destination).c_str(), overwrite);
  }
  bool CopyAt(std::string_view source, std::string_view destination, bool overwrite = false) {
    return this->face_->CopyDirectory(this->At(source).c_str(), this->At(destination).c_str(), overwrite);
  }
  // The files below a directory, with their content.
  std::vector<std::string> Tree(const std::string& root) {
    std::vector<std::string> files;
    for (const std::string& name : this->Everything()) {
      if (name.starts_with(root + "/") && !name.ends_with('/')) {
        files.push_back(name.substr(root.size()) + "=" + this->Content(name));
      }
    }
    return files;
  }
};
TYPED_TEST_SUITE(CopyDirectory, orv_test::Widths);

TYPED_TEST(CopyDirectory, CopiesEveryFileToItsPlace) {
  EXPECT_TRUE(this->CopyAt("from", "to\\deep\\er"));
  EXPECT_EQ(this->Tree("to/deep/er"), this->Tree("from"));
  EXPECT_EQ(this->Tree("to/deep/er").size(), 4U);
  EXPECT_FALSE(this->Exists("to/deep/er/b/empty")) << "directories without files are not made";
  EXPECT_TRUE(this->CopyAt("from\\", "second\\"));
  EXPECT_EQ(this->Tree("second"), this->Tree("from"));
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(CopyDirectory, WorkflowPathsOnEitherSide) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  const std::string root = orv_test::PlatformPath(this->directory_.path()) + "\\";
  EXPECT_TRUE(this->Copy("$Flow/from", "$Flow/one"));
  EXPECT_TRUE(this->Copy(" $Flow/from ", root + "two"));
  EXPECT_TRUE(this->Copy(root + "from", "$Flow/three"));
  for (const char* copy : {"one", "two", "three"}) EXPECT_EQ(this->Tree(copy), this->Tree("from")) << copy;
}

TYPED_TEST(CopyDirectory, WithoutOverwritingExistingFilesFailAndTheOthersAreCopied) {
  this->MakeFile("to/b/c.txt", "old");
  EXPECT_FALSE(this->CopyAt("from", "to", false));
  EXPECT_EQ(this->hook_.Take(), Names{kCopyFailed});
  EXPECT_EQ(this->Content("to/b/c.txt"), "old");
  EXPECT_EQ(this->Tree("to").size(), 4U);
  EXPECT_TRUE(this->CopyAt("from", "to", true));
  EXPECT_EQ(this->Tree("to"), this->Tree("from"));
}

TYPED_TEST(CopyDirectory, ReadOnlyFilesOnEitherSide) {
  this->MakeFile("to/a.txt", "old");
  this->MarkReadOnly("to/a.txt");
  this->MarkReadOnly("from/a.txt");
  this->MarkReadOnly("from/f/g.txt");
  EXPECT_TRUE(this->CopyAt("from", "to", true));
  EXPECT_EQ(this->Tree("to"), this->Tree("from"));
  EXPECT_FALSE(this->IsReadOnly("to/a.txt"));
  EXPECT_FALSE(this->IsReadOnly("to/f/g.txt"));
}

TYPED_TEST(CopyDirectory, ADestinationInTheSourceIsNotCopiedAgain) {
  const auto before = this->Tree("from");
  EXPECT_TRUE(this->CopyAt("from", "from\\b\\copy"));
  EXPECT_EQ(this->Tree("from/b/copy"), before);
}

TYPED_TEST(CopyDirectory, ATreeIsNotCopiedOntoItself) {
  const auto before = this->Tree("from");
  EXPECT_FALSE(this->CopyAt("from", "from", true));
  EXPECT_FALSE(this->CopyAt("from", "from\\b\\..", true));
  EXPECT_EQ(this->Tree("from"), before);
}

TYPED_TEST(CopyDirectory, AnEmptySourceIsCopiedAndMakesNothing) {
  EXPECT_TRUE(this->CopyAt("from\\b\\empty", "to"));
  EXPECT_FALSE(this->Exists("to"));
}

TYPED_TEST(CopyDirectory, WhatIsInTheWay) {
  this->MakeFile("to/b", "a file");
  EXPECT_FALSE(this->CopyAt("from", "to", true));
  EXPECT_EQ(this->Tree("to"), (Names{"/a.txt=content of from/a.txt", "/b=a file", "/f/g.txt=content of from/f/g.txt"}));
  this->hook_.Take();
  std::filesystem::create_directories(this->Host("second/a.txt"));
  EXPECT_FALSE(this->CopyAt("from", "second", true));
  EXPECT_EQ(this->hook_.Take(), Names{kCopyFailed});
  EXPECT_EQ(this->Tree("second").size(), 3U);
  EXPECT_FALSE(this->CopyAt("from", "to\\b\\below a file", true));
  EXPECT_EQ(this->hook_.Take(), Names{kCannotCreateDirectory});
}

TYPED_TEST(CopyDirectory, SourcesThatAreNoDirectories) {
  EXPECT_FALSE(this->CopyAt("missing", "to"));
  EXPECT_FALSE(this->CopyAt("from\\a.txt", "to"));
  EXPECT_FALSE(this->Copy("C:\\", "C:\\orv_copy"));
  EXPECT_EQ(this->hook_.Take(), Names(3, kNoDirectory));
  EXPECT_FALSE(this->face_->CopyDirectory(nullptr, this->At("to").c_str(), true));
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), nullptr, true));
  EXPECT_FALSE(this->Copy("", "C:\\orv_copy"));
  EXPECT_FALSE(this->Copy(" ", "C:\\orv_copy"));
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->T("").c_str(), true));
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->T(" ").c_str(), true));
  EXPECT_EQ(this->hook_.Take(), Names(6, kInvalidParameter));
  EXPECT_FALSE(this->Copy("Q:", "C:\\orv_copy")) << "a drive that is not there";
  EXPECT_FALSE(this->face_->DirectoryExists(this->T("C:\\orv_copy").c_str()));
}

TYPED_TEST(CopyDirectory, FromOneDriveToAnother) {
  EXPECT_TRUE(this->face_->CopyDirectory(this->At("from").c_str(), this->T("C:\\orvcopy").c_str(), true));
  EXPECT_TRUE(this->face_->CopyDirectory(this->T("c:\\ORVCOPY").c_str(), this->At("back").c_str(), true));
  EXPECT_EQ(this->Tree("back"), this->Tree("from"));
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("C:\\orvcopy").c_str()));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
