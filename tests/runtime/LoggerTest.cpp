#include "runtime/log/Logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "runtime/log/LogLine.h"
#include "tests/fakes/RecordingLogger.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

class LoggerTest : public ::testing::Test {
 protected:
  ~LoggerTest() override { CloseLog(); }

  void CloseLog() {
    if (logger_ != nullptr) {
      logger_->Release();
      logger_ = nullptr;
    }
  }

  // The lines of the file without their times.
  std::vector<std::string> GetLines() const {
    std::vector<std::string> lines;
    std::istringstream stream(ReadFile(file_));
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line.size() > kTimeLength ? line.substr(kTimeLength) : "no time: " + line);
    }
    return lines;
  }

  static constexpr std::size_t kTimeLength = sizeof("2026-11-21T03:45:31.123Z ") - 1;
  TempDirectory directory_;
  std::string file_ = directory_.file("log.txt");
  Runtime::Logger* logger_ = Runtime::Logger::NewForFile(file_.c_str(), Runtime::Logger::Writing::kBuffered);
};

TEST_F(LoggerTest, ALineOfJsonHoldsAnyText) {
  logger_->SetForm(Runtime::Logger::Form::kJson);
  logger_->Log("a\"b", "%s", "line\nquote \" back\\slash \x01 \xc3\xa4 \xff");
  CloseLog();
  const std::string line = ReadFile(file_);
  EXPECT_EQ(line.substr(0, 9), "{\"time\":\"");
  const std::size_t behind = line.find("\",\"category\"");
  ASSERT_EQ(behind, 9 + std::string("2026-11-21T03:45:31.123Z").size() + 0) << line;
  EXPECT_EQ(line.substr(behind + 2),
            "\"category\":\"a\\\"b\",\"text\":\"line\\nquote \\\" back\\\\slash \\u0001 \xc3\xa4 \xef\xbf\xbd\"}\n");
}

TEST_F(LoggerTest, AnswersTheBaseProtocol) {
  EXPECT_EQ(logger_->QueryInterface("ILogger"), static_cast<ILogger*>(logger_));
  const PString name;
  EXPECT_TRUE(logger_->GetTypeName(name.out()));
  EXPECT_EQ(name.str(), "Logger");
}

TEST_F(LoggerTest, WritesOneLineACall) {
  logger_->Log("/workflow/signalpump", "There are %d left in the %s", 2, "queue");
  logger_->Log("/workflow/signalpump", "100%%");
  EXPECT_TRUE(logger_->Flush());
  EXPECT_THAT(GetLines(),
              ElementsAre("/workflow/signalpump There are 2 left in the queue", "/workflow/signalpump 100%"));
  EXPECT_THAT(ReadFile(file_).substr(0, kTimeLength), MatchesRegex("....-..-..T..:..:......Z "));
}

TEST_F(LoggerTest, TheTimeIsUtcWithMilliseconds) {
  std::string line;
  Runtime::AppendLogLine(&line, std::chrono::system_clock::time_point(std::chrono::milliseconds(1'709'251'199'007)),
                         "c", "t");
  Runtime::AppendLogLine(&line, std::chrono::system_clock::time_point(), "c", "t");
  EXPECT_EQ(line, "2024-02-29T23:59:59.007Z c t\n1970-01-01T00:00:00.000Z c t\n");
}

TEST_F(LoggerTest, ALineStaysALine) {
  logger_->Log("a\nb", "one\ntwo\r\nthree %s", "x\n");
  logger_->Flush();
  EXPECT_THAT(GetLines(), ElementsAre("a\\nb one\\ntwo\\r\\nthree x\\n"));
}

TEST_F(LoggerTest, LongTextsAreNotCut) {
  for (const std::size_t length : {254U, 255U, 256U, 257U, 1'000'000U}) {
    const std::string text(length, 'x');
    logger_->Log("c", "%s.", text.c_str());
    logger_->Flush();
    ASSERT_EQ(GetLines().back(), "c " + text + ".");
  }
}

TEST_F(LoggerTest, UsesTheDefaultCategoryForLinesWithoutOne) {
  logger_->Log(nullptr, "first");
  logger_->SetDefaultCategory("/workflow/default");
  logger_->Log(nullptr, "second");
  logger_->Log("", "third");
  logger_->SetDefaultCategory(nullptr);
  logger_->Log("", "fourth");
  logger_->Log("c", nullptr);
  logger_->Flush();
  EXPECT_THAT(GetLines(), ElementsAre("- first", "/workflow/default second", "/workflow/default third", "- fourth"));
}

TEST_F(LoggerTest, AFilterKeepsCategoriesOfItsPrefix) {
  const auto log_all = [this](const char* text) {
    logger_->Log("/workflow/signalpump", "%s", text);
    logger_->Log("workflow/FireAllReadySignals", "%s", text);
    logger_->Log("/other", "%s", text);
  };
  logger_->SetCategoryFilter("/workflow/");
  log_all("one");
  logger_->SetCategoryFilter("workflow/signal");
  log_all("two");
  logger_->SetCategoryFilter(nullptr);
  log_all("three");
  logger_->Flush();
  EXPECT_THAT(GetLines(),
              ElementsAre("/workflow/signalpump one", "workflow/FireAllReadySignals one", "/workflow/signalpump two",
                          "/workflow/signalpump three", "workflow/FireAllReadySignals three", "/other three"));
}

