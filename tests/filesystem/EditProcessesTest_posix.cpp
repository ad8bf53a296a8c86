// Two processes that edit one file.
#include <sys/wait.h>
#include <unistd.h>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/support/ForkAlone_posix.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Prepends and appends by turns; answers how often it was true.
int EditOften(const std::string& path) {
  constexpr int kRounds = 60;
  int succeeded = 0;
  const orv_test::PString text("x");
  CFileSystem* object = new CFileSystem;
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  for (int i = 0; i < kRounds; ++i) {
    const bool done = i % 2 == 0 ? face->PrependFileString(path.c_str(), text.out())
                                 : face->AppendFileString(path.c_str(), text.out());
    succeeded += done ? 1 : 0;
  }
  object->Release();
  return succeeded;
}

TEST(EditProcesses, WhatAnsweredTrueIsInTheFile) {
  const orv_test::TempDirectory directory;
  const std::string path = (directory.path() / "a").string();
  orv_test::WriteFile(path, "");
  const pid_t child = orv_test::ForkAlone();
  ASSERT_GE(child, 0);
  if (child == 0) ::_exit(EditOften(path));
  const int own = EditOften(path);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_GT(own + WEXITSTATUS(status), 0);
  EXPECT_EQ(orv_test::ReadFile(path).size(), static_cast<std::size_t>(own + WEXITSTATUS(status)));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
