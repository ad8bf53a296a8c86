#include "runtime/plugin/PluginLoader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class PluginLoaderTest : public ::testing::Test {
 protected:
  ~PluginLoaderTest() override {
    WorkFlowFactory::UnloadSharedLibraries();
    Runtime::PluginLoader::SetPluginDirectories(nullptr, 0);
  }

  static void SetDirectories(const std::vector<std::string>& directories) {
    std::vector<const char*> texts;
    for (const std::string& directory : directories) {
      texts.push_back(directory.c_str());
    }
    Runtime::PluginLoader::SetPluginDirectories(texts.data(), texts.size());
  }

  static std::vector<std::string> GetTypeNames() {
    const PStringList names;
    EXPECT_TRUE(WorkFlowFactory::GetObjectTypeNames(names.out()));
    return names.vec();
  }

  // The plug-in's file beside the test program, under this platform's name.
  static std::filesystem::path FindPluginFile(const std::string& stem) {
    for (const std::string& name : {"lib" + stem + ".so", stem + ".dll"}) {
      const std::filesystem::path file = std::filesystem::absolute(name);
      if (std::filesystem::exists(file)) {
        return file;
      }
    }
    return {};
  }
};

class RecordingHandler final : public IOutgoingSignalHandler {
 public:
  bool Signal(IWorkNode* /*node*/, const char* signal_name) override {
    signals.emplace_back(signal_name);
    return true;
  }

  std::vector<std::string> signals;
};

TEST_F(PluginLoaderTest, LoadsAPlugInAndUsesItsNode) {
  ASSERT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
  ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin")) << WorkFlowFactory::LastLoadError();
  EXPECT_STREQ(WorkFlowFactory::LastLoadError(), "");
  EXPECT_TRUE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
  IWorkNode* const node = WorkFlowFactory::CreateNewWorkNode("TestEcho", "one");
  ASSERT_NE(node, nullptr);
  RecordingHandler handler;
  node->SetOutgoingSignalHandler(&handler);
  EXPECT_TRUE(node->Signal("hello"));
  EXPECT_EQ(handler.signals, std::vector<std::string>{"echo_hello"});
  node->Release();
  WorkFlowFactory::UnloadSharedLibraries();
  EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
}

TEST_F(PluginLoaderTest, RegistersTheTypesOfALibraryInTheirOrder) {
  const std::size_t before = GetTypeNames().size();
  ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin"));
  const std::vector<std::string> names = GetTypeNames();
  ASSERT_EQ(names.size(), before + 2);
  EXPECT_EQ(names[before], "TestEcho");
  EXPECT_EQ(names[before + 1], "TestSilent");
}

TEST_F(PluginLoaderTest, OneNameServesBothPlatforms) {
  const std::string directory = FindPluginFile("GoodPlugin").parent_path().string();
  for (const std::string& name :
       {std::string("GoodPlugin"), std::string("GoodPlugin.dll"), std::string("GoodPlugin.so"),
        std::string("libGoodPlugin.so"), std::string("/workflow/bin/GoodPlugin"),
        std::string("/workflow/bin/GoodPlugin.dll"), std::string("/workflow/bin/libGoodPlugin.so"),
        std::string("\\workflow\\bin\\GoodPlugin.dll"), directory + "/GoodPlugin", directory + "/GoodPlugin.dll",
        directory + "\\GoodPlugin.dll", FindPluginFile("GoodPlugin").string(), std::string("./GoodPlugin")}) {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary(name.c_str())) << name << ": " << WorkFlowFactory::LastLoadError();
    ASSERT_TRUE(WorkFlowFactory::IsWorkNodePresent("TestEcho")) << name;
    WorkFlowFactory::UnloadSharedLibraries();
    ASSERT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestEcho")) << name;
  }
}

TEST_F(PluginLoaderTest, ALoadedLibraryLoadsAgainToNoEffect) {
  const std::size_t before = GetTypeNames().size();
  EXPECT_TRUE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin"));
  EXPECT_TRUE(WorkFlowFactory::LoadSharedLibrary("/workflow/bin/GoodPlugin"));
  EXPECT_TRUE(WorkFlowFactory::LoadSharedLibrary(FindPluginFile("GoodPlugin").string().c_str()));
  EXPECT_EQ(GetTypeNames().size(), before + 2);
  WorkFlowFactory::UnloadSharedLibraries();
  EXPECT_EQ(GetTypeNames().size(), before);
}

TEST_F(PluginLoaderTest, RefusesALibraryWithoutAVersionAndTakesItsTypesAway) {
  const std::vector<std::string> before = GetTypeNames();
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("NoVersionPlugin"));
  EXPECT_THAT(WorkFlowFactory::LastLoadError(),
              AllOf(HasSubstr("NoVersionPlugin"), HasSubstr("is no plug-in"), HasSubstr("OrvWorkFlowPluginVersion")));
  EXPECT_EQ(GetTypeNames(), before);
  EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestUnversioned"));
}

TEST_F(PluginLoaderTest, RefusesALibraryOfAnotherVersion) {
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("WrongVersionPlugin"));
  EXPECT_THAT(WorkFlowFactory::LastLoadError(),
              AllOf(HasSubstr("WrongVersionPlugin"), HasSubstr("was built for version 42"), HasSubstr("needs 1")));
  EXPECT_EQ(WorkFlowFactory::CreateNewWorkNode("TestWrongVersion", "n"), nullptr);
}

