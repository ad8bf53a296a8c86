// Both faces of the loaded library's file system, called by place alone.
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/library/LoadedLibrary.h"
#include "tests/library/RawTable.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow {
namespace {

using orv_test::CallSlot;

template <class Char>
struct Types;
template <>
struct Types<char> {
  using Face = IFileSystemA;
  using Text = orv_test::PString;
  using List = orv_test::PStringList;
  static constexpr const char* kName = "IFileSystemA";
};
template <>
struct Types<char16_t> {
  using Face = IFileSystemW;
  using Text = orv_test::WString;
  using List = orv_test::WStringList;
  static constexpr const char* kName = "IFileSystemW";
};

template <class Char>
class Listener final : public IFileSystemNotificationOf<Char> {
 public:
  bool FileFound(const Char*) override { return Count(); }
  bool DirectoryFound(const Char*) override { return Count(); }
  void Completed(bool succeeded) override {
    const std::scoped_lock lock(mutex_);
    result_ = succeeded ? 1 : 0;
    changed_.notify_all();
  }
  // The result (-1 before the end), and the number of entries told.
  std::pair<int, int> Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return result_ >= 0; });
    return {std::exchange(result_, -1), std::exchange(found_, 0)};
  }
  std::pair<int, int> Now() {
    const std::scoped_lock lock(mutex_);
    return {result_, found_};
  }
  void WaitForAnEntry() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return found_ > 0; });
  }

 private:
  bool Count() {
    const std::scoped_lock lock(mutex_);
    ++found_;
    changed_.notify_all();
    return true;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  int result_ = -1;
  int found_ = 0;
};

template <class Char>
class FileSystemTable : public ::testing::Test {
 protected:
  using Path = std::basic_string<Char>;
  using Face = typename Types<Char>::Face;
  using Notification = IFileSystemNotificationOf<Char>*;

  void SetUp() override {
    library_ = orv_test::LoadCoreObjects();
    ASSERT_NE(library_, nullptr);
    IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("FileSystem");
    ASSERT_NE(object, nullptr);
    face_ = static_cast<Face*>(CallSlot<void*>(object, 0, Types<Char>::kName));
    ASSERT_NE(face_, nullptr);
  }
  void TearDown() override {
    if (face_ != nullptr) CallSlot<void>(face_, 15);
    if (library_ != nullptr) {
      EXPECT_TRUE(orv_test::UnloadCoreObjects(library_));
    }
  }

  Path At(std::string_view name) {
    std::string path = directory_.path().string() + "\\" + std::string(name);
    if (path.front() == '/') path.insert(0, "Z:");
    return Path(path.begin(), path.end());
  }
  std::string Content(std::string_view name) { return orv_test::ReadFile(directory_.path() / name); }

  // How the face writes a text.
  static std::string Bytes(std::string_view ascii) {
    std::string bytes;
    for (const char c : ascii) bytes.append(1, c).append(sizeof(Char) - 1, '\0');
    return bytes;
  }
  static Path T(std::string_view ascii) { return Path(ascii.begin(), ascii.end()); }

  // The places are those of the narrow table, from 0 behind the base protocol; the wide one has two more.
  static constexpr std::size_t kWide = sizeof(Char) > 1 ? 1 : 0;
  template <class Result = bool, class... Arguments>
  Result Call(std::size_t narrow_place, Arguments... arguments) {
    const std::size_t place = narrow_place + (narrow_place > 20 ? kWide : 0) + (narrow_place > 22 ? kWide : 0);
    return CallSlot<Result>(face_, 16 + place, arguments...);
  }

  orv_test::TempDirectory directory_;
  void* library_ = nullptr;
  Face* face_ = nullptr;
};
using Widths = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(FileSystemTable, Widths);

