// Operations on single files.
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::FakeEngine;
using orv_test::GlobalEngine;
using orv_test::Stream;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kTranslation[] =
    "/errors/workflow path to platform path translation err|Unable to transform a workflow path to a platform path.";
constexpr char kNoEngine[] =
    "/errors/IWorkFlow object required|The global workflow object is required but unavailable.";
constexpr char kSourceMissing[] = "/errors/source file does not exist|The source file does not exist.";
constexpr char kCannotCreateDirectory[] = "/errors/cannot create directory|Cannot create directory.";
constexpr char kCannotCreateFile[] = "/errors/cannot create the file|Unable to create the file.";
constexpr char kCannotOpenFile[] = "/errors/cannot open file|Cannot open file.";

template <class Char>
using FileOperations = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(FileOperations, orv_test::Widths);

// How the wide face writes text: in 16 bits, the low byte first.
template <class Char>
std::string Bytes(std::string_view ascii) {
  std::string bytes;
  for (const char c : ascii) bytes.append(1, c).append(sizeof(Char) - 1, '\0');
  return bytes;
}

TYPED_TEST(FileOperations, FileExists) {
  this->MakeFile("a.txt");
  this->MakeFile("d/b.txt");
  EXPECT_TRUE(this->face_->FileExists(this->At("a.txt").c_str()));
  EXPECT_TRUE(this->face_->FileExists((this->T("  ") + this->At("a.txt") + this->T(" ")).c_str()));
  EXPECT_FALSE(this->face_->FileExists(this->At("d").c_str()));
  EXPECT_FALSE(this->face_->FileExists(this->At("missing").c_str()));
  EXPECT_FALSE(this->face_->FileExists(this->At("missing\\b.txt").c_str()));
  EXPECT_FALSE(this->face_->FileExists(this->At("*.txt").c_str()));
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(FileOperations, NullEmptyAndBlankPathsFail) {
  auto* face = this->face_;
  typename TestFixture::String text(this->T("x"));
  typename TestFixture::List list;
  Stream stream("x");
  const auto blank = this->T("   ");
  const auto empty = this->T("");
  const auto good = this->At("a");
  for (const TypeParam* path : {static_cast<const TypeParam*>(nullptr), empty.c_str(), blank.c_str()}) {
    EXPECT_FALSE(face->MakeDirectory(path));
    EXPECT_FALSE(face->DeleteDirectory(path));
    EXPECT_FALSE(face->ListFiles(path, list.out()));
    EXPECT_FALSE(face->ListDirectories(path, list.out()));
    EXPECT_FALSE(face->FileExists(path));
    EXPECT_FALSE(face->DirectoryExists(path));
    EXPECT_FALSE(face->RemoveFile(path));
    EXPECT_EQ(face->FileSize(path), 0U);
    EXPECT_FALSE(face->MakeFile(path));
    EXPECT_FALSE(face->ReadFileToString(path, text.out()));
    EXPECT_FALSE(face->ReadFileToStream(path, stream.out()));
    EXPECT_FALSE(face->WriteFileBytes(path, "x", 1));
    EXPECT_FALSE(face->WriteFileText(path, good.c_str()));
    EXPECT_FALSE(face->WriteFileString(path, text.out()));
    EXPECT_FALSE(face->AppendFileString(path, text.out()));
    EXPECT_FALSE(face->ReplaceFileBytes(path, "x", 1));
    EXPECT_FALSE(face->CopyDirectory(path, good.c_str(), true));
    EXPECT_EQ(this->hook_.Take(), Names(17, kInvalidParameter));
  }
  this->MakeFile("a", "content");
  EXPECT_FALSE(face->CopyOneFile(nullptr, good.c_str(), true));
  EXPECT_FALSE(face->CopyOneFile(empty.c_str(), good.c_str(), true));
  EXPECT_FALSE(face->CopyOneFile(good.c_str(), nullptr, true));
  EXPECT_FALSE(face->CopyOneFile(good.c_str(), empty.c_str(), true));
  EXPECT_EQ(this->hook_.Take(), Names(4, kInvalidParameter));
  EXPECT_FALSE(face->CopyOneFile(good.c_str(), blank.c_str(), true));
  EXPECT_EQ(text.str(), this->T("x"));
  EXPECT_EQ(stream.bytes(), "x");
}

TYPED_TEST(FileOperations, NullOutputsAndInputsFail) {
  this->MakeFile("a", "content");
  const auto path = this->At("a");
  EXPECT_FALSE(this->face_->ReadFileToString(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->ReadFileToStream(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->WriteFileBytes(path.c_str(), nullptr, 1));
  EXPECT_FALSE(this->face_->WriteFileText(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->WriteFileString(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->AppendFileString(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->ReplaceFileBytes(path.c_str(), nullptr, 1));
  EXPECT_FALSE(this->face_->ListFiles(path.c_str(), nullptr));
  EXPECT_FALSE(this->face_->ListDirectories(path.c_str(), nullptr));
  EXPECT_EQ(this->hook_.Take(), Names(9, kInvalidParameter));
  EXPECT_EQ(this->Content("a"), "content");
}

TYPED_TEST(FileOperations, APathThatCannotBeTranslatedFails) {
  typename TestFixture::String text(this->T("x"));
  typename TestFixture::List list;
  Stream stream;
  auto* face = this->face_;
  const auto path = this->T("$Nobody/x");
  const auto good = this->At("");
  const TypeParam* p = path.c_str();
  const std::function<bool()> operations[] = {
      [&] { return face->MakeDirectory(p); },
      [&] { return face->DeleteDirectory(p); },
      [&] { return face->ListFiles(p, list.out()); },
      [&] { return face->ListDirectories(p, list.out()); },
      [&] { return face->CopyDirectory(p, good.c_str(), true); },
      [&] { return face->CopyDirectory(good.c_str(), p, true); },
      [&] { return face->FileExists(p); },
      [&] { return face->DirectoryExists(p); },
      [&] { return face->RemoveFile(p); },
      [&] { return face->FileSize(p) != 0; },
      [&] { return face->MakeFile(p); },
      [&] { return face->ReadFileToString(p, text.out()); },
      [&] { return face->ReadFileToStream(p, stream.out()); },
      [&] { return face->WriteFileBytes(p, "x", 1); },
      [&] { return face->WriteFileText(p, p); },
      [&] { return face->WriteFileString(p, text.out()); },
      [&] { return face->AppendFileString(p, text.out()); },
      [&] { return face->PrependFileString(p, text.out()); },
      [&] { return face->InsertFileString(p, 0, text.out()); },
      [&] { return face->OverwriteFileString(p, 0, text.out()); },
      [&] { return face->DeleteFileBytes(p, 0, 1); },
      [&] { return face->ReadFileRange(p, 0, 1, stream.out()); },
      [&] { return face->ReplaceFileBytes(p, "x", 1); },
  };
  for (const auto& operation : operations) {
    EXPECT_FALSE(operation());
    EXPECT_EQ(this->hook_.Take(), (Names{kNoEngine, kTranslation}));
  }
}

TYPED_TEST(FileOperations, WorkflowPathsReachTheWorkflowsDirectory) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  EXPECT_TRUE(this->face_->WriteFileBytes(this->T("$Flow/new/a.txt").c_str(), "abc", 3));
  EXPECT_EQ(this->Content("new/a.txt"), "abc");
  EXPECT_TRUE(this->face_->FileExists(this->T("$Flow/new/a.txt").c_str()));
  EXPECT_EQ(this->face_->FileSize(this->T("$Flow/new/a.txt").c_str()), 3U);
  EXPECT_TRUE(this->face_->RemoveFile(this->T("$Flow/new/a.txt").c_str()));
  EXPECT_FALSE(this->Exists("new/a.txt"));
}

TYPED_TEST(FileOperations, MacroPathsReachTheSystemsDirectories) {
  const auto path = this->T("$TEMP/orv_file_operations/a.txt");
  EXPECT_TRUE(this->face_->WriteFileBytes(path.c_str(), "abc", 3));
  EXPECT_EQ(this->face_->FileSize(path.c_str()), 3U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("$TEMP/orv_file_operations").c_str()));
  EXPECT_FALSE(this->face_->FileExists(path.c_str()));
}

TYPED_TEST(FileOperations, RemoveFile) {
  this->MakeFile("a");
  this->MakeFile("readonly");
  this->MakeFile("d/b");
  this->MarkReadOnly("readonly");
  EXPECT_TRUE(this->face_->RemoveFile(this->At("missing").c_str()));
  EXPECT_TRUE(this->face_->RemoveFile(this->At("a").c_str()));
  EXPECT_TRUE(this->face_->RemoveFile(this->At("readonly").c_str()));
  EXPECT_TRUE(this->face_->RemoveFile(this->At("d").c_str())) << "a directory is no file";
  EXPECT_EQ(this->Everything(), (Names{"d/", "d/b"}));
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(FileOperations, AFileInUseIsNotRemoved) {
  this->MakeFile("a");
  System::FileHandle handle = System::FileHandle::None;
  ASSERT_EQ(System::SystemPlatform().For<TypeParam>().files.Open(this->At("a"), System::Access::Read,
                                                                 System::Creation::OpenExisting, &handle),
            System::SystemResult::Ok);
  EXPECT_FALSE(this->face_->RemoveFile(this->At("a").c_str()));
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot delete file|Cannot delete file."});
  EXPECT_EQ(this->face_->FileSize(this->At("a").c_str()), 0U);
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot create the file|Unable to open the file."});
  Stream stream("untouched");
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), stream.out()));
  EXPECT_FALSE(this->face_->WriteFileBytes(this->At("a").c_str(), "x", 1));
  EXPECT_EQ(this->hook_.Take(), Names(2, kCannotOpenFile));
  EXPECT_EQ(stream.bytes(), "untouched");
  System::SystemPlatform().open_files.Close(handle);
}

TYPED_TEST(FileOperations, FileSize) {
  this->MakeFile("a", "12345");
  this->MakeFile("d/b", "123");
  this->MakeFile("d/sub/c", std::string(100000, 'x'));
  this->MakeFile("d/sub/empty");
  std::filesystem::create_directories(this->Host("none/at/all"));
  EXPECT_EQ(this->face_->FileSize(this->At("a").c_str()), 5U);
  EXPECT_EQ(this->face_->FileSize(this->At("d").c_str()), 100003U);
  EXPECT_EQ(this->face_->FileSize(this->At("d\\").c_str()), 100003U);
  EXPECT_EQ(this->face_->FileSize(this->At("none").c_str()), 0U);
  EXPECT_EQ(this->face_->FileSize(this->At("missing").c_str()), 0U);
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(FileOperations, MakeFile) {
  this->MakeFile("old", "content");
  this->MakeFile("readonly", "content");
  this->MarkReadOnly("readonly");
  std::filesystem::create_directory(this->Host("d"));
  EXPECT_TRUE(this->face_->MakeFile(this->At("old").c_str()));
  EXPECT_EQ(this->Content("old"), "content");
  EXPECT_TRUE(this->face_->MakeFile(this->At("readonly").c_str()));
  EXPECT_TRUE(this->face_->MakeFile(this->At("p/q\\r\\new").c_str()));
  EXPECT_EQ(std::filesystem::file_size(this->Host("p/q/r/new")), 0U);
  EXPECT_TRUE(this->hook_.Take().empty());
  EXPECT_FALSE(this->face_->MakeFile(this->At("d").c_str()));
  EXPECT_EQ(this->hook_.Take(), Names{kCannotCreateFile});
  EXPECT_FALSE(this->face_->MakeFile(this->At("old\\x").c_str())) << "a file is no directory";
  EXPECT_EQ(this->hook_.Take(), (Names{kCannotCreateDirectory, kCannotCreateFile}));
}

TYPED_TEST(FileOperations, ReadFileToStream) {
  const std::string bytes("\0\r\n\xFF\xFE zero \0 bytes", 18);
  this->MakeFile("a", bytes);
  this->MakeFile("big", std::string(3000000, 'b'));
  this->MakeFile("empty");
  Stream stream("old");
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("a").c_str(), stream.out()));
  EXPECT_EQ(stream.bytes(), bytes);
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("big").c_str(), stream.out()));
  EXPECT_EQ(stream.bytes(), std::string(3000000, 'b'));
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("missing").c_str(), stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names{kSourceMissing});
  EXPECT_EQ(stream.bytes().size(), 3000000U);
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("empty").c_str(), stream.out()));
  EXPECT_EQ(stream.bytes(), "");
}

