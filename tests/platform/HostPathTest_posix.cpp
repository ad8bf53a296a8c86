// How platform paths become the host's, and what the host has that Windows has not. For Linux alone: the paths, links
// and names in question exist there only.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <vector>

#include "platform/Platform.h"
#include "platform/posix/HostPath.h"
#include "tests/platform/PlatformTesting.h"

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::PlatformPath;
using orv_test::ReadFile;
using orv_test::TempDirectory;
using orv_test::WriteFile;
using Posix::HostPath;

// A variable of the environment for the length of a scope.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) {
      old_ = old;
      had_old_ = true;
    }
    if (value == nullptr) {
      ::unsetenv(name);
    } else {
      ::setenv(name, value, 1);
    }
  }
  ~Variable() {
    if (had_old_) {
      ::setenv(name_, old_.c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name_;
  std::string old_;
  bool had_old_ = false;
};

std::string Map(std::string_view platform_path) {
  HostPath host;
  return Posix::ToHostPath(platform_path, &host) ? host.path : "none";
}

TEST(HostPath, Mapping) {
  const Variable prefix("ORVFLOW_PREFIX", "/prefix/");
  const std::string current = std::filesystem::current_path().string();
  const struct {
    std::string_view platform_path;
    std::string host;
  } cases[] = {
      {"C:\\a\\b.txt", "/prefix/drive_c/a/b.txt"},
      {"c:/a/b.txt", "/prefix/drive_c/a/b.txt"},
      {"C:", "/prefix/drive_c"},
      {"C:\\", "/prefix/drive_c"},
      {"C:a", "/prefix/drive_c/a"},
      {"C:\\a\\..\\b", "/prefix/drive_c/b"},
      {"C:\\..\\..\\etc\\passwd", "/prefix/drive_c/etc/passwd"},
      {"C:\\a\\.\\b\\", "/prefix/drive_c/a/b"},
      {"C:\\name.\\b.. ", "/prefix/drive_c/name/b"},
      {"C:\\...\\b", "none"},
      {"C:\\ \\b", "none"},
      {"C:\\a:b", "none"},
      {"Z:\\tmp\\x", "/tmp/x"},
      {"z:/tmp//x", "/tmp/x"},
      {"Z:\\name.\\b. ", "/name./b. "},
      {"Z:\\", "/"},
      {"Z:\\..", "/"},
      {"/tmp/x", "/tmp/x"},
      {"/tmp\\x", "/tmp/x"},
      {"//tmp/x", "/tmp/x"},
      {"\\tmp\\x", "/tmp/x"},
      {"\\\\server\\share\\x", "none"},
      {"\\\\?\\C:\\x", "none"},
      {"x\\y", current + "/x/y"},
      {"Z:x", current + "/x"},
      {"Z:", "none"},
      {".", current},
      {"D:\\x", "none"},
      {"1:\\x", "none"},
      {"", "none"},
      {"/tmp/\xFF", "none"},
      {"/tmp/a:b", "none"},
  };
  for (const auto& one : cases) EXPECT_EQ(Map(one.platform_path), one.host) << one.platform_path;
  EXPECT_EQ(Map(std::string_view("/a\0b", 4)), "none");
}

TEST(HostPath, WhereDriveCIs) {
  const Variable prefix("ORVFLOW_PREFIX", "");
  const Variable data("XDG_DATA_HOME", "/data");
  EXPECT_EQ(Map("C:\\x"), "/data/orvflow/drive_c/x");
  const Variable no_data("XDG_DATA_HOME", nullptr);
  const Variable home("HOME", "/home/me");
  EXPECT_EQ(Map("C:\\x"), "/home/me/.local/share/orvflow/drive_c/x");
  const Variable no_home("HOME", nullptr);
  EXPECT_EQ(Map("C:\\x"), "none");
  EXPECT_EQ(Map("Z:\\x"), "/x");
}

TEST(HostPath, BackToPlatformPaths) {
  const Variable prefix("ORVFLOW_PREFIX", "/prefix");
  EXPECT_EQ(Posix::ToDrivePath("/prefix/drive_c/a/b"), "C:\\a\\b");
  EXPECT_EQ(Posix::ToDrivePath("/prefix/drive_c"), "C:\\");
  EXPECT_EQ(Posix::ToDrivePath("/prefix/drive_car/a"), "Z:\\prefix\\drive_car\\a");
  EXPECT_EQ(Posix::ToDrivePath("/usr/bin"), "Z:\\usr\\bin");
  EXPECT_EQ(Posix::ToDrivePath("/"), "Z:\\");
  EXPECT_EQ(Posix::ToDriveZPath("/prefix/drive_c/a"), "Z:\\prefix\\drive_c\\a");
  for (const char* path : {"/a\\b", "/a:b", "/\xFF", "", "relative"}) EXPECT_EQ(Posix::ToDrivePath(path), "") << path;
}

class HostFiles : public ::testing::Test {
 protected:
  std::string At(std::string_view name) { return PlatformPath(directory_.path()) + "\\" + std::string(name); }
  std::string Host(std::string_view name) { return (directory_.path() / name).string(); }
  FilesOf<char>& files() { return SystemPlatform().narrow.files; }
  DirectoriesOf<char>& directories() { return SystemPlatform().narrow.directories; }
  std::uint32_t Attributes(std::string_view name) {
    std::uint32_t attributes = 0;
    return files().GetAttributes(At(name), &attributes) ? attributes : 0;
  }
  SystemResult TryOpen(std::string_view name, Access access, Creation creation) {
    FileHandle handle = FileHandle::None;
    const SystemResult result = files().Open(At(name), access, creation, &handle);
    if (handle != FileHandle::None) SystemPlatform().open_files.Close(handle);
    return result;
  }
  std::vector<std::string> Names(const std::string& directory) {
    return orv_test::TestTree<char>(directory, TreeUse::Read).Names();
  }
  bool IsDirectory(const std::string& path) {
    std::uint32_t attributes = 0;
    return directories().FindFirst(path, &attributes) && (attributes & FileAttribute::kDirectory) != 0;
  }

  TempDirectory directory_;
};

TEST_F(HostFiles, CaseCountsOnTheHostsOwnDrive) {
  WriteFile(Host("Name"), "x");
  EXPECT_NE(Attributes("Name"), 0U);
  EXPECT_EQ(Attributes("name"), 0U);
}

TEST_F(HostFiles, OfTwoNamesThatDifferInCaseTheExactOneWinsElseTheFirst) {
  const Variable prefix("ORVFLOW_PREFIX", Host("prefix").c_str());
  std::filesystem::create_directories(Host("prefix/drive_c/Dir"));
  for (const char* name : {"name", "Name", "NAME"}) WriteFile(Host("prefix/drive_c/Dir/" + std::string(name)), name);
  EXPECT_EQ(Map("C:\\dir\\Name"), Host("prefix/drive_c/Dir/Name"));
  EXPECT_EQ(Map("C:\\DIR\\name"), Host("prefix/drive_c/Dir/name"));
  EXPECT_EQ(Map("C:\\DIR\\nAME"), Host("prefix/drive_c/Dir/NAME"));
  EXPECT_EQ(Map("C:\\dIR\\New\\Deep"), Host("prefix/drive_c/Dir/New/Deep"));
}

TEST_F(HostFiles, LettersOfSeveralAlphabetsHaveTwoCases) {
  const Variable prefix("ORVFLOW_PREFIX", Host("prefix").c_str());
  std::filesystem::create_directories(Host("prefix/drive_c"));
  for (const char* name : {"Grüße", "Файл", "Αρχείο", "Žluťoučký"})
    WriteFile(Host("prefix/drive_c/" + std::string(name)), "");
  EXPECT_EQ(Map("C:\\GRÜßE"), Host("prefix/drive_c/Grüße"));
  EXPECT_EQ(Map("C:\\фАЙЛ"), Host("prefix/drive_c/Файл"));
  EXPECT_EQ(Map("C:\\ΑΡΧΕΊΟ"), Host("prefix/drive_c/Αρχείο"));
  EXPECT_EQ(Map("C:\\žLUŤOUČKÝ"), Host("prefix/drive_c/Žluťoučký"));
}

TEST_F(HostFiles, DriveCIsMadeWhenSomethingIsMadeOnIt) {
  const Variable prefix("ORVFLOW_PREFIX", Host("new/prefix").c_str());
  std::uint32_t attributes = 0;
  EXPECT_FALSE(files().GetAttributes("C:\\", &attributes));
  EXPECT_FALSE(std::filesystem::exists(Host("new"))) << "looking makes nothing";
  EXPECT_EQ(directories().CreateOneDirectory("C:\\d"), SystemResult::Ok);
  EXPECT_TRUE(std::filesystem::is_directory(Host("new/prefix/drive_c/d")));
}

TEST_F(HostFiles, ListingsAreSortedWithoutCase) {
  for (const char* name : {"b", "A", "C", "a1", "_", "B2", "é", "È"}) WriteFile(Host(name), "");
  EXPECT_EQ(Names(PlatformPath(directory_.path())),
            (std::vector<std::string>{"A", "a1", "b", "B2", "C", "_", "È", "é"}));
  std::vector<std::string> many;
  for (int i = 0; i < 3000; ++i) {
    many.push_back("the_common_beginning_" + std::to_string(100000 + i * 7919 % 3000));
    std::filesystem::create_directories(Host("many"));
    WriteFile(Host("many/" + many.back()), "");
  }
  std::sort(many.begin(), many.end());
  EXPECT_EQ(Names(At("many")), many);
}

TEST_F(HostFiles, NamesThatNoPathCanHoldAreNotListed) {
  for (const char* name : {"good", "back\\slash", "col:on", "bad\xFF"}) WriteFile(Host(name), "");
  EXPECT_EQ(Names(PlatformPath(directory_.path())), (std::vector<std::string>{"good"}));
}

TEST_F(HostFiles, ARootHasNoDots) {
  const Variable prefix("ORVFLOW_PREFIX", Host("prefix").c_str());
  EXPECT_EQ(directories().CreateOneDirectory("C:\\d"), SystemResult::Ok);
  std::uint32_t attributes = 0;
  EXPECT_TRUE(directories().FindFirst("C:\\*", &attributes));
  EXPECT_FALSE(directories().FindFirst("C:\\.?", &attributes));
  EXPECT_TRUE(directories().FindFirst("C:\\d\\.?", &attributes));
  EXPECT_EQ(Names("C:\\"), std::vector<std::string>{"d/"});
  EXPECT_EQ(Names("C:"), std::vector<std::string>{"d/"});
}

TEST_F(HostFiles, APathThatEndsInDotsIsADirectory) {
  for (const std::string& path : {std::string("C:\\nope\\.."), At("."), std::string(".")}) {
    EXPECT_TRUE(IsDirectory(path)) << path;
  }
}

TEST_F(HostFiles, Links) {
  std::filesystem::create_directory(Host("d"));
  WriteFile(Host("d/f"), "content");
  std::filesystem::create_symlink("d", Host("to_d"));
  std::filesystem::create_symlink("d/f", Host("to_f"));
  std::filesystem::create_symlink("nowhere", Host("dangling"));
  std::filesystem::create_symlink("loop", Host("loop"));
  constexpr std::uint32_t kLink = FileAttribute::kLink;
  EXPECT_EQ(Attributes("to_d"), kLink | FileAttribute::kDirectory);
  EXPECT_EQ(Attributes("to_f"), kLink);
  EXPECT_EQ(Attributes("dangling"), kLink);
  EXPECT_EQ(Attributes("loop"), kLink);

  std::string target;
  EXPECT_TRUE(files().FollowLink(At("to_f"), &target));
  EXPECT_EQ(target, At("d\\f"));
  EXPECT_TRUE(files().FollowLink(At("dangling"), &target));
  EXPECT_EQ(target, At("nowhere"));
  EXPECT_FALSE(files().FollowLink(At("loop"), &target));

  // The mark of what a link points to stays.
  EXPECT_TRUE(files().SetAttributes(At("to_f"), FileAttribute::kReadOnly));
  EXPECT_EQ(Attributes("d\\f") & FileAttribute::kReadOnly, 0U);

  // A link to a directory is removed as a directory, any other as a file; what they point to stays.
  EXPECT_FALSE(files().RemoveOneFile(At("to_d")));
  EXPECT_FALSE(directories().RemoveOneDirectory(At("to_f")));
  EXPECT_FALSE(directories().RemoveOneDirectory(At("dangling")));
  EXPECT_TRUE(directories().RemoveOneDirectory(At("to_d")));
  for (const char* name : {"to_f", "dangling", "loop"}) EXPECT_TRUE(files().RemoveOneFile(At(name))) << name;
  EXPECT_EQ(Names(PlatformPath(directory_.path())), (std::vector<std::string>{"d/"}));
  EXPECT_EQ(ReadFile(Host("d/f")), "content");
}

// Whoever puts a link where a new file is to be made gets nothing written to where it points.
TEST_F(HostFiles, ANewFileFollowsNoLink) {
  WriteFile(Host("a"), "secret");
  std::filesystem::create_symlink("nowhere", Host("dangling"));
  for (const Creation creation : {Creation::CreateNew, Creation::CreateNewPrivate}) {
    EXPECT_EQ(TryOpen("dangling", Access::Write, creation), SystemResult::Exists);
  }
  EXPECT_FALSE(files().CopyOver(At("a"), At("dangling"), true));
  EXPECT_FALSE(std::filesystem::exists(Host("nowhere")));
}

TEST_F(HostFiles, ALinkUpwardsCountsFromWhereItReallyLies) {
  std::filesystem::create_directories(Host("real/deep"));
  WriteFile(Host("real/file"), "content");
  std::filesystem::create_symlink("real/deep", Host("alias"));
  std::filesystem::create_symlink("../file", Host("real/deep/up"));
  std::string target;
  EXPECT_TRUE(files().FollowLink(At("alias\\up"), &target));
  EXPECT_EQ(target, At("real\\file"));
}

TEST_F(HostFiles, APipeIsAFileThatCannotBeOpened) {
  ASSERT_EQ(::mkfifo(Host("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Attributes("pipe") & FileAttribute::kDirectory, 0U);
  EXPECT_EQ(TryOpen("pipe", Access::Read, Creation::OpenExisting), SystemResult::Denied);
  EXPECT_EQ(TryOpen("pipe", Access::Write, Creation::OpenAlways), SystemResult::Denied);
  EXPECT_FALSE(files().CopyOver(At("pipe"), At("copy"), false));
  WriteFile(Host("a"), "a");
  EXPECT_FALSE(files().CopyOver(At("a"), At("pipe"), false));
  EXPECT_TRUE(files().RemoveOneFile(At("pipe")));
}

TEST_F(HostFiles, AHardLinkIsTheSameFile) {
  WriteFile(Host("a"), "content");
  std::filesystem::create_hard_link(Host("a"), Host("b"));
  std::filesystem::create_symlink("a", Host("c"));
  EXPECT_FALSE(files().CopyOver(At("a"), At("b"), false));
  EXPECT_FALSE(files().CopyOver(At("a"), At("c"), false));
  EXPECT_EQ(ReadFile(Host("a")), "content");
}

TEST_F(HostFiles, ModesOfNewFiles) {
  const mode_t old_mask = ::umask(022);
  struct stat status;
  EXPECT_EQ(TryOpen("private", Access::Write, Creation::CreateNewPrivate), SystemResult::Ok);
  ASSERT_EQ(::stat(Host("private").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(TryOpen("public", Access::Write, Creation::CreateNew), SystemResult::Ok);
  ASSERT_EQ(::stat(Host("public").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
  ASSERT_EQ(::chmod(Host("public").c_str(), 0755), 0);
  EXPECT_TRUE(files().CopyOver(At("public"), At("program"), false));
  ASSERT_EQ(::stat(Host("program").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0755U);
  EXPECT_TRUE(files().CopyPermissions(At("public"), At("private")));
  ASSERT_EQ(::stat(Host("private").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0755U);
  ::umask(old_mask);
}

TEST_F(HostFiles, DirectoriesMarkedReadOnlyAreNotRemoved) {
  std::filesystem::create_directory(Host("d"));
  EXPECT_TRUE(files().SetAttributes(At("d"), FileAttribute::kReadOnly));
  EXPECT_FALSE(directories().RemoveOneDirectory(At("d")));
  EXPECT_TRUE(files().SetAttributes(At("d"), FileAttribute::kNormal));
  EXPECT_TRUE(directories().RemoveOneDirectory(At("d")));
}

TEST_F(HostFiles, HandlesAreNotInherited) {
  FileHandle handle = FileHandle::None;
  ASSERT_EQ(files().Open(At("a"), Access::Write, Creation::OpenAlways, &handle), SystemResult::Ok);
  EXPECT_NE(::fcntl(static_cast<int>(handle), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_TRUE(SystemPlatform().open_files.Close(handle));
}

TEST_F(HostFiles, ACopyThatFailsHalfWayIsRemoved) {
  // The limit of a process's file size breaks the copy, in a process of its own.
  WriteFile(Host("a"), std::string(300000, 'a'));
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100000, 100000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::_exit(files().CopyOver(At("a"), At("b"), false) ? 1 : 0);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(std::filesystem::exists(Host("b")));
}

TEST(Locations, TheTemporaryDirectory) {
  const auto ask = [] {
    char buffer[522] = {};
    SystemPlatform().narrow.locations.TempPath(buffer, 522);
    return std::string(buffer);
  };
  const Variable prefix("ORVFLOW_PREFIX", "/prefix");
  const Variable tmp("TMP", nullptr);
  const Variable temp("TEMP", nullptr);
  const Variable tmpdir("TMPDIR", nullptr);
  EXPECT_EQ(ask(), "Z:\\tmp\\");
  const Variable third("TMPDIR", "/three/");
  EXPECT_EQ(ask(), "Z:\\three\\");
  const Variable second("TEMP", "/prefix/drive_c/two");
  EXPECT_EQ(ask(), "C:\\two\\");
  const Variable first("TMP", "C:\\one");
  EXPECT_EQ(ask(), "C:\\one\\");
}

TEST(Locations, VariablesAreExpanded) {
  const Variable files("ProgramFiles", "C:\\Programs");
  const Variable empty("OrvEmpty", "");
  char buffer[100] = {};
  EXPECT_NE(SystemPlatform().narrow.locations.ExpandVariables("<%ProgramFiles%%OrvEmpty%%%>", buffer, 100), 0U);
  EXPECT_STREQ(buffer, "<C:\\Programs%%>");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
