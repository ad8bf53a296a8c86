// Files that are read to where the stream wants them.
#include "FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::Widths;

// Counts what it is given by copy.
class CountingStream final : public IOrvBasicStream {
 public:
  virtual ~CountingStream() = default;
  explicit CountingStream(bool has_room) : has_room_(has_room) {}

  bool Assign(const void* data, std::size_t size) override {
    ++copies;
    content.assign(static_cast<const char*>(data), size);
    return true;
  }
  bool Append(const void*, std::size_t) override { return false; }
  const void* GetData() const override { return content.data(); }
  std::size_t GetSize() const override { return content.size(); }
  void Release() override {}
  void* Room(std::size_t size) override {
    if (!has_room_) return nullptr;
    room_.assign(size, '?');
    return room_.data();
  }
  bool Commit(std::size_t size) override {
    content += room_.substr(0, size);
    return true;
  }

  std::string content;
  int copies = 0;

 private:
  bool has_room_;
  std::string room_;
};

template <class Char>
using ReadIntoRoom = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(ReadIntoRoom, Widths);

TYPED_TEST(ReadIntoRoom, AnEmptyStreamWithRoomGetsNoCopy) {
  this->MakeFile("a", "content");
  CountingStream stream(true);
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("a").c_str(), &stream));
  EXPECT_EQ(stream.content, "content");
  EXPECT_EQ(stream.copies, 0);
}

TYPED_TEST(ReadIntoRoom, WithoutRoomOrWithContentTheFileIsCopied) {
  this->MakeFile("a", "content");
  this->MakeFile("empty");
  CountingStream without_room(false);
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("a").c_str(), &without_room));
  EXPECT_EQ(without_room.content, "content");
  CountingStream stream(true);
  stream.content = "old";
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("a").c_str(), &stream));
  EXPECT_EQ(stream.content, "content");
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("empty").c_str(), &stream));
  EXPECT_EQ(stream.content, "");
}

TYPED_TEST(ReadIntoRoom, AFailureLeavesTheStreamAsItWas) {
  this->MakeFile("a", "content");
  CountingStream stream(true);
  this->fault_.FailCall(System::PlatformCall::Read, 1);
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), &stream));
  EXPECT_EQ(stream.content, "");
  EXPECT_EQ(stream.copies, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
