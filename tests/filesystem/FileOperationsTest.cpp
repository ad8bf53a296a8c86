// Operations on single files.
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow {
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
  FileHandle handle = FileHandle::None;
  ASSERT_EQ(SystemPlatform().For<TypeParam>().files.Open(this->At("a"), Access::Read, Creation::OpenExisting, &handle),
            SystemResult::Ok);
  EXPECT_FALSE(this->face_->RemoveFile(this->At("a").c_str()));
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot delete file|Cannot delete file."});
  EXPECT_EQ(this->face_->FileSize(this->At("a").c_str()), 0U);
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot create the file|Unable to open the file."});
  Stream stream("untouched");
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), stream.out()));
  EXPECT_FALSE(this->face_->WriteFileBytes(this->At("a").c_str(), "x", 1));
  EXPECT_EQ(this->hook_.Take(), Names(2, kCannotOpenFile));
  EXPECT_EQ(stream.bytes(), "untouched");
  SystemPlatform().open_files.Close(handle);
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

// The two faces are one object.
template <class Char>
using Faces = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(Faces, orv_test::Widths);

TYPED_TEST(Faces, ShareTheObject) {
  auto* narrow = static_cast<IFileSystemA*>(this->face_->QueryInterface("IFileSystemA"));
  auto* wide = static_cast<IFileSystemW*>(this->face_->QueryInterface("IFileSystemW"));
  ASSERT_NE(narrow, nullptr);
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(narrow->QueryInterface("IFileSystemW"), static_cast<void*>(wide));
  EXPECT_EQ(wide->QueryInterface("IFileSystemA"), static_cast<void*>(narrow));
  EXPECT_EQ(static_cast<IBaseWorkFlowObject*>(narrow), static_cast<IBaseWorkFlowObject*>(wide));
  const std::string path = orv_test::PlatformPath(this->directory_.path()) + "\\a";
  EXPECT_TRUE(narrow->WriteFileBytes(path.c_str(), "abc", 3));
  EXPECT_TRUE(wide->FileExists(orv_test::Text<char16_t>(path).c_str()));
  EXPECT_EQ(wide->FileSize(orv_test::Text<char16_t>(path).c_str()), 3U);
  EXPECT_TRUE(wide->RemoveFile(orv_test::Text<char16_t>(path).c_str()));
  EXPECT_FALSE(narrow->FileExists(path.c_str()));
}

TYPED_TEST(Faces, AnswerTheBaseProtocol) {
  IBaseWorkFlowObject* base = this->face_;
  for (const char* name : {"ifilesystema", "IFileSystem", "IBaseWorkFlowObject", "", "IFileSystemA "}) {
    EXPECT_EQ(base->QueryInterface(name), nullptr) << name;
  }
  EXPECT_EQ(base->QueryInterface(nullptr), nullptr);
  orv_test::PString text;
  EXPECT_TRUE(base->GetTypeName(text.out()));
  EXPECT_EQ(text.str(), "FileSystem");
  EXPECT_TRUE(base->GetVersion(text.out()));
  EXPECT_EQ(text.str(), "TAVIROVERSION");
  EXPECT_FALSE(this->face_->FileExists(nullptr));
  EXPECT_TRUE(base->GetLastErrorText(text.out()));
  EXPECT_EQ(text.str(), "") << "failures leave no trace";
  EXPECT_FALSE(base->LoadState("x"));
  EXPECT_FALSE(base->SaveState("x"));
}

TEST(WideFace, FilesNamedInSeveralScripts) {
  orv_test::TempDirectory directory;
  const std::u16string start = orv_test::Text<char16_t>(orv_test::PlatformPath(directory.path()) + "\\");
  CFileSystem* object = new CFileSystem;
  auto* face = static_cast<IFileSystemW*>(object->QueryInterface("IFileSystemW"));
  std::vector<std::u16string> paths;
  for (const std::u16string_view name : {u"αβγ", u"файл", u"文件", u"\U0001F600"}) {
    paths.push_back(start + std::u16string(name) + u"\\" + std::u16string(name) + u".txt");
    EXPECT_TRUE(face->WriteFileText(paths.back().c_str(), u"Grüße"));
    EXPECT_TRUE(std::filesystem::exists(directory.path() / name / (std::u16string(name) + u".txt")));
  }
  orv_test::WStringList list;
  EXPECT_TRUE(face->ListFiles((start + u".").c_str(), list.out()));
  EXPECT_EQ(list.vec().size(), paths.size());
  for (const std::u16string& path : paths) {
    EXPECT_EQ(face->FileSize(path.c_str()), 10U);
    EXPECT_TRUE(face->RemoveFile(path.c_str()));
    EXPECT_FALSE(face->FileExists(path.c_str()));
  }
  object->Release();
}

