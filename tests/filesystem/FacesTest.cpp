// The narrow and the wide face: one object, and what happens where one's characters cannot say what the other's can.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::Stream;

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
  ASSERT_TRUE(System::SystemPlatform().code_page.Narrow(u"Gr\u00FC\u00DFe", &narrow, nullptr));
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
  System::FaultPlatform fault;
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
class LossyCodePage final : public System::CodePage {
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
  System::Platform platform = System::SystemPlatform();
  const System::Platform with_lossy{platform.narrow, platform.wide,    platform.open_files,
                                    lossy,           platform.reasons, platform.written};
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
  class WideningCodePage final : public System::CodePage {
   public:
    bool Widen(std::string_view narrow, std::u16string* wide) override {
      *wide = std::u16string(narrow.begin(), narrow.end());
      for (char16_t& c : *wide) c = c == u'\x01' ? u'\u0101' : c;
      return true;
    }
    bool WidenPath(std::string_view narrow, std::u16string* wide) override { return Widen(narrow, wide); }
    bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
      return lossy_.Narrow(wide, narrow, exact);
    }

   private:
    LossyCodePage lossy_;
  } code_page;
  System::Platform platform = System::SystemPlatform();
  const System::Platform with_lossy{platform.narrow, platform.wide,    platform.open_files,
                                    code_page,       platform.reasons, platform.written};
  CFileSystem* object = new CFileSystem(with_lossy);
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  const std::string path = orv_test::PlatformPath(directory.path()) + "\\\x01";
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

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
