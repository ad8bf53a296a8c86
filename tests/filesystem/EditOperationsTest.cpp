// Parts of files, and wide text in files.
#include <cstdint>
#include <limits>
#include <optional>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::Stream;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kSourceMissing[] = "/errors/source file does not exist|The source file does not exist.";
constexpr char kCannotOpenFile[] = "/errors/cannot open file|Cannot open file.";
constexpr char kCannotReadFile[] = "/errors/cannot read file|Cannot read file.";
constexpr char kCannotWriteFile[] = "/errors/cannot write file|Cannot write file.";
constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();

// How the face of a width writes text.
template <class Char>
std::string Bytes(std::string_view ascii) {
  std::string bytes;
  for (const char c : ascii) bytes.append(1, c).append(sizeof(Char) - 1, '\0');
  return bytes;
}

template <class Char>
class EditOperations : public orv_test::FileSystemTest<Char> {
 protected:
  using Face = typename orv_test::FileSystemTest<Char>::Face;
  using String = typename orv_test::FileSystemTest<Char>::String;

  // One edit of the file "a", and what it makes of the ten digits; nothing where it fails.
  struct Edit {
    std::string name;
    std::function<bool(Face*, const Char*, const String&)> run;
    std::optional<std::string> expected;
  };
  static Edit Prepend(std::string expected) {
    return {"prepend",
            [](Face* face, const Char* path, const String& text) { return face->PrependFileString(path, text.out()); },
            std::move(expected)};
  }
  static Edit Insert(std::uint32_t at, std::optional<std::string> expected) {
    return {
        "insert " + std::to_string(at),
        [at](Face* face, const Char* path, const String& text) { return face->InsertFileString(path, at, text.out()); },
        std::move(expected)};
  }
  static Edit Overwrite(std::uint32_t at, std::optional<std::string> expected) {
    return {"overwrite " + std::to_string(at),
            [at](Face* face, const Char* path, const String& text) {
              return face->OverwriteFileString(path, at, text.out());
            },
            std::move(expected)};
  }
  static Edit Delete(std::uint32_t at, std::uint32_t count, std::optional<std::string> expected) {
    return {"delete " + std::to_string(at) + " " + std::to_string(count),
            [at, count](Face* face, const Char* path, const String&) { return face->DeleteFileBytes(path, at, count); },
            std::move(expected)};
  }
  // One of each.
  static std::vector<Edit> OneOfEach() { return {Prepend(""), Insert(1, ""), Overwrite(1, ""), Delete(1, 1, "")}; }
};
TYPED_TEST_SUITE(EditOperations, orv_test::Widths);

