// Files are replaced, edited and copied over whose names are as long as they may be, of letters of several bytes.
#include <algorithm>

#include "base/text/Utf8.h"
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

template <class Char>
class LongNames : public orv_test::FileSystemTest<Char> {
 protected:
  // The path of a file of the test's folder, whose name is UTF-8.
  std::basic_string<Char> PathOf(const std::string& name) {
    std::basic_string<Char> path = this->At("");
    if constexpr (sizeof(Char) == 1) {
      path += name;
    } else {
      std::u16string wide;
      EXPECT_TRUE(Base::Utf8ToUtf16(name, &wide));
      path += wide;
    }
    return path;
  }
};

TYPED_TEST_SUITE(LongNames, orv_test::Widths);

TYPED_TEST(LongNames, OfLettersOfSeveralBytes) {
  const std::vector<std::string> letters = {"\xC3\xA9", "\xE6\xBC\xA2", "\xF0\x9F\x98\x80"};
  for (const std::string& letter : letters) {
    for (std::size_t length = 236; length <= 255; ++length) {
      // Wherever a name is cut off, a letter is cut off in one of these.
      std::string name(length % letter.size(), 'n');
      while (name.size() < length) name += letter;
      const std::basic_string<TypeParam> path = this->PathOf(name);
      typename TestFixture::String text(this->T("<"));
      EXPECT_TRUE(this->face_->ReplaceFileBytes(path.c_str(), "new", 3)) << letter << " " << length;
      EXPECT_TRUE(this->face_->ReplaceFileBytes(path.c_str(), "old", 3)) << letter << " " << length;
      EXPECT_TRUE(this->face_->PrependFileString(path.c_str(), text.out())) << letter << " " << length;
      EXPECT_EQ(this->face_->FileSize(path.c_str()), 3 + sizeof(TypeParam));
      this->MakeFile("source", "copied");
      EXPECT_TRUE(this->face_->CopyOneFile(this->At("source").c_str(), path.c_str(), true)) << letter << " " << length;
      EXPECT_EQ(this->Content(name), "copied");
      std::vector<std::string> both = {name, "source"};
      std::sort(both.begin(), both.end());
      EXPECT_EQ(this->Everything(), both) << letter << " " << length;
      EXPECT_TRUE(this->face_->RemoveFile(path.c_str()));
    }
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
