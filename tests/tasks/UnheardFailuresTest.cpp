// What a node says when nothing in the workflow takes the signal with which it fails.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class UnheardFailuresTest : public TaskFixture {
 protected:
  // The same failure, first unheard, then as the workflow's business.
  void ExpectTold(const std::string& signal, const std::string& reason) {
    EXPECT_EQ(Do(signal), Signals{"failed"});
    EXPECT_THAT(bench_->TakeMessages(), ElementsAre(HasSubstr(reason)));
    MapFailed();
    EXPECT_EQ(Do(signal), Signals{"failed"});
    EXPECT_THAT(bench_->TakeMessages(), IsEmpty());
    EXPECT_THAT(Problem(), HasSubstr(reason));
  }
};

TEST_F(UnheardFailuresTest, OfALoop) {
  Make("FlowNodes", "ForEach").SetParameter("Over", "lines");
  bench_->SetParameter("What", File("missing"));
  ExpectTold("start", "no such file");
}

TEST_F(UnheardFailuresTest, OfALine) {
  std::filesystem::create_directories(File("folder"));
  Make("FlowNodes", "LogLine").SetParameter("File", File("folder"));
  bench_->SetParameter("Text", "a line");
  ExpectTold("write", "is a folder");
}

TEST_F(UnheardFailuresTest, OfAProgram) {
  Make("ProcessNodes", "RunProgram").SetParameter("Program", File("missing"));
  ExpectTold("run", "cannot be started");
}

TEST_F(UnheardFailuresTest, OfAProgramWithAVariableWithoutAValue) {
  Make("ProcessNodes", "RunProgram").SetParameter("Program", File("missing"));
  SetListParameter("Environment", {"NAME=", "LONELY"});
  ExpectTold("run", "\"LONELY\" is no variable; write NAME=VALUE");
}

}  // namespace
}  // namespace orv_test
