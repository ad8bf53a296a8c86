// Operations on directories and trees, and copies.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::FakeEngine;
using orv_test::GlobalEngine;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kCannotCreateDirectory[] = "/errors/cannot create directory|Cannot create directory.";
constexpr char kCannotDeleteDirectory[] = "/errors/cannot delete directory|Cannot delete directory.";
constexpr char kSourceMissing[] = "/errors/source file does not exist|The source file does not exist.";
constexpr char kCopyFailed[] = "/errors/copy file failed|Copy file failed.";

template <class Char>
class DirectoryOperations : public orv_test::FileSystemTest<Char> {
 protected:
  // With the files of the tree: a.txt, b/c.txt, b/d/e.txt, f/g.txt, and the empty directory b/empty.
  void MakeTree(const std::string& root) {
    for (const char* name : {"/a.txt", "/b/c.txt", "/b/d/e.txt", "/f/g.txt"}) this->MakeFile(root + name, name);
    std::filesystem::create_directories(this->Host(root + "/b/empty"));
  }
};
TYPED_TEST_SUITE(DirectoryOperations, orv_test::Widths);

TYPED_TEST(DirectoryOperations, MakeDirectory) {
  this->MakeFile("file");
  EXPECT_TRUE(this->face_->MakeDirectory(this->At("a\\b\\c").c_str()));
  EXPECT_TRUE(this->face_->MakeDirectory(this->At("a\\b\\c").c_str())) << "it is there already";
  EXPECT_TRUE(this->face_->MakeDirectory(this->At("a/b/d/e").c_str()));
  EXPECT_TRUE(this->face_->MakeDirectory(this->At("q\\\\r\\").c_str()));
  EXPECT_TRUE(this->face_->MakeDirectory(this->At("x\\..\\y").c_str()));
  EXPECT_TRUE(this->face_->MakeDirectory(this->T("C:").c_str()));
  EXPECT_TRUE(this->face_->MakeDirectory(this->T("C:\\").c_str()));
  EXPECT_TRUE(this->hook_.Take().empty());
  EXPECT_FALSE(this->face_->MakeDirectory(this->At("file").c_str()));
  EXPECT_FALSE(this->face_->MakeDirectory(this->At("file\\sub").c_str()));
  EXPECT_FALSE(this->face_->MakeDirectory(this->T("Q:\\no\\such\\drive").c_str()));
  EXPECT_EQ(this->hook_.Take(), Names(3, kCannotCreateDirectory));
  EXPECT_EQ(this->Everything(),
            (Names{"a/", "a/b/", "a/b/c/", "a/b/d/", "a/b/d/e/", "file", "q/", "q/r/", "x/", "y/"}));
}

TYPED_TEST(DirectoryOperations, DirectoryExists) {
  this->MakeFile("d/sub/file");
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("d").c_str()));
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("d\\").c_str())) << "the path is cleaned";
  EXPECT_FALSE(this->face_->DirectoryExists(this->At("d\\sub\\file").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists(this->At("missing").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists(this->T("C:").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists(this->T("C:\\").c_str()));
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("d\\s?b").c_str())) << "the first match is a directory";
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("d\\*").c_str())) << "the first match is the directory itself";
  EXPECT_FALSE(this->face_->DirectoryExists(this->At("d\\sub\\f*").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists((this->At("d") + this->T("\\\\")).c_str())) << "only one backslash goes";
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("nope\\..").c_str()));
}

TYPED_TEST(DirectoryOperations, ListingsAreOrderedDirectoryByDirectory) {
  this->MakeTree("t");
  EXPECT_EQ(this->Files(this->At("t")), (Names{"t\\a.txt", "t\\b\\c.txt", "t\\b\\d\\e.txt", "t\\f\\g.txt"}));
  EXPECT_EQ(this->Directories(this->At("t")), (Names{"t\\b", "t\\f", "t\\b\\d", "t\\b\\empty"}));
  EXPECT_EQ(this->Files(this->At("t\\")), this->Files(this->At("t")));
  EXPECT_EQ(this->Files(this->T(" \t") + this->At("t") + this->T(" ")), this->Files(this->At("t")));
  EXPECT_EQ(this->Files(this->At("t\\b\\empty")), Names{});
}

TYPED_TEST(DirectoryOperations, ListingsKeepTheRootAsItWasGiven) {
  this->MakeTree("t");
  EXPECT_EQ(this->Files(this->At("t/b")), (Names{"t/b\\c.txt", "t/b\\d\\e.txt"}));
  EXPECT_EQ(this->Directories(this->At("t/b")), (Names{"t/b\\d", "t/b\\empty"}));
}