TEST_F(LoggerTest, BufferedLinesComeWithFlushAndAtTheEnd) {
  logger_->Log("c", "first");
  EXPECT_EQ(ReadFile(file_), "");
  logger_->Flush();
  EXPECT_EQ(GetLines().size(), 1U);
  logger_->Log("c", "second");
  CloseLog();
  EXPECT_EQ(GetLines().size(), 2U);
}

TEST_F(LoggerTest, EachLineIsWrittenAtOnceWhenAskedFor) {
  CloseLog();
  logger_ = Runtime::Logger::NewForFile(file_.c_str(), Runtime::Logger::Writing::kEachLine);
  ASSERT_NE(logger_, nullptr);
  logger_->Log("c", "first");
  EXPECT_THAT(GetLines(), ElementsAre("c first"));
}

TEST_F(LoggerTest, WritesToAStreamThatStaysOpen) {
  std::FILE* const stream = std::fopen(directory_.file("stream.txt").c_str(), "wb");
  ASSERT_NE(stream, nullptr);
  Runtime::Logger* const logger = Runtime::Logger::NewForStream(stream, Runtime::Logger::Writing::kBuffered);
  logger->Log("c", "text");
  logger->Release();
  EXPECT_GE(std::fputs("after\n", stream), 0);
  EXPECT_EQ(std::fclose(stream), 0);
  EXPECT_THAT(ReadFile(directory_.file("stream.txt")), ::testing::EndsWith("c text\nafter\n"));
}

TEST_F(LoggerTest, SaysWhenLinesWereLost) {
  std::FILE* const stream = std::fopen(file_.c_str(), "rb");  // Cannot be written.
  ASSERT_NE(stream, nullptr);
  Runtime::Logger* const logger = Runtime::Logger::NewForStream(stream, Runtime::Logger::Writing::kBuffered);
  EXPECT_TRUE(logger->Flush());
  logger->Log("c", "lost");
  EXPECT_FALSE(logger->Flush());
  EXPECT_FALSE(logger->Flush());
  logger->Release();
  std::fclose(stream);
}

TEST_F(LoggerTest, IsNotMadeForWhatCannotBeWritten) {
  EXPECT_EQ(Runtime::Logger::NewForStream(nullptr, Runtime::Logger::Writing::kBuffered), nullptr);
  EXPECT_EQ(Runtime::Logger::NewForFile(nullptr, Runtime::Logger::Writing::kBuffered), nullptr);
  errno = 0;
  EXPECT_EQ(
      Runtime::Logger::NewForFile(directory_.file("no/such/log.txt").c_str(), Runtime::Logger::Writing::kBuffered),
      nullptr);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(LoggerTest, LinesOfManyThreadsAreWholeAndInTheOrderOfEach) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 1000; ++i) {
        logger_->Log(t % 2 == 0 ? "even" : "odd", "%d %d", t, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  logger_->Flush();
  std::map<int, int> next;
  for (const std::string& line : GetLines()) {
    std::istringstream words(line);
    std::string category;
    int thread = -1;
    int number = -1;
    ASSERT_TRUE(words >> category >> thread >> number) << line;
    ASSERT_EQ(category, thread % 2 == 0 ? "even" : "odd");
    ASSERT_EQ(number, next[thread]++);
  }
  EXPECT_THAT(next, ElementsAre(std::pair(0, 1000), std::pair(1, 1000), std::pair(2, 1000), std::pair(3, 1000)));
}

TEST(RecordingLogger, RemembersFormattedLinesWithTheirThreads) {
  RecordingLogger recorder;
  ILogger& logger = recorder;
  logger.SetDefaultCategory("/default");
  logger.Log("/a", "%s-%d", std::string(500, 'x').c_str(), 7);
  logger.Log(nullptr, "50%%");
  std::thread other([&logger] { logger.Log("/a", "other"); });
  const std::thread::id other_id = other.get_id();
  EXPECT_TRUE(recorder.WaitForText("other", 20'000));
  other.join();
  EXPECT_THAT(recorder.GetTexts(), ElementsAre(std::string(500, 'x') + "-7", "50%", "other"));
  EXPECT_THAT(recorder.GetTexts("/a"), ElementsAre(std::string(500, 'x') + "-7", "other"));
  EXPECT_THAT(recorder.GetTrace(other_id), ElementsAre("/a: other"));
  EXPECT_THAT(recorder.GetTexts(std::this_thread::get_id()).size(), 2U);
  EXPECT_EQ(recorder.GetTrace()[1], "/default: 50%");
  EXPECT_EQ(recorder.CountText("other"), 1U);
  EXPECT_EQ(recorder.GetDefaultCategory(), "/default");
  EXPECT_EQ(recorder.GetDefaultCategoryCalls(), 1U);
  recorder.Clear();
  EXPECT_TRUE(recorder.GetLines().empty());
  EXPECT_FALSE(recorder.WaitForText("other", 1));
}

}  // namespace