TEST(WideFace, ReadsNarrowText) {
  orv_test::TempDirectory directory;
  std::string narrow;
  ASSERT_TRUE(SystemPlatform().code_page.Narrow(u"Gr\u00FC\u00DFe", &narrow, nullptr));
  orv_test::WriteFile(directory.path() / "a", narrow);
  CFileSystem* object = new CFileSystem;
  auto* face = static_cast<IFileSystemW*>(object->QueryInterface("IFileSystemW"));
  const auto path = orv_test::Text<char16_t>(orv_test::PlatformPath(directory.path()) + "\\a");
  orv_test::WString text;
  EXPECT_TRUE(face->ReadFileToString(path.c_str(), text.out()));
  EXPECT_TRUE(text.str() == u"Gr\u00FC\u00DFe");
  object->Release();
}

// On a system whose wide calls are stubs the wide face works all the same, as far as names can be narrowed.
TEST(WideFace, WorksWithoutWideCalls) {
  orv_test::TempDirectory directory;
  FaultPlatform fault;
  fault.FailWideCalls(true);
  CFileSystem* object = new CFileSystem(fault.platform());
  auto* face = static_cast<IFileSystemW*>(object->QueryInterface("IFileSystemW"));
  const auto at = [&](const char* name) {
    return orv_test::Text<char16_t>(orv_test::PlatformPath(directory.path()) + "\\" + name);
  };
  orv_test::WStringList list;
  orv_test::WString text(u"text");
  Stream stream;
  EXPECT_TRUE(face->MakeDirectory(at("d\\sub").c_str()));
  EXPECT_TRUE(face->DirectoryExists(at("d\\sub").c_str()));
  EXPECT_TRUE(face->MakeFile(at("d\\made").c_str()));
  EXPECT_TRUE(face->WriteFileBytes(at("d\\a").c_str(), "abc", 3));
  EXPECT_TRUE(face->AppendFileString(at("d\\a").c_str(), text.out()));
  EXPECT_TRUE(face->FileExists(at("d\\a").c_str()));
  EXPECT_EQ(face->FileSize(at("d\\a").c_str()), 11U);
  EXPECT_TRUE(face->ReadFileToStream(at("d\\a").c_str(), stream.out()));
  EXPECT_EQ(stream.bytes().size(), 11U);
  EXPECT_TRUE(face->ReadFileRange(at("d\\a").c_str(), 1, 2, stream.out()));
  EXPECT_EQ(stream.bytes(), "bc");
  EXPECT_TRUE(face->PrependFileString(at("d\\a").c_str(), text.out()));
  EXPECT_TRUE(face->DeleteFileBytes(at("d\\a").c_str(), 0, 8));
  EXPECT_TRUE(face->WriteFileTextUnicode(at("d\\sub\\u").c_str(), u"wide"));
  EXPECT_TRUE(face->ReadFileToWideString(at("d\\sub\\u").c_str(), text.out()));
  EXPECT_TRUE(text.str() == u"wide");
  EXPECT_TRUE(face->CopyDirectory(at("d\\sub").c_str(), at("copy").c_str(), false));
  EXPECT_TRUE(face->FileExists(at("copy\\u").c_str()));
  EXPECT_TRUE(face->DeleteDirectory(at("copy").c_str()));
  EXPECT_TRUE(face->RemoveFile(at("d\\sub\\u").c_str()));
  EXPECT_TRUE(face->CopyOneFile(at("d\\a").c_str(), at("d\\sub\\b").c_str(), false));
  EXPECT_TRUE(face->ReplaceFileBytes(at("d\\sub\\b").c_str(), "new", 3));
  EXPECT_TRUE(face->ListFiles(at("d").c_str(), list.out()));
  EXPECT_EQ(list.vec(), (std::vector<std::u16string>{at("d\\a"), at("d\\made"), at("d\\sub\\b")}));
  EXPECT_TRUE(face->ListDirectories(at("d").c_str(), list.out()));
  EXPECT_EQ(list.vec(), std::vector<std::u16string>{at("d\\sub")});
  EXPECT_TRUE(face->RemoveFile(at("d\\made").c_str()));
  EXPECT_TRUE(face->WorkflowPathToPlatformPathString(u"$WINTEMP/x", text.out()));
  EXPECT_TRUE(text.str().ends_with(u"\\x"));
  EXPECT_GT(text.str().size(), 3U);
  EXPECT_TRUE(face->DeleteDirectory(at("d").c_str()));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
  EXPECT_EQ(fault.open_handles(), 0);
  object->Release();
}