TYPED_TEST(DirectoryOperations, ListingsReplaceWhatTheListHeld) {
  this->MakeTree("t");
  typename TestFixture::List list({this->T("old")});
  EXPECT_FALSE(this->face_->ListFiles(this->At("missing").c_str(), list.out()));
  EXPECT_EQ(list.vec().size(), 1U);
  EXPECT_TRUE(this->face_->ListFiles(this->At("t\\f").c_str(), list.out()));
  EXPECT_EQ(list.vec(), std::vector{this->At("t\\f\\g.txt")});
}

TYPED_TEST(DirectoryOperations, ListingsOfWorkflowPathsAreWorkflowPaths) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  this->MakeTree("t");
  EXPECT_EQ(this->Files(this->T("$Flow/t")),
            (Names{"$Flow/t/a.txt", "$Flow/t/b/c.txt", "$Flow/t/b/d/e.txt", "$Flow/t/f/g.txt"}));
  EXPECT_EQ(this->Directories(this->T(" $Flow/t ")),
            (Names{"$Flow/t/b", "$Flow/t/f", "$Flow/t/b/d", "$Flow/t/b/empty"}));
  EXPECT_EQ(this->Directories(this->T("$Flow")),
            (Names{"$Flow/t", "$Flow/t/b", "$Flow/t/f", "$Flow/t/b/d", "$Flow/t/b/empty"}));
}

// Unlike a platform path's the separator at the end stays, and behind it nothing is found.
TYPED_TEST(DirectoryOperations, AWorkflowPathThatEndsInASlashNamesNoDirectory) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  this->MakeTree("t");
  const auto path = this->T("$Flow/t/");
  EXPECT_FALSE(this->face_->DirectoryExists(path.c_str()));
  EXPECT_EQ(this->Files(path), Names{"failed"});
  EXPECT_EQ(this->Directories(path), Names{"failed"});
  EXPECT_FALSE(this->face_->CopyDirectory(path.c_str(), this->At("u").c_str(), true));
  EXPECT_EQ(this->face_->FileSize(path.c_str()), 0U);
  EXPECT_TRUE(this->face_->DeleteDirectory(path.c_str())) << "there is nothing to delete";
  EXPECT_EQ(this->Files(this->At("t")).size(), 4U);
}

TYPED_TEST(DirectoryOperations, OnlyTheRootAtTheStartIsReplaced) {
  EXPECT_TRUE(this->face_->MakeFile(this->T("$TEMP/orvlist/C/Windows/Temp/orvlist/a").c_str()));
  EXPECT_EQ(this->Files(this->T("$TEMP/orvlist")), Names{"$TEMP/orvlist/C/Windows/Temp/orvlist/a"});
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("$TEMP/orvlist").c_str()));
}

TYPED_TEST(DirectoryOperations, ListingsOfWhatIsNotThereFail) {
  this->MakeFile("file");
  EXPECT_EQ(this->Files(this->At("missing")), Names{"failed"});
  EXPECT_EQ(this->Files(this->At("file")), Names{"failed"});
  EXPECT_EQ(this->Files(this->T("C:\\")), Names{"failed"}) << "a root with its backslash is no bare drive";
  EXPECT_EQ(this->hook_.Take(), Names(3, "/errors/directory does not exist|The directory does not exist."));
  EXPECT_EQ(this->Directories(this->At("missing")), Names{"failed"});
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/directory does not exist|The directory requested does not exist."});
}

TYPED_TEST(DirectoryOperations, ABareDriveIsListedWithoutACheck) {
  EXPECT_EQ(this->Files(this->T("Q:")), Names{});
  EXPECT_EQ(this->Directories(this->T("Q:")), Names{});
  EXPECT_EQ(this->Files(this->T("Q:\\")), Names{"failed"});
}

TYPED_TEST(DirectoryOperations, DeleteDirectory) {
  this->MakeTree("t");
  this->MakeTree("kept");
  this->MarkReadOnly("t/a.txt");
  this->MarkReadOnly("t/b/empty");
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_FALSE(this->Exists("t"));
  EXPECT_EQ(this->Files(this->At("kept")).size(), 4U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str())) << "it is gone already";
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("kept\\a.txt").c_str())) << "a file is no directory";
  EXPECT_TRUE(this->Exists("kept/a.txt"));
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(DirectoryOperations, DeletingGoesOnAfterAFailure) {
  this->MakeTree("t");
  System::FileHandle handle = System::FileHandle::None;
  ASSERT_EQ(System::SystemPlatform().For<TypeParam>().files.Open(this->At("t\\b\\c.txt"), System::Access::Read,
                                                                 System::Creation::OpenExisting, &handle),
            System::SystemResult::Ok);
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_EQ(this->Everything(), (Names{"t/", "t/b/", "t/b/c.txt"}));
  EXPECT_EQ(this->hook_.Take(),
            (Names{"/errors/cannot delete file|Cannot delete file.", kCannotDeleteDirectory, kCannotDeleteDirectory}));
  System::SystemPlatform().open_files.Close(handle);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
}