TYPED_TEST(FileSystemTable, PathsAndSingleFiles) {
  using Char = TypeParam;
  const auto path = this->At("d\\a");
  const auto copy = this->At("d\\b");
  const auto directory = this->At("d");
  Char buffer[64];
  std::size_t length = 0;
  EXPECT_TRUE(this->Call(0, this->T("C:\\Data\\").c_str(), &buffer[0], std::size_t{64}, &length));
  EXPECT_EQ(std::basic_string<Char>(buffer), this->T("C:\\Data"));
  EXPECT_EQ(length, 7U);
  typename Types<Char>::Text text;
  EXPECT_TRUE(this->Call(1, this->T("C:\\Data\\").c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T("C:\\Data"));
  EXPECT_TRUE(this->Call(2, directory.c_str()));
  EXPECT_TRUE(this->Call(14, directory.c_str()));
  EXPECT_FALSE(this->Call(13, directory.c_str()));
  EXPECT_TRUE(this->Call(17, path.c_str()));
  EXPECT_TRUE(this->Call(13, path.c_str()));
  EXPECT_FALSE(this->Call(14, path.c_str()));
  EXPECT_TRUE(this->Call(21, path.c_str(), static_cast<const void*>("bytes"), std::size_t{5}));
  EXPECT_EQ(this->template Call<std::uint32_t>(16, path.c_str()), 5U);
  EXPECT_TRUE(this->Call(10, path.c_str(), copy.c_str(), false));
  EXPECT_FALSE(this->Call(10, path.c_str(), copy.c_str(), false));
  EXPECT_EQ(this->Content("d/b"), "bytes");
  EXPECT_TRUE(this->Call(15, copy.c_str()));
  EXPECT_FALSE(this->Call(13, copy.c_str()));
}

TYPED_TEST(FileSystemTable, Content) {
  using Char = TypeParam;
  const auto path = this->At("a");
  typename Types<Char>::Text text(this->T("x"));
  orv_test::Stream stream;
  EXPECT_TRUE(this->Call(22, path.c_str(), this->T("text").c_str()));
  EXPECT_EQ(this->Content("a"), this->Bytes("text"));
  EXPECT_TRUE(this->Call(23, path.c_str(), text.out()));
  EXPECT_TRUE(this->Call(24, path.c_str(), text.out()));
  EXPECT_EQ(this->Content("a"), this->Bytes("xx"));
  EXPECT_TRUE(this->Call(21, path.c_str(), static_cast<const void*>("0123456789"), std::size_t{10}));
  EXPECT_TRUE(this->Call(18, path.c_str(), std::uint32_t{2}, std::uint32_t{4}, stream.out()));
  EXPECT_EQ(stream.bytes(), "234");
  EXPECT_TRUE(this->Call(20, path.c_str(), stream.out()));
  EXPECT_EQ(stream.bytes(), "0123456789");
  EXPECT_TRUE(this->Call(25, path.c_str(), text.out()));
  EXPECT_TRUE(this->Call(26, path.c_str(), std::uint32_t{0}, text.out()));
  EXPECT_TRUE(this->Call(27, path.c_str(), std::uint32_t{0}, text.out()));
  EXPECT_EQ(this->Content("a"), this->Bytes("xx") + "0123456789");
  const auto added = static_cast<std::uint32_t>(this->Bytes("xx").size());
  EXPECT_TRUE(this->Call(28, path.c_str(), std::uint32_t{0}, added));
  EXPECT_TRUE(this->Call(19, path.c_str(), text.out()));
  EXPECT_EQ(text.str(), this->T("0123456789"));
  EXPECT_TRUE(this->Call(29, path.c_str(), static_cast<const void*>("new"), std::size_t{3}));
  EXPECT_EQ(this->Content("a"), "new");
}

TYPED_TEST(FileSystemTable, WhyACallFailedAndFlushing) {
  typename Types<TypeParam>::Text operation;
  typename Types<TypeParam>::Text path;
  typename Types<TypeParam>::Text reason;
  const auto missing = this->At("missing");
  EXPECT_FALSE(this->Call(30, operation.out(), path.out(), reason.out()));
  EXPECT_FALSE(this->Call(13, missing.c_str()));
  EXPECT_TRUE(this->Call(30, operation.out(), path.out(), reason.out()));
  EXPECT_EQ(operation.str(), this->T("FileExists"));
  EXPECT_EQ(path.str(), missing);
  EXPECT_EQ(reason.str(), this->T("no such file"));
  EXPECT_TRUE(this->Call(31));
}

TYPED_TEST(FileSystemTable, TreesAtOnceAndAsynchronously) {
  using Char = TypeParam;
  const auto tree = this->At("t");
  for (const char* name : {"t\\a", "t\\b\\c"}) EXPECT_TRUE(this->Call(17, this->At(name).c_str()));
  typename Types<Char>::List list;
  EXPECT_TRUE(this->Call(6, tree.c_str(), list.out()));
  EXPECT_EQ(list.vec(), (std::vector{this->At("t\\a"), this->At("t\\b\\c")}));
  EXPECT_TRUE(this->Call(8, tree.c_str(), list.out()));
  EXPECT_EQ(list.vec(), std::vector{this->At("t\\b")});
  EXPECT_TRUE(this->Call(12, tree.c_str(), this->At("u").c_str(), false));
  EXPECT_TRUE(this->Call(4, this->At("u").c_str()));
  EXPECT_FALSE(this->Call(14, this->At("u").c_str()));

  Listener<Char> listener;
  const typename TestFixture::Notification notification = &listener;
  const auto result = [](int succeeded, int found) { return std::pair(succeeded, found); };
  EXPECT_TRUE(this->Call(5, tree.c_str(), notification));
  EXPECT_EQ(listener.Wait(), result(1, 2));
  EXPECT_TRUE(this->Call(7, tree.c_str(), notification));
  EXPECT_EQ(listener.Wait(), result(1, 1));
  EXPECT_TRUE(this->Call(11, tree.c_str(), this->At("v").c_str(), false, notification));
  EXPECT_EQ(listener.Wait(), result(1, 0));
  EXPECT_TRUE(this->Call(9, this->At("t\\a").c_str(), this->At("v\\a").c_str(), false, notification));
  EXPECT_EQ(listener.Wait(), result(0, 0)) << "it is there already";
  EXPECT_TRUE(this->Call(3, this->At("v").c_str(), notification));
  EXPECT_EQ(listener.Wait(), result(1, 0));
  EXPECT_FALSE(this->Call(3, tree.c_str(), static_cast<typename TestFixture::Notification>(nullptr)));
  EXPECT_FALSE(this->Call(14, this->At("v").c_str()));
}

// Released in the middle of a walk, the object has no thread left that could run unloaded code.
TYPED_TEST(FileSystemTable, ALibraryUnloadedAfterACallThatWasStillRunning) {
  using Char = TypeParam;
  for (int i = 0; i < 300; ++i) orv_test::WriteFile(this->directory_.path() / std::to_string(i), "");
  auto path = this->At("");
  Listener<Char> listener;
  ASSERT_TRUE(this->Call(5, path.c_str(), static_cast<typename TestFixture::Notification>(&listener)));
  listener.WaitForAnEntry();
  CallSlot<void>(std::exchange(this->face_, nullptr), 15);
  EXPECT_GE(listener.Now().first, 0) << "its end was told";
  EXPECT_TRUE(orv_test::UnloadCoreObjects(std::exchange(this->library_, nullptr)));
  EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("FileSystem"));
}

using WideTable = FileSystemTable<char16_t>;

TEST_F(WideTable, TheTwoOperationsOfItsOwn) {
  const auto path = At("a");
  EXPECT_TRUE(CallSlot<bool>(face_, 16 + 24, path.c_str(), u"A"));
  EXPECT_EQ(Content("a"), std::string("\xFF\xFE\x41\0", 4));
  orv_test::WString text;
  EXPECT_TRUE(CallSlot<bool>(face_, 16 + 21, path.c_str(), text.out()));
  EXPECT_TRUE(text.str() == u"A");
}

TYPED_TEST(FileSystemTable, EitherFaceLeadsToTheOther) {
  void* narrow = CallSlot<void*>(this->face_, 0, "IFileSystemA");
  void* wide = CallSlot<void*>(this->face_, 0, "IFileSystemW");
  EXPECT_NE(narrow, wide);
  EXPECT_EQ(CallSlot<void*>(static_cast<IFileSystemA*>(narrow), 0, "IFileSystemW"), wide);
  EXPECT_EQ(CallSlot<void*>(static_cast<IFileSystemW*>(wide), 0, "IFileSystemA"), narrow);
}

}  // namespace
}  // namespace OrvWorkFlow
