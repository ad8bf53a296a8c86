// Log files on a disk that is full for a while.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <cerrno>
#include <string>

#include "runtime/log/Logger.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

// Files of this process can grow to so many bytes and no further, for as long as it lives.
class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit before_ = {};
};

TEST(FullDiskLogTest, SaysHowManyLinesAreMissingWhereTheyAre) {
  const TempDirectory directory;
  const std::string file = directory.file("log.txt");
  Runtime::Logger* const logger =
      Runtime::Logger::NewForAppending(file.c_str(), Runtime::Logger::Writing::kEachLine, {});
  ASSERT_NE(logger, nullptr);
  logger->Log("c", "first");
  const std::size_t length = ReadFile(file).size();
  {
    const FileLimit limit(length + 10);
    logger->Log("c", "second");
    logger->Log("c", "third");
    EXPECT_FALSE(logger->Flush());
    EXPECT_EQ(logger->GetFirstError(), EFBIG);
  }
  logger->Log("c", "fourth");
  logger->Log("c", "fifth");
  EXPECT_FALSE(logger->Flush()) << "it stays incomplete";
  logger->Release();
  std::string text = ReadFile(file);
  for (std::size_t at = text.find("Z "); at != std::string::npos; at = text.find("Z ")) text.erase(at - 23, 25);
  EXPECT_EQ(text.substr(0, 8), "c first\n");
  EXPECT_NE(text.find("\n- 2 lines are missing here: File too large\nc fourth\nc fifth\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("third"), std::string::npos);
}

}  // namespace