TYPED_TEST(DirectoryOperations, RootsAreNeverDeleted) {
  EXPECT_TRUE(this->face_->MakeFile(this->T("C:\\orvroot\\precious").c_str()));
  for (const char* root :
       {"C:", "C:\\", "C:\\.", "C:\\orvroot\\..", "C:\\..", "c:/", "\\", "/", "C:\\orvroot\\..\\*\\.."}) {
    EXPECT_FALSE(this->face_->DeleteDirectory(this->T(root).c_str())) << root;
    EXPECT_EQ(this->hook_.Take(), Names{kCannotDeleteDirectory}) << root;
  }
  EXPECT_TRUE(this->face_->FileExists(this->T("C:\\orvroot\\precious").c_str()));
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("C:\\orvroot").c_str()));
}

TYPED_TEST(DirectoryOperations, APatternDeletesNothing) {
  this->MakeTree("t");
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("t\\*").c_str()));
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("?").c_str()));
  EXPECT_EQ(this->Files(this->At("t")).size(), 4U);
}

TYPED_TEST(DirectoryOperations, DeepTrees) {
  std::string path = "t";
  for (int i = 0; i < 60; ++i) path += "\\directory";
  EXPECT_TRUE(this->face_->MakeDirectory(this->At(path).c_str()));
  EXPECT_TRUE(this->face_->WriteFileBytes(this->At(path + "\\a").c_str(), "abc", 3));
  EXPECT_EQ(this->Files(this->At("t")), Names{path + "\\a"});
  EXPECT_EQ(this->Directories(this->At("t")).size(), 60U);
  EXPECT_EQ(this->face_->FileSize(this->At("t").c_str()), 3U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_FALSE(this->Exists("t"));
}

TYPED_TEST(DirectoryOperations, ManyFiles) {
  for (int i = 0; i < 300; ++i) this->MakeFile("t/" + std::to_string(i), "x");
  EXPECT_EQ(this->Files(this->At("t")).size(), 300U);
  EXPECT_EQ(this->face_->FileSize(this->At("t").c_str()), 300U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_FALSE(this->Exists("t"));
}

TYPED_TEST(DirectoryOperations, CopyOneFile) {
  this->MakeFile("from", "new");
  this->MakeFile("to", "old");
  const auto from = this->At("from");
  EXPECT_FALSE(this->face_->CopyOneFile(from.c_str(), this->At("to").c_str(), false));
  EXPECT_EQ(this->hook_.Take(), Names{kCopyFailed});
  EXPECT_EQ(this->Content("to"), "old");
  EXPECT_TRUE(this->face_->CopyOneFile(from.c_str(), this->At("to").c_str(), true));
  EXPECT_EQ(this->Content("to"), "new");
  EXPECT_TRUE(this->face_->CopyOneFile(from.c_str(), this->At("third").c_str(), false));
  EXPECT_EQ(this->Content("third"), "new");
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("missing").c_str(), this->At("to").c_str(), true));
  EXPECT_EQ(this->hook_.Take(), Names{kSourceMissing});
  EXPECT_FALSE(this->face_->CopyOneFile(from.c_str(), from.c_str(), true));
  EXPECT_EQ(this->Content("from"), "new");
}

TYPED_TEST(DirectoryOperations, ACopyIsNeverReadOnly) {
  this->MakeFile("from", "new");
  this->MakeFile("to", "old");
  this->MarkReadOnly("from");
  this->MarkReadOnly("to");
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("from").c_str(), this->At("to").c_str(), true));
  EXPECT_EQ(this->Content("to"), "new");
  EXPECT_FALSE(this->IsReadOnly("to"));
  EXPECT_TRUE(this->IsReadOnly("from"));
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("from").c_str(), this->At("third").c_str(), true));
  EXPECT_FALSE(this->IsReadOnly("third"));
}

TYPED_TEST(DirectoryOperations, ARefusedCopyHasTakenTheDestinationsMark) {
  this->MakeFile("from", "new");
  this->MakeFile("to", "old");
  this->MarkReadOnly("to");
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("from").c_str(), this->At("to").c_str(), false));
  EXPECT_EQ(this->Content("to"), "old");
  EXPECT_FALSE(this->IsReadOnly("to"));
}

