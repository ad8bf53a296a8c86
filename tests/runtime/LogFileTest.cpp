// Log files that are appended to and kept within a size.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "runtime/log/Logger.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;
using ::testing::ElementsAre;

class LogFileTest : public ::testing::Test {
 protected:
  static constexpr std::size_t kTimeLength = sizeof("2026-11-21T03:45:31.123Z ") - 1;

  // Appends lines "c <text>" as a run of its own.
  void Append(const std::vector<std::string>& texts, Runtime::Logger::Growth growth = {}) const {
    Runtime::Logger* const logger =
        Runtime::Logger::NewForAppending(file_.c_str(), Runtime::Logger::Writing::kBuffered, growth);
    ASSERT_NE(logger, nullptr);
    for (const std::string& text : texts) logger->Log("c", "%s", text.c_str());
    EXPECT_TRUE(logger->Flush());
    EXPECT_EQ(logger->GetFirstError(), 0);
    logger->Release();
  }

  // The texts of one file of the log.
  std::vector<std::string> TextsOf(const std::string& extension = "") const {
    std::vector<std::string> texts;
    std::istringstream stream(ReadFile(file_ + extension));
    for (std::string line; std::getline(stream, line);) texts.push_back(line.substr(kTimeLength + 2));
    return texts;
  }

  TempDirectory directory_;
  std::string file_ = directory_.file("log.txt");
  // Three lines of "c a".
  static constexpr Runtime::Logger::Growth kThreeLines = {3 * (kTimeLength + 4) + 1, 2};
};

TEST_F(LogFileTest, AppendsToWhatIsThere) {
  Append({"a"});
  Append({"b"});
  EXPECT_THAT(TextsOf(), ElementsAre("a", "b"));
}

TEST_F(LogFileTest, ALineThatWasCutOffStaysALineOfItsOwn) {
  WriteFile(file_, "2026-11-21T03:45:31.123Z c cut");
  Append({"a"});
  EXPECT_THAT(TextsOf(), ElementsAre("cut", "a"));
}

TEST_F(LogFileTest, BeginsANewFileBeforeItIsTooLong) {
  Append({"a", "b", "c", "d", "e", "f", "g"}, kThreeLines);
  EXPECT_THAT(TextsOf(".2"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(TextsOf(".1"), ElementsAre("d", "e", "f"));
  EXPECT_THAT(TextsOf(), ElementsAre("g"));
}

TEST_F(LogFileTest, WhatEarlierRunsWroteCounts) {
  for (const char* text : {"a", "b", "c", "d"}) Append({text}, kThreeLines);
  EXPECT_THAT(TextsOf(".1"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(TextsOf(), ElementsAre("d"));
}

TEST_F(LogFileTest, KeepsAsManyOldFilesAsSaid) {
  Append({"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}, kThreeLines);
  EXPECT_THAT(TextsOf(".2"), ElementsAre("d", "e", "f"));
  EXPECT_FALSE(std::filesystem::exists(file_ + ".3"));
  Append({"k", "l"}, {kThreeLines.limit, 0});
  Append({"m"}, {kThreeLines.limit, 0});
  EXPECT_THAT(TextsOf(), ElementsAre("m"));
  EXPECT_THAT(TextsOf(".1"), ElementsAre("g", "h", "i")) << "is not looked at";
}

TEST_F(LogFileTest, ALineLongerThanTheLimitHasAFileOfItsOwn) {
  const std::string text(500, 'x');
  Append({"a", text, text, "b"}, {100, 3});
  EXPECT_THAT(TextsOf(".3"), ElementsAre("a"));
  EXPECT_THAT(TextsOf(".2"), ElementsAre(text));
  EXPECT_THAT(TextsOf(".1"), ElementsAre(text));
  EXPECT_THAT(TextsOf(), ElementsAre("b"));
}

TEST_F(LogFileTest, IsWrittenOnWhenItCannotBePutAside) {
  std::filesystem::create_directories(file_ + ".1/full");  // In the way of the old file, and cannot be removed.
  Append({"a", "b", "c", "d", "e"}, {kThreeLines.limit, 1});
  EXPECT_THAT(TextsOf(), ElementsAre("a", "b", "c", "d", "e"));
}

TEST_F(LogFileTest, IsNotMadeForWhatCannotBeWritten) {
  EXPECT_EQ(Runtime::Logger::NewForAppending(nullptr, Runtime::Logger::Writing::kBuffered, {}), nullptr);
  errno = 0;
  EXPECT_EQ(
      Runtime::Logger::NewForAppending(directory_.file("no/log.txt").c_str(), Runtime::Logger::Writing::kBuffered, {}),
      nullptr);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
