// How many system calls operations make: each path is looked up once, and a copy costs what it needs.
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/support/ForkAlone_posix.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

constexpr int kTracingForbidden = 77;

// Calls that memory and its checkers make, whatever the work.
bool Counts(std::uint64_t call) {
  for (const long other : {SYS_mmap, SYS_munmap, SYS_mprotect, SYS_madvise, SYS_mremap, SYS_brk, SYS_futex}) {
    if (call == static_cast<std::uint64_t>(other)) return false;
  }
  return true;
}

// The child from its first stop to its second one, and to its end.
std::optional<int> Follow(pid_t child) {
  std::optional<int> count;
  int status = 0;
  for (int stops = 0; ::waitpid(child, &status, 0) == child && WIFSTOPPED(status);) {
    if (WSTOPSIG(status) == SIGSTOP && stops++ == 0) {
      ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
      count = 0;
    } else if (WSTOPSIG(status) == (SIGTRAP | 0x80) && stops == 1) {
      __ptrace_syscall_info info{};
      ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
      if (info.op == PTRACE_SYSCALL_INFO_ENTRY && Counts(info.entry.nr)) ++*count;
    }
    ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? count : std::nullopt;
}

// Runs the work in a child process; empty when that does not end well, or may not be traced.
std::optional<int> CountWithStops(const std::function<bool()>& work) {
  const pid_t child = orv_test::ForkAlone();
  if (child != 0) return Follow(child);
  if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(kTracingForbidden);
  ::raise(SIGSTOP);
  const bool done = work();
  ::raise(SIGSTOP);
  ::_exit(done ? 0 : 1);
}

template <class Char>
class SystemCallsOf : public orv_test::FileSystemTest<Char> {
 protected:
  void SetUp() override {
    idle_ = CountWithStops([] { return true; });
    if (!idle_) GTEST_SKIP() << "no child can be traced here";
  }
  int Count(const std::function<bool()>& work) {
    const std::optional<int> count = CountWithStops(work);
    EXPECT_TRUE(count) << "the work failed";
    return count.value_or(1'000'000) - *idle_;
  }
  bool Copy(const char* from, const char* to) {
    return this->face_->CopyOneFile(this->T(from).c_str(), this->T(to).c_str(), true);
  }

  std::optional<int> idle_;
};
TYPED_TEST_SUITE(SystemCallsOf, orv_test::Widths);

TYPED_TEST(SystemCallsOf, EachFileOfATree) {
  const std::string content(1024, 'c');
  for (int i = 0; i < 150; ++i) {
    const std::string name = "/measured_" + std::to_string(i);
    if (i < 50) this->MakeFile("few" + name, content);
    this->MakeFile("many" + name, content);
  }
  const auto copy = [this](const char* from) {
    return this->Count(
        [=, this] { return this->face_->CopyDirectory(this->At(from).c_str(), this->At("to").c_str(), true); });
  };
  const int few = copy("few");
  std::filesystem::remove_all(this->Host("to"));
  const int many = copy("many");
  EXPECT_LE(many - few, 8 * 100);
  EXPECT_LE(few, 8 * 50 + 40);
  EXPECT_EQ(this->Content("to/measured_149"), content);
}

TYPED_TEST(SystemCallsOf, ACopyOfOneFile) {
  const bool wide = sizeof(TypeParam) > 1;
  ASSERT_TRUE(this->face_->WriteFileBytes(this->T("$TEMP/orvcalls/a").c_str(), "12345", 5));
  const int copy = this->Count([this] { return this->Copy("$TEMP/orvcalls/a", "$TEMP/orvcalls/b"); });
  EXPECT_LE(copy, wide ? 25 : 24);
  const int copy_over = this->Count([this] { return this->Copy("$TEMP/orvcalls/a", "$TEMP/orvcalls/b"); });
  EXPECT_LE(copy_over, 40);
  this->MakeFile("d/a", "12345");
  const int host_copy = this->Count(
      [this] { return this->face_->CopyOneFile(this->At("d\\a").c_str(), this->At("d\\b").c_str(), false); });
  EXPECT_LE(host_copy, wide ? 13 : 12);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("$TEMP/orvcalls").c_str()));
}

TYPED_TEST(SystemCallsOf, OtherOperations) {
  ASSERT_TRUE(this->face_->WriteFileBytes(this->T("$TEMP/orvcalls/a").c_str(), "12345", 5));
  const auto path = this->T("$TEMP/orvcalls/a");
  typename TestFixture::String text;
  EXPECT_LE(this->Count([&] { return this->face_->FileExists(path.c_str()); }), 2);
  EXPECT_LE(this->Count([&] { return this->face_->FileSize(path.c_str()) == 5; }), 8);
  EXPECT_LE(this->Count([&] { return this->face_->ReadFileToString(path.c_str(), text.out()); }), 9);
  EXPECT_LE(this->Count([&] { return this->face_->WriteFileBytes(path.c_str(), "1", 1); }), 15);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("$TEMP/orvcalls").c_str()));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
