// What an operation knows of its paths, and for how long.
#include "platform/PathMemory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "platform/posix/HostPath.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

class PathMemoryTest : public testing::Test {
 protected:
  PathMemoryTest() {
    HostPath host;
    EXPECT_TRUE(ToHostPath("C:\\orvpaths", &host));
    folder_ = host.path;
    std::filesystem::create_directories(folder_);
  }
  ~PathMemoryTest() override { std::filesystem::remove_all(folder_); }

  // The name on the host of a name on "C:".
  static std::string Name(const std::string& name) {
    HostPath host;
    EXPECT_TRUE(ToHostPath("C:\\orvpaths\\" + name, &host));
    return host.path.substr(host.path.rfind('/') + 1);
  }
  void Make(const char* name) { std::filesystem::create_directory(folder_ / name); }
  void Rename(const char* from, const char* to) { std::filesystem::rename(folder_ / from, folder_ / to); }

  std::filesystem::path folder_;
};

TEST_F(PathMemoryTest, APathIsFoundOnce) {
  Make("Name");
  {
    const PathMemory paths;
    EXPECT_EQ(Name("nAME"), "Name");
    EXPECT_EQ(Name("other"), "other");
    Rename("Name", "NAME");
    Make("OTHER");
    EXPECT_EQ(Name("nAME"), "Name");
    EXPECT_EQ(Name("other"), "other");
    EXPECT_EQ(Name("name"), "NAME") << "another spelling is another path";
  }
  EXPECT_EQ(Name("nAME"), "NAME");
  EXPECT_EQ(Name("other"), "OTHER");
}

TEST_F(PathMemoryTest, ManyPaths) {
  const PathMemory paths;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 20; ++i) {
      const std::string name = "name" + std::to_string(i);
      EXPECT_EQ(Name(name), name);
    }
  }
}

TEST_F(PathMemoryTest, AnOperationInsideAnotherLooksForItself) {
  Make("Name");
  const PathMemory outer;
  EXPECT_EQ(Name("nAME"), "Name");
  Rename("Name", "NAME");
  {
    const PathMemory inner;
    EXPECT_EQ(Name("nAME"), "NAME");
    std::string in_other_thread;
    std::thread([&] { in_other_thread = Name("nAME"); }).join();
    EXPECT_EQ(in_other_thread, "NAME");
  }
  EXPECT_EQ(Name("nAME"), "Name");
}

TEST_F(PathMemoryTest, WhatIsRefusedStaysRefused) {
  const PathMemory paths;
  HostPath host;
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(ToHostPath("", &host));
    EXPECT_FALSE(ToHostPath("D:\\a", &host));
    EXPECT_FALSE(ToHostPath("a:b", &host));
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System::Posix