// A code page like those that put a similar character in place of one that they lack.
class LossyCodePage final : public CodePage {
 public:
  bool Widen(std::string_view narrow, std::u16string* wide) override {
    *wide = std::u16string(narrow.begin(), narrow.end());
    return true;
  }
  bool WidenPath(std::string_view narrow, std::u16string* wide) override { return Widen(narrow, wide); }
  bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
    narrow->clear();
    for (const char16_t c : wide)
      *narrow += c < 0x80 ? static_cast<char>(c) : c == 0xFF3C ? '\\' : c == 0x101 ? 'a' : '?';
    if (exact != nullptr) *exact = std::all_of(wide.begin(), wide.end(), [](char16_t c) { return c < 0x80; });
    return true;
  }
};

TEST(WideFace, ANameThatWouldChangeIsNotNarrowed) {
  orv_test::TempDirectory directory;
  orv_test::WriteFile(directory.path() / "a", "precious");
  LossyCodePage lossy;
  Platform platform = SystemPlatform();
  const Platform with_lossy{platform.narrow, platform.wide, platform.open_files, lossy};
  CFileSystem* object = new CFileSystem(with_lossy);
  auto* face = static_cast<IFileSystemW*>(object->QueryInterface("IFileSystemW"));
  const auto path = orv_test::Text<char16_t>(orv_test::PlatformPath(directory.path()) + "\\") + u"\u0101";
  orv_test::WString text(u"old");
  EXPECT_FALSE(face->FileExists(path.c_str()));
  EXPECT_TRUE(face->RemoveFile(path.c_str()));
  EXPECT_FALSE(face->ReadFileToString(path.c_str(), text.out()));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "a"), "precious");
  object->Release();
}

TEST(NarrowFace, AnOperationDoesNotActOnAPathThatLostSomething) {
  orv_test::TempDirectory directory;
  orv_test::WriteFile(directory.path() / "a", "precious");
  // The workflow lies in a directory whose name the code page cannot hold: narrowed it would be another one.
  class WideningCodePage final : public CodePage {
   public:
    bool Widen(std::string_view narrow, std::u16string* wide) override {
      *wide = std::u16string(narrow.begin(), narrow.end());
      for (char16_t& c : *wide) c = c == u'#' ? u'\u0101' : c;
      return true;
    }
    bool WidenPath(std::string_view narrow, std::u16string* wide) override { return Widen(narrow, wide); }
    bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
      return lossy_.Narrow(wide, narrow, exact);
    }

   private:
    LossyCodePage lossy_;
  } code_page;
  Platform platform = SystemPlatform();
  const Platform with_lossy{platform.narrow, platform.wide, platform.open_files, code_page};
  CFileSystem* object = new CFileSystem(with_lossy);
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  const std::string path = orv_test::PlatformPath(directory.path()) + "\\#";
  EXPECT_FALSE(face->RemoveFile(path.c_str()));
  EXPECT_FALSE(face->FileExists(path.c_str()));
  EXPECT_FALSE(face->WriteFileBytes(path.c_str(), "x", 1));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "a"), "precious");
  // The translation itself answers as the code page has it.
  orv_test::PString text;
  EXPECT_TRUE(face->WorkflowPathToPlatformPathString(path.c_str(), text.out()));
  EXPECT_TRUE(text.str().ends_with("\\a"));
  object->Release();
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
}  // namespace OrvWorkFlow
