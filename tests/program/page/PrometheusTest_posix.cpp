// The metrics of a run, as the tool of those who read them judges them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/program/page/PageFixture.h"

namespace orv_test {
namespace {

class PrometheusTest : public PageFixture {};

TEST_F(PrometheusTest, FindsNothingWrongWithTheMetrics) {
  if (std::system("command -v promtool > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "needs promtool: install the package prometheus";
  }
  // With each metric: a failure, an untaken signal, a save.
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=FailingNode,F,throw"}},
                 {"FailingNode", "F"}},
                "CountingNode,A,go");
  const ChildProcess run(ORVFLOW_PROGRAM,
                         {"run", flow, "--ui", "--ui-token-file", token_file_, "--checkpoint", "0.05"});
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  ASSERT_TRUE(Reaches(
      port, [](const nlohmann::json& status) { return status["since_save"].is_number() && status["failed"] > 0; }));
  WriteFile(File("metrics"), Get(port, "/metrics").body);
  const ProcessResult result = RunProcess("/bin/sh", {"-c", "promtool check metrics < '" + File("metrics") + "'"});
  EXPECT_EQ(result.exit_code, 0) << result.output << result.error;
  EXPECT_EQ(result.output + result.error, "");
}

}  // namespace
}  // namespace orv_test
