// What a run tells the system's manager of services.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tests/program/support/FailureFixture_posix.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class ServiceTest : public ProgramFixture {
 protected:
  ServiceTest() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~ServiceTest() override { close(socket_); }

  // The next message; "" when none comes within half a minute.
  std::string Next() const {
    pollfd poll_for = {socket_, POLLIN, 0};
    if (poll(&poll_for, 1, 30'000) != 1) return {};
    char bytes[4096];
    const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
    return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
  }
  // Takes messages up to one that begins so.
  bool Reaches(const std::string& begin) const {
    for (std::string text = Next(); !text.empty(); text = Next()) {
      if (text.starts_with(begin)) return true;
    }
    return false;
  }

  const std::string path_ = File("notify");
  int socket_ = -1;
};

TEST_F(ServiceTest, IsToldOfARunAndFedWhileItGoesOn) {
  const EnvironmentVariable where("NOTIFY_SOCKET", path_);
  const EnvironmentVariable watchdog("WATCHDOG_USEC", "400000");
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
  ChildProcess run(ORVFLOW_PROGRAM, {"run", flow});
  EXPECT_EQ(Next(), "READY=1");
  EXPECT_TRUE(Reaches("STATUS="));
  EXPECT_TRUE(Reaches("WATCHDOG=1"));
  EXPECT_TRUE(Reaches("WATCHDOG=1"));
  ASSERT_TRUE(run.Interrupt());
  EXPECT_TRUE(Reaches("STOPPING=1"));
  EXPECT_EQ(run.Wait().exit_code, 6);
}

// In a run that is well a feeding stands between any two lines of status, which are further apart.
TEST_F(ServiceTest, ANodeThatHangsStarvesTheWatchdog) {
  const EnvironmentVariable where("NOTIFY_SOCKET", path_);
  const EnvironmentVariable watchdog("WATCHDOG_USEC", "400000");
  const std::string flow = WriteFlow({{"SleepingNode", "B"}}, "SleepingNode,B,go");
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow});
  int lines_of_status = 0;
  while (lines_of_status < 3) {
    const std::string text = Next();
    ASSERT_NE(text, "") << "nothing more is told";
    if (text == "WATCHDOG=1") lines_of_status = 0;
    if (text.starts_with("STATUS=")) ++lines_of_status;
  }
}

}  // namespace
}  // namespace orv_test
