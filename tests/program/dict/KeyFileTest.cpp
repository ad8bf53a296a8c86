// What a key file may hold.
#include "orvflow/files/KeyFile.h"

#include <gtest/gtest.h>

#include "orvflow/terminal/Terminal.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Program {
namespace {

class KeyFileTest : public ::testing::Test {
 protected:
  std::string Write(const std::string& content) const {
    orv_test::WriteFile(directory_.file("key"), content);
    return directory_.file("key");
  }
  static std::string ErrorOf(const std::string& path) {
    try {
      const KeyFile key(path);
      return std::string("read: ") + key.key();
    } catch (const ProgramError& error) {
      EXPECT_EQ(error.code(), ExitCode::Failed);
      return error.what();
    }
  }

  orv_test::TempDirectory directory_;
};

TEST_F(KeyFileTest, IsTheContentWithoutOneFinalLineBreak) {
  const std::string longest(kMaxKeyLength, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {"key", "key"},     {"key\n", "key"},         {"key\r\n", "key"}, {"key\n\n", "key\n"},
      {"key\r", "key\r"}, {" k\xE4y ", " k\xE4y "}, {longest, longest}, {longest + "\r\n", longest},
      {"\n\n", "\n"}};
  for (const auto& [content, key] : cases) EXPECT_EQ(KeyFile(Write(content)).key(), key);
}

TEST_F(KeyFileTest, RefusesWhatIsNoKey) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "the key file holds no key"},
      {"\n", "the key file holds no key"},
      {std::string("a\0b", 3), "the key holds a zero byte"},
      {std::string(kMaxKeyLength + 1, 'x'), "the key is longer than 240 bytes"},
      {std::string(kMaxKeyLength, 'x') + "\n\n", "the key is longer than 240 bytes"},
      {std::string(100000, 'x'), "the key is longer than 240 bytes"}};
  for (const auto& [content, fault] : cases) {
    const std::string path = Write(content);
    EXPECT_EQ(ErrorOf(path), path + ": " + fault);
  }
}

TEST_F(KeyFileTest, RefusesWhatIsNoFile) {
  const std::string missing = directory_.file("missing");
  EXPECT_EQ(ErrorOf(missing), missing + ": no such file; --key-file needs one that holds the key");
  const std::string folder = directory_.path().string();
  EXPECT_EQ(ErrorOf(folder), folder + ": is a folder; --key-file needs a file that holds the key");
}

}  // namespace
}  // namespace OrvWorkFlow::Program