TYPED_TEST(DirectoryOperations, OnlyADestinationWithSlashesGetsItsDirectory) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  this->MakeFile("from", "new");
  const auto from = this->At("from");
  EXPECT_FALSE(this->face_->CopyOneFile(from.c_str(), this->At("b\\c\\to").c_str(), true));
  EXPECT_EQ(this->hook_.Take(), Names{kCopyFailed});
  EXPECT_FALSE(this->Exists("b"));
  EXPECT_TRUE(this->face_->CopyOneFile(from.c_str(), (this->At("b\\c") + this->T("/to")).c_str(), true));
  EXPECT_EQ(this->Content("b/c/to"), "new");
  EXPECT_TRUE(this->face_->CopyOneFile(from.c_str(), this->T("$Flow/x/y/to").c_str(), true));
  EXPECT_EQ(this->Content("x/y/to"), "new");
  EXPECT_TRUE(this->face_->CopyOneFile(this->T("$Flow/from").c_str(), this->T("$Flow/to").c_str(), true));
  EXPECT_TRUE(this->hook_.Take().empty());
  EXPECT_FALSE(this->face_->CopyOneFile(from.c_str(), this->T("/to").c_str(), true)) << "the part before is empty";
  EXPECT_EQ(this->hook_.Take(), (Names{kInvalidParameter, kInvalidParameter, kCannotCreateDirectory}));
  EXPECT_FALSE(this->face_->CopyOneFile(from.c_str(), (this->At("from") + this->T("/to")).c_str(), true));
  EXPECT_EQ(this->hook_.Take(), (Names{kCannotCreateDirectory, kCannotCreateDirectory}));
}

TYPED_TEST(DirectoryOperations, ContentDirectoriesAreSearchedInOrder) {
  const std::string root = orv_test::PlatformPath(this->directory_.path());
  this->MakeFile("one/only_one", "1");
  this->MakeFile("one/both", "first");
  this->MakeFile("two/both", "second");
  this->MakeFile("two/sub/deep", "deep");
  const auto copy = [&](const char* source) {
    std::filesystem::remove(this->Host("to"));
    return this->face_->CopyOneFile(this->T(source).c_str(), this->At("to").c_str(), false) ? this->Content("to")
                                                                                            : "failed";
  };
  IBaseWorkFlowObject* base = this->face_;
  EXPECT_EQ(copy("orv_both"), "failed");
  base->AddContentDirectory(nullptr);
  base->AddContentDirectory("");
  base->AddContentDirectory((root + "\\one").c_str());
  base->AddContentDirectory((root + "\\two").c_str());
  EXPECT_EQ(copy("only_one"), "1");
  EXPECT_EQ(copy("both"), "first");
  EXPECT_EQ(copy("sub\\deep"), "deep");
  EXPECT_EQ(copy("sub/deep"), "deep");
  EXPECT_EQ(copy("nowhere"), "failed");
  base->ResetContentDirectories();
  EXPECT_EQ(copy("both"), "failed");
}

TYPED_TEST(DirectoryOperations, AContentDirectoryMayBeAWorkflowPath) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  this->MakeFile("content/a", "found");
  IBaseWorkFlowObject* base = this->face_;
  base->AddContentDirectory("$Flow/content");
  EXPECT_TRUE(this->face_->CopyOneFile(this->T("a").c_str(), this->At("to").c_str(), false));
  EXPECT_EQ(this->Content("to"), "found");
}

// Takes every directory to be missing, and makes it.
class MadeDirectories final : public System::DirectoriesOf<char> {
 public:
  Names made;

  System::SystemResult CreateOneDirectory(const std::string& path) override {
    made.push_back(path);
    return System::SystemResult::Ok;
  }
  bool RemoveOneDirectory(const std::string&, Core::System::Mark) override { return false; }
  bool FindFirst(const std::string&, std::uint32_t*) override { return false; }
  bool IsRoot(const std::string&) override { return false; }
};

TEST(NarrowMakeDirectory, BeginsBehindTheDriveOrTheShare) {
  struct Case {
    const char* path;
    Names made;
  };
  const Case cases[] = {
      {"\\\\server\\share\\a\\b", {"\\\\server\\share\\a", "\\\\server\\share\\a\\b"}},
      {"//server/share/a", {"//server/share/a"}},
      {"\\\\server\\share", {}},
      {"\\\\server", {}},
      {"C:\\a\\\\b/c", {"C:\\a", "C:\\a\\\\b", "C:\\a\\\\b/c"}},
      {"C:\\", {}},
      {"\\a\\b", {"\\a", "\\a\\b"}},
      {"a\\b", {"a", "a\\b"}},
  };
  for (const Case& one : cases) {
    MadeDirectories directories;
    const System::Platform& real = System::SystemPlatform();
    const System::PlatformOf<char> narrow{real.narrow.files, directories, real.narrow.trees, real.narrow.locations};
    const System::Platform platform{narrow, real.wide, real.open_files, real.code_page, real.reasons, real.written};
    CFileSystem* object = new CFileSystem(platform);
    auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
    EXPECT_TRUE(face->MakeDirectory(one.path)) << one.path;
    EXPECT_EQ(directories.made, one.made) << one.path;
    object->Release();
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
