// An edit that answers true is in the file, whatever else changes it at the same time.
#include <atomic>
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

template <class Char>
class EditRaces : public orv_test::FileSystemTest<Char> {
 protected:
  // Does `edit(face)` `rounds` times in each of two threads, with an object for each; answers how often it was true.
  template <class First, class Second>
  int Race(int rounds, const First& first, const Second& second) {
    std::atomic<int> succeeded = 0;
    const auto work = [&](const auto& edit) {
      CFileSystem* object = new CFileSystem;
      auto* face = static_cast<typename TestFixture::Face*>(
          object->QueryInterface(sizeof(Char) == 1 ? "IFileSystemA" : "IFileSystemW"));
      for (int i = 0; i < rounds; ++i) succeeded += edit(*face) ? 1 : 0;
      object->Release();
    };
    std::thread one([&] { work(first); });
    work(second);
    one.join();
    return succeeded;
  }
  int Records() { return static_cast<int>(this->Content("a").size() / sizeof(Char)); }

  using TestFixture = orv_test::FileSystemTest<Char>;
  typename TestFixture::String text_{this->T("x")};
};
TYPED_TEST_SUITE(EditRaces, orv_test::Widths);

TYPED_TEST(EditRaces, TwoThatPrepend) {
  this->MakeFile("a");
  const auto prepend = [this](auto& face) { return face.PrependFileString(this->At("a").c_str(), this->text_.out()); };
  const int succeeded = this->Race(100, prepend, prepend);
  EXPECT_GT(succeeded, 0);
  EXPECT_EQ(this->Records(), succeeded);
}

TYPED_TEST(EditRaces, AppendingBesidePrepending) {
  this->MakeFile("a");
  const auto prepend = [this](auto& face) { return face.PrependFileString(this->At("a").c_str(), this->text_.out()); };
  const auto append = [this](auto& face) { return face.AppendFileString(this->At("a").c_str(), this->text_.out()); };
  const int succeeded = this->Race(150, prepend, append);
  EXPECT_GT(succeeded, 0);
  EXPECT_EQ(this->Records(), succeeded);
}

// What was replaced or copied over the file in between is not brought back by an edit.
TYPED_TEST(EditRaces, ReplacingBesidePrepending) {
  constexpr int kRounds = 60;
  std::atomic<int> lost = 0;
  this->MakeFile("a", "old");
  int version = 0;
  const auto prepend = [this](auto& face) { return face.PrependFileString(this->At("a").c_str(), this->text_.out()); };
  const auto replace = [&](auto& face) {
    const std::string content = "version " + std::to_string(++version);
    const bool replaced = face.ReplaceFileBytes(this->At("a").c_str(), content.data(), content.size());
    orv_test::Stream now;
    // A reader and an edit may keep each other away for a moment.
    while (replaced && !face.ReadFileToStream(this->At("a").c_str(), now.out())) std::this_thread::yield();
    if (replaced && !now.bytes().ends_with(content)) ++lost;
    return replaced;
  };
  EXPECT_GT(this->Race(kRounds, prepend, replace), 0);
  EXPECT_EQ(lost, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