TYPED_TEST(EditOperations, ReadFileRange) {
  this->MakeFile("a", "0123456789");
  this->MakeFile("empty");
  struct Range {
    std::uint32_t first;
    std::uint32_t last;
    const char* bytes;
  };
  for (const Range& range :
       {Range{2, 4, "234"}, Range{0, 0, "0"}, Range{9, 9, "9"}, Range{0, 9, "0123456789"}, Range{7, 10, "789"},
        Range{0, kMost, "0123456789"}, Range{9, kMost, "9"}, Range{10, 20, ""}, Range{kMost, kMost, ""}}) {
    Stream stream("old");
    EXPECT_TRUE(this->face_->ReadFileRange(this->At("a").c_str(), range.first, range.last, stream.out()));
    EXPECT_EQ(stream.bytes(), range.bytes) << range.first << " to " << range.last;
  }
  Stream fresh;
  EXPECT_TRUE(this->face_->ReadFileRange(this->At("a").c_str(), 2, 4, fresh.out()));
  EXPECT_EQ(fresh.bytes(), "234");
  Stream stream("untouched");
  EXPECT_TRUE(this->hook_.Take().empty());
  EXPECT_FALSE(this->face_->ReadFileRange(this->At("a").c_str(), 4, 2, stream.out()));
  EXPECT_FALSE(this->face_->ReadFileRange(this->At("a").c_str(), 0, 1, nullptr));
  EXPECT_FALSE(this->face_->ReadFileRange(nullptr, 0, 1, stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names(3, kInvalidParameter));
  EXPECT_FALSE(this->face_->ReadFileRange(this->At("missing").c_str(), 0, 1, stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names{kSourceMissing});
  this->fault_.FailCall(System::PlatformCall::MoveTo, 1);
  EXPECT_FALSE(this->face_->ReadFileRange(this->At("a").c_str(), 0, 1, stream.out()));
  this->fault_.FailCall(System::PlatformCall::Read, 1);
  EXPECT_FALSE(this->face_->ReadFileRange(this->At("a").c_str(), 0, 1, stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names(2, kCannotReadFile));
  EXPECT_EQ(stream.bytes(), "untouched");
  EXPECT_TRUE(this->face_->ReadFileRange(this->At("empty").c_str(), 0, 5, stream.out()));
  EXPECT_EQ(stream.bytes(), "");
}

TYPED_TEST(EditOperations, Edits) {
  const std::string x = Bytes<TypeParam>("x");
  const std::string tail = std::string("0123456789").substr(2 + x.size());
  using This = TestFixture;
  const typename This::Edit edits[] = {
      This::Prepend(x + "0123456789"),
      This::Insert(0, x + "0123456789"),
      This::Insert(3, "012" + x + "3456789"),
      This::Insert(10, "0123456789" + x),
      This::Insert(11, std::nullopt),
      This::Insert(kMost, std::nullopt),
      This::Overwrite(2, "01" + x + tail),
      This::Overwrite(9, "012345678" + x),
      This::Overwrite(10, "0123456789" + x),
      This::Overwrite(11, std::nullopt),
      This::Overwrite(kMost, std::nullopt),
      This::Delete(0, 0, "0123456789"),
      This::Delete(3, 4, "012789"),
      This::Delete(0, 10, ""),
      This::Delete(9, 1, "012345678"),
      This::Delete(5, kMost, "01234"),
      This::Delete(10, kMost, "0123456789"),
      This::Delete(11, 0, std::nullopt),
      This::Delete(kMost, kMost, std::nullopt),
  };
  typename This::String text(this->T("x"));
  const auto path = this->At("a");
  for (const auto& edit : edits) {
    this->MakeFile("a", "0123456789");
    EXPECT_EQ(edit.run(this->face_, path.c_str(), text), edit.expected.has_value()) << edit.name;
    EXPECT_EQ(this->Content("a"), edit.expected.value_or("0123456789")) << edit.name;
    EXPECT_EQ(this->hook_.Take(), edit.expected ? Names{} : Names{kInvalidParameter}) << edit.name;
  }
  EXPECT_EQ(this->Everything(), Names{"a"});
}

TYPED_TEST(EditOperations, EditsOfAnEmptyFileAndWithAnEmptyText) {
  typename TestFixture::String text(this->T("x"));
  typename TestFixture::String nothing;
  const auto path = this->At("a");
  this->MakeFile("a");
  EXPECT_TRUE(this->face_->DeleteFileBytes(path.c_str(), 0, 1));
  EXPECT_TRUE(this->face_->PrependFileString(path.c_str(), nothing.out()));
  EXPECT_TRUE(this->face_->OverwriteFileString(path.c_str(), 0, text.out()));
  EXPECT_EQ(this->Content("a"), Bytes<TypeParam>("x"));
  EXPECT_TRUE(this->face_->InsertFileString(path.c_str(), 1, nothing.out()));
  EXPECT_EQ(this->Content("a"), Bytes<TypeParam>("x"));
}

TYPED_TEST(EditOperations, TextsAreInsertedWithTheirZeros) {
  const TypeParam letters[] = {'a', 0, 'b'};
  typename TestFixture::String text(std::basic_string_view<TypeParam>(letters, 3));
  this->MakeFile("a", "-");
  EXPECT_TRUE(this->face_->PrependFileString(this->At("a").c_str(), text.out()));
  EXPECT_EQ(this->Content("a"), Bytes<TypeParam>(std::string_view("a\0b", 3)) + "-");
}

TYPED_TEST(EditOperations, OnlyFilesThatExistAndMayBeWrittenAreEdited) {
  this->MakeFile("readonly", "0123456789");
  this->MarkReadOnly("readonly");
  std::filesystem::create_directory(this->Host("d"));
  typename TestFixture::String text(this->T("x"));
  struct Refused {
    const char* name;
    const char* error;
  };
  for (const auto& edit : TestFixture::OneOfEach()) {
    for (const Refused& refused :
         {Refused{"missing", kSourceMissing}, Refused{"d", kSourceMissing}, Refused{"readonly", kCannotOpenFile}}) {
      EXPECT_FALSE(edit.run(this->face_, this->At(refused.name).c_str(), text)) << edit.name << refused.name;
      EXPECT_EQ(this->hook_.Take(), Names{refused.error}) << edit.name << refused.name;
    }
    EXPECT_FALSE(edit.run(this->face_, nullptr, text));
    EXPECT_FALSE(edit.run(this->face_, this->T("").c_str(), text));
    EXPECT_EQ(this->hook_.Take(), Names(2, kInvalidParameter));
  }
  EXPECT_FALSE(this->face_->PrependFileString(this->At("readonly").c_str(), nullptr));
  EXPECT_FALSE(this->face_->InsertFileString(this->At("readonly").c_str(), 0, nullptr));
  EXPECT_FALSE(this->face_->OverwriteFileString(this->At("readonly").c_str(), 0, nullptr));
  EXPECT_EQ(this->hook_.Take(), Names(3, kInvalidParameter));
  EXPECT_EQ(this->Everything(), (Names{"d/", "readonly"}));
  EXPECT_EQ(this->Content("readonly"), "0123456789");
}

// Whatever fails, and when: the file has its old content, or the new one and the answer is true.
TYPED_TEST(EditOperations, AFailureLosesNothing) {
  constexpr char kOld[] = "0123456789";
  typename TestFixture::String text(this->T("x"));
  const auto path = this->At("a");
  for (const auto& edit : TestFixture::OneOfEach()) {
    this->MakeFile("a", kOld);
    ASSERT_TRUE(edit.run(this->face_, path.c_str(), text));
    const std::string edited = this->Content("a");
    std::uint64_t n = 0;
    do {
      this->MakeFile("a", kOld);
      this->fault_.FailCall(++n);
      const bool done = edit.run(this->face_, path.c_str(), text);
      EXPECT_EQ(this->Content("a"), done ? edited : kOld) << edit.name << " call " << n;
    } while (this->fault_.calls() >= n);
    EXPECT_GT(n, 8U) << edit.name;
    this->fault_.FailCall(0);
    for (std::uint64_t space = 0; space < edited.size(); space += 3) {
      this->MakeFile("a", kOld);
      this->fault_.SetDiskSpace(space);
      EXPECT_FALSE(edit.run(this->face_, path.c_str(), text)) << edit.name;
      EXPECT_EQ(this->Content("a"), kOld) << edit.name << " with room for " << space;
    }
    this->fault_.SetUnlimitedDiskSpace();
    EXPECT_EQ(this->Everything(), Names{"a"});
  }
}

TYPED_TEST(EditOperations, AWriteThatFailsMakesTheFileNoLonger) {
  const std::string content(30, 'n');
  for (std::uint64_t space = 0; space < content.size(); space += 7) {
    this->MakeFile("a", "0123456789");
    this->fault_.SetDiskSpace(space);
    EXPECT_FALSE(this->face_->WriteFileBytes(this->At("a").c_str(), content.data(), content.size()));
    EXPECT_EQ(this->Content("a").size(), 10U) << space;
    EXPECT_EQ(this->hook_.Take(), Names{kCannotWriteFile});
  }
}

// The n-th write from now on stops half way.
class BreakingWrites final : public System::OpenFiles {
 public:
  explicit BreakingWrites(System::OpenFiles& real) : real_(real) {}

  int breaking = 0;

  bool Read(System::FileHandle handle, void* data, std::size_t size, std::size_t* done) override {
    return real_.Read(handle, data, size, done);
  }
  bool Write(System::FileHandle handle, const void* data, std::size_t size, std::size_t* done) override {
    if (--breaking != 0) return real_.Write(handle, data, size, done);
    real_.Write(handle, data, size / 2, done);
    return false;
  }
  bool GetSize(System::FileHandle handle, std::uint64_t* size) override { return real_.GetSize(handle, size); }
  bool MoveTo(System::FileHandle handle, std::uint64_t position) override { return real_.MoveTo(handle, position); }
  bool SetEnd(System::FileHandle handle) override { return real_.SetEnd(handle); }
  bool Flush(System::FileHandle handle) override { return real_.Flush(handle); }
  void LetReplace(System::FileHandle handle) override { real_.LetReplace(handle); }
  bool Close(System::FileHandle handle) override { return real_.Close(handle); }

 private:
  System::OpenFiles& real_;
};

// Where the directory takes no new file, the file is written itself; a failure puts back what it held.
TEST(NarrowEditInPlace, AFailureLosesNothing) {
  orv_test::TempDirectory directory;
  System::FaultPlatform fault;
  System::Platform platform = fault.platform();
  BreakingWrites writes(platform.open_files);
  const System::Platform breaking{platform.narrow,    platform.wide,    writes,
                                  platform.code_page, platform.reasons, platform.written};
  CFileSystem* object = new CFileSystem(breaking);
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  const std::string path = orv_test::PlatformPath(directory.path()) + "\\a";
  orv_test::PString text("a text longer than the file");
  orv_test::WriteFile(directory.path() / "a", "0123456789");
  fault.SetFailure(System::SystemResult::Denied);
  for (const bool breaks : {true, false}) {
    fault.FailCall(System::PlatformCall::Open, 2);  // The new file: the first is to read.
    writes.breaking = breaks ? 1 : 0;
    EXPECT_EQ(face->PrependFileString(path.c_str(), text.out()), !breaks);
    EXPECT_EQ(orv_test::ReadFile(directory.path() / "a"), (breaks ? "" : text.str()) + "0123456789");
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
  object->Release();
}

class WideText : public orv_test::FileSystemTest<char16_t> {
 protected:
  std::u16string Read(std::string_view bytes) {
    MakeFile("a", bytes);
    orv_test::WString text(u"old");
    EXPECT_TRUE(face_->ReadFileToWideString(At("a").c_str(), text.out()));
    return text.str();
  }
};

TEST_F(WideText, ReadFileToWideString) {
  struct Case {
    std::string_view bytes;
    std::u16string_view text;
  };
  const Case cases[] = {
      {std::string_view("\xFF\xFE\x41\0", 4), u"A"},
      {std::string_view("\xFE\xFF\0\x41", 4), u"A"},
      {std::string_view("\xFE\xFF\0\x41\x01\x02", 6), u"A\u0102"},
      {std::string_view("A\0B\0C\0", 6), u"BC"},
      {std::string_view("\xFF\xFE\x41\0\x42", 5), u"A"},
      {std::string_view("\xFF\xFE\x41\0\0\0\x42\0", 8), std::u16string_view(u"A\0B", 3)},
      {std::string_view("\xFF\xFE\xFF\xFE\x41\0", 6), u"\uFEFFA"},
      {std::string_view("\xFF\xFE\x3D\xD8\0\xDE", 6), u"\U0001F600"},
      {"\xFF\xFE", u""},
      {"\xFE\xFF", u""},
      {"\xFF", u""},
      {"", u""},
  };
  for (const Case& one : cases) EXPECT_TRUE(Read(one.bytes) == one.text) << ::testing::PrintToString(one.bytes);
  orv_test::WString text(u"untouched");
  EXPECT_FALSE(face_->ReadFileToWideString(At("missing").c_str(), text.out()));
  EXPECT_EQ(hook_.Take(), Names{kSourceMissing});
  EXPECT_FALSE(face_->ReadFileToWideString(nullptr, text.out()));
  EXPECT_FALSE(face_->ReadFileToWideString(At("a").c_str(), nullptr));
  EXPECT_EQ(hook_.Take(), Names(2, kInvalidParameter));
  EXPECT_TRUE(text.str() == u"untouched");
}

TEST_F(WideText, WriteFileTextUnicode) {
  const auto path = At("new\\a");
  EXPECT_TRUE(face_->WriteFileTextUnicode(path.c_str(), u"A"));
  EXPECT_EQ(Content("new/a"), std::string("\xFF\xFE\x41\0", 4));
  orv_test::WString text;
  EXPECT_TRUE(face_->ReadFileToWideString(path.c_str(), text.out()));
  EXPECT_TRUE(text.str() == u"A");
  orv_test::WString more(u"B");
  EXPECT_TRUE(face_->AppendFileString(path.c_str(), more.out()));
  EXPECT_EQ(Content("new/a"), std::string("\xFF\xFE\x41\0\x42\0", 6)) << "no second mark";
  EXPECT_TRUE(face_->WriteFileTextUnicode(path.c_str(), u""));
  EXPECT_EQ(Content("new/a"), "\xFF\xFE");
  EXPECT_FALSE(face_->WriteFileTextUnicode(nullptr, u"A"));
  EXPECT_FALSE(face_->WriteFileTextUnicode(path.c_str(), nullptr));
  EXPECT_EQ(hook_.Take(), Names(2, kInvalidParameter));
  MarkReadOnly("new/a");
  EXPECT_FALSE(face_->WriteFileTextUnicode(path.c_str(), u"A"));
  EXPECT_EQ(hook_.Take(), Names{kCannotOpenFile});
}

TEST_F(WideText, EditsCountInBytes) {
  const auto path = At("a");
  orv_test::WString text(u"x");
  ASSERT_TRUE(face_->WriteFileTextUnicode(path.c_str(), u"AB"));
  EXPECT_TRUE(face_->InsertFileString(path.c_str(), 4, text.out()));
  EXPECT_EQ(Content("a"), std::string("\xFF\xFE\x41\0x\0B\0", 8));
  EXPECT_TRUE(face_->PrependFileString(path.c_str(), text.out()));
  EXPECT_EQ(Content("a"), std::string("x\0\xFF\xFE\x41\0x\0B\0", 10)) << "before the mark";
  EXPECT_TRUE(face_->InsertFileString(path.c_str(), 1, text.out()));
  EXPECT_EQ(Content("a"), std::string("xx\0\0\xFF\xFE\x41\0x\0B\0", 12)) << "in the middle of a character";
}

// Objects of a host may throw.
struct ThrowingText final : IOrvPString {
  bool Assign(const char*, std::size_t) override { throw 1; }
  const char* GetText() const override { throw 1; }
  std::size_t GetLength() const override { throw 1; }
  void Release() override {}
};

using NarrowThrowing = orv_test::FileSystemTest<char>;

TEST_F(NarrowThrowing, TextsThatThrowFail) {
  MakeFile("a", "content");
  const auto path = At("a");
  ThrowingText text;
  EXPECT_FALSE(face_->WorkflowPathToPlatformPathString(path.c_str(), &text));
  EXPECT_FALSE(face_->ReadFileToString(path.c_str(), &text));
  EXPECT_FALSE(face_->WriteFileString(path.c_str(), &text));
  EXPECT_FALSE(face_->AppendFileString(path.c_str(), &text));
  EXPECT_FALSE(face_->PrependFileString(path.c_str(), &text));
  EXPECT_FALSE(face_->InsertFileString(path.c_str(), 0, &text));
  EXPECT_FALSE(face_->OverwriteFileString(path.c_str(), 0, &text));
  EXPECT_EQ(Content("a"), "content");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