TYPED_TEST(FileOperations, ReadFileToStringStopsAtAZeroByte) {
  this->MakeFile("a", "plain\r\ntext");
  this->MakeFile("zero", std::string_view("cut\0here", 8));
  this->MakeFile("empty");
  typename TestFixture::String text(this->T("old"));
  EXPECT_TRUE(this->face_->ReadFileToString(this->At("a").c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T("plain\r\ntext"));
  EXPECT_TRUE(this->face_->ReadFileToString(this->At("zero").c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T("cut"));
  EXPECT_FALSE(this->face_->ReadFileToString(this->At("missing").c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T("cut"));
  EXPECT_TRUE(this->face_->ReadFileToString(this->At("empty").c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T(""));
}

TYPED_TEST(FileOperations, WritingReplacesTheContent) {
  typename TestFixture::String text(this->T("string"));
  const auto path = this->At("new/a");
  EXPECT_TRUE(this->face_->WriteFileBytes(path.c_str(), "long content\0!", 14));
  EXPECT_EQ(this->Content("new/a"), std::string("long content\0!", 14));
  EXPECT_TRUE(this->face_->WriteFileText(path.c_str(), this->T("text").c_str()));
  EXPECT_EQ(this->Content("new/a"), Bytes<TypeParam>("text"));
  EXPECT_TRUE(this->face_->WriteFileString(path.c_str(), text.out()));
  EXPECT_EQ(this->Content("new/a"), Bytes<TypeParam>("string"));
  EXPECT_TRUE(this->face_->WriteFileText(path.c_str(), this->T("").c_str()));
  EXPECT_EQ(this->Content("new/a"), "");
  EXPECT_TRUE(this->face_->WriteFileBytes(path.c_str(), "x", 1));
  EXPECT_TRUE(this->face_->WriteFileBytes(path.c_str(), nullptr, 0));
  EXPECT_EQ(this->Content("new/a"), "");
}

TYPED_TEST(FileOperations, MarshalledTextIsWrittenWithItsZeros) {
  const TypeParam letters[] = {'a', 0, 'b'};
  typename TestFixture::String text(std::basic_string_view<TypeParam>(letters, 3));
  EXPECT_TRUE(this->face_->WriteFileString(this->At("a").c_str(), text.out()));
  EXPECT_TRUE(this->face_->AppendFileString(this->At("a").c_str(), text.out()));
  const std::string once = Bytes<TypeParam>(std::string_view("a\0b", 3));
  EXPECT_EQ(this->Content("a"), once + once);
}

TYPED_TEST(FileOperations, AppendFileString) {
  typename TestFixture::String text(this->T("text"));
  EXPECT_TRUE(this->face_->AppendFileString(this->At("new\\a").c_str(), text.out()));
  EXPECT_EQ(this->Content("new/a"), Bytes<TypeParam>("text"));
  this->MakeFile("old", "odd");
  EXPECT_TRUE(this->face_->AppendFileString(this->At("old").c_str(), text.out()));
  EXPECT_TRUE(this->face_->AppendFileString(this->At("old").c_str(), text.out()));
  EXPECT_EQ(this->Content("old"), "odd" + Bytes<TypeParam>("texttext"));
}

TYPED_TEST(FileOperations, AReadOnlyFileIsNotWritten) {
  typename TestFixture::String text(this->T("text"));
  this->MakeFile("a", "content");
  this->MarkReadOnly("a");
  const auto path = this->At("a");
  EXPECT_FALSE(this->face_->WriteFileBytes(path.c_str(), "x", 1));
  EXPECT_FALSE(this->face_->WriteFileText(path.c_str(), this->T("x").c_str()));
  EXPECT_FALSE(this->face_->WriteFileString(path.c_str(), text.out()));
  EXPECT_FALSE(this->face_->AppendFileString(path.c_str(), text.out()));
  EXPECT_FALSE(this->face_->ReplaceFileBytes(path.c_str(), "x", 1));
  EXPECT_EQ(this->hook_.Take(), Names(5, kCannotOpenFile));
  EXPECT_EQ(this->Content("a"), "content");
  EXPECT_TRUE(this->IsReadOnly("a"));
}

TYPED_TEST(FileOperations, ADirectoryIsNotWritten) {
  std::filesystem::create_directory(this->Host("d"));
  EXPECT_FALSE(this->face_->WriteFileBytes(this->At("d").c_str(), "x", 1));
  EXPECT_EQ(this->hook_.Take(),
            (Names{kCannotCreateFile, "/errors/destination file does not exist|The destination file does not exist."}));
  EXPECT_FALSE(this->face_->ReplaceFileBytes(this->At("d").c_str(), "x", 1));
  EXPECT_EQ(this->Everything(), Names{"d/"});
}

TYPED_TEST(FileOperations, FilesOnDriveCAreFoundInAnyCase) {
  EXPECT_TRUE(this->face_->WriteFileBytes(this->T("C:\\Orv Dir\\File.Txt").c_str(), "abc", 3));
  EXPECT_TRUE(this->face_->FileExists(this->T("c:/orv dir/FILE.TXT").c_str()));
  EXPECT_TRUE(this->face_->WriteFileBytes(this->T("C:\\ORV DIR\\file.txt").c_str(), "z", 1));
  EXPECT_EQ(this->Files(this->T("C:\\Orv Dir")), Names{"C:\\Orv Dir\\File.Txt"});
  EXPECT_EQ(this->face_->FileSize(this->T("C:\\Orv Dir").c_str()), 1U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("C:\\oRV dIR").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists(this->T("C:\\Orv Dir").c_str()));
}

TYPED_TEST(FileOperations, MarshalledObjectsThatThrowFail) {
  class Thrower final : public IOrvBasicStream {
   public:
    bool Assign(const void*, std::size_t) override { throw 1; }
    bool Append(const void*, std::size_t) override { throw 1; }
    const void* GetData() const override { throw 1; }
    std::size_t GetSize() const override { throw 1; }
    void Release() override {}
  };
  this->MakeFile("a", "content");
  Thrower thrower;
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), &thrower));
}

TYPED_TEST(FileOperations, ManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      const auto path = this->At("deep\\er\\" + std::to_string(i) + "\\a");
      for (int round = 0; round < 20; ++round) {
        EXPECT_TRUE(this->face_->MakeDirectory(this->At("deep\\er\\still\\" + std::to_string(round)).c_str()));
        EXPECT_TRUE(this->face_->WriteFileBytes(path.c_str(), "abc", 3));
        EXPECT_EQ(this->face_->FileSize(path.c_str()), 3U);
        EXPECT_TRUE(this->face_->RemoveFile(path.c_str()));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(this->Files(this->At("deep")), Names{});
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