TEST_F(PluginLoaderTest, NamesTheFileAndTheSystemsReasonInOneLine) {
  const TempDirectory directory;
  WriteFile(directory.file("libbroken.so"), "this is no library");
  WriteFile(directory.file("broken.dll"), "this is no library");
  SetDirectories({directory.path().string()});
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("broken"));
  const std::string error = WorkFlowFactory::LastLoadError();
  EXPECT_THAT(error,
              AllOf(HasSubstr(directory.path().filename().string()), HasSubstr("broken."), Not(HasSubstr("\n"))));
  EXPECT_GT(error.size(), error.find("broken.") + std::string("broken.dll: ").size()) << "a reason must follow";
}

TEST_F(PluginLoaderTest, NamesWhereItLookedInVain) {
  const TempDirectory directory;
  SetDirectories({directory.path().string()});
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("/workflow/bin/GoodPlugin")) << "only the set directories count";
  EXPECT_THAT(WorkFlowFactory::LastLoadError(),
              AllOf(HasSubstr("/workflow/bin/GoodPlugin: "), HasSubstr(directory.path().string())));
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary(directory.file("GoodPlugin").c_str()));
  EXPECT_THAT(WorkFlowFactory::LastLoadError(), HasSubstr("no such file"));
}

TEST_F(PluginLoaderTest, RefusesNamesOfNoLibrary) {
  for (const char* name : {static_cast<const char*>(nullptr), "", "/workflow/bin/", "/", "./"}) {
    EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary(name));
    EXPECT_THAT(WorkFlowFactory::LastLoadError(), HasSubstr("names no library"));
  }
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("/workflow/bin/../GoodPlugin"));
  EXPECT_THAT(WorkFlowFactory::LastLoadError(), HasSubstr("may not leave the plug-in directory"));
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary(std::filesystem::current_path().string().c_str()))
      << "a directory is no library";
}

TEST_F(PluginLoaderTest, TheFirstDirectoryThatHasTheFileWins) {
  const TempDirectory first;
  const TempDirectory second;
  const std::filesystem::path plugin = FindPluginFile("GoodPlugin");
  std::filesystem::copy(plugin, second.path() / plugin.filename());
  SetDirectories({"", first.path().string()});
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin"));
  Runtime::PluginLoader::AddPluginDirectory(second.path().string().c_str());
  Runtime::PluginLoader::AddPluginDirectory(nullptr);
  EXPECT_TRUE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin")) << WorkFlowFactory::LastLoadError();
  WorkFlowFactory::UnloadSharedLibraries();
  WriteFile(first.path() / plugin.filename(), "broken");
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin")) << "a broken file is not passed over";
  EXPECT_THAT(WorkFlowFactory::LastLoadError(), HasSubstr(first.path().filename().string()));
}

TEST_F(PluginLoaderTest, AnAddedDirectoryComesBehindTheRuntimesOwn) {
  const TempDirectory directory;
  WriteFile(directory.path() / FindPluginFile("GoodPlugin").filename(), "broken");
  Runtime::PluginLoader::AddPluginDirectory(directory.path().string().c_str());
  EXPECT_TRUE(WorkFlowFactory::LoadSharedLibrary("GoodPlugin")) << WorkFlowFactory::LastLoadError();
}

TEST_F(PluginLoaderTest, TheLastErrorIsTheThreadsOwn) {
  EXPECT_FALSE(WorkFlowFactory::LoadSharedLibrary("NoSuchPlugin"));
  std::string other_error = "untouched";
  std::thread([&other_error] { other_error = WorkFlowFactory::LastLoadError(); }).join();
  EXPECT_EQ(other_error, "");
  EXPECT_THAT(WorkFlowFactory::LastLoadError(), HasSubstr("NoSuchPlugin"));
}

TEST_F(PluginLoaderTest, WhatAPlugInThrowsIsCaughtHere) {
  ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("ThrowingPlugin")) << WorkFlowFactory::LastLoadError();
  IWorkNode* const node = WorkFlowFactory::CreateNewWorkNode("TestThrowsInSignal", "n");
  ASSERT_NE(node, nullptr);
  std::string what;
  try {
    node->Signal("standard");
  } catch (const std::exception& error) {
    what = error.what();
  }
  EXPECT_EQ(what, "thrown by a plug-in");
  EXPECT_ANY_THROW(node->Signal("other"));
  node->Release();
  EXPECT_THROW(WorkFlowFactory::CreateNewWorkNode("TestThrowsInConstructor", "n"), std::runtime_error);
  EXPECT_THROW(WorkFlowFactory::CreateNewWorkNode("TestThrowsInInitialise", "standard"), std::runtime_error);
  EXPECT_ANY_THROW(WorkFlowFactory::CreateNewWorkNode("TestThrowsInInitialise", "other"));
}

TEST_F(PluginLoaderTest, ManyThreadsLoadAtOnce) {
  for (int round = 0; round < 5; ++round) {
    std::atomic<int> failures{0};
    std::atomic<int> usable_too_early{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&failures, &usable_too_early, t] {
        failures += WorkFlowFactory::LoadSharedLibrary(t % 2 == 0 ? "GoodPlugin" : "ThrowingPlugin") ? 0 : 1;
        failures += WorkFlowFactory::LoadSharedLibrary("WrongVersionPlugin") ? 1 : 0;
        usable_too_early += WorkFlowFactory::IsWorkNodePresent("TestWrongVersion") ? 1 : 0;
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(usable_too_early, 0);
    EXPECT_TRUE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
    WorkFlowFactory::UnloadSharedLibraries();
    EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
  }
}

}  // namespace
