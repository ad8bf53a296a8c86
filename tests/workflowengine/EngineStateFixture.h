// An engine with a real file system, and workflows in files.
#pragma once

#include <filesystem>
#include <string>

#include "filesystem/FileSystemObject.h"
#include "tests/support/TempDirectory.h"
#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {

class EngineStateTest : public EngineTest {
 protected:
  EngineStateTest() { AddGlobal("FileSystem", file_system.get()); }
  ~EngineStateTest() override { engine.reset(); }

  void Set(const std::string& path, const char* value) { EXPECT_TRUE(dictionary.SetValue(path.c_str(), value)); }

  // A workflow of the given name and write directory, as a file; the dictionary is empty afterwards.
  void WriteFlow(const char* name, const std::string& its_directory) {
    Set("/WorkFlowEngine/WorkFlowName", name);
    Set("/WorkFlowEngine/AbsorbTree/node0", name);
    if (!its_directory.empty()) {
      Set(std::string("/WorkFlowEngine/Directories/") + name + "/WriteDir", its_directory.c_str());
    }
    WriteDictionary();
  }
  void WriteDictionary() {
    ASSERT_TRUE(dictionary.SaveFile(flow.c_str()));
    dictionary.Delete("/");
  }

  void QueueSignals(int count) {
    AddMapping("T", "i", "done", "R", "r", "s");
    for (int i = 0; i < count; ++i) ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  }

  std::string FilePath(const char* workflow) {
    const PString path;
    return Engine().GetWorkFlowFilePath(workflow, path.out()) ? path.str() : "(none)";
  }

  // The part of a dictionary file that holds the queue.
  static std::string SavedQueue(const std::string& file) {
    const std::string text = ReadFile(file);
    const std::size_t begin = text.find("<SignalQueue>");
    const std::size_t end = text.find("</SignalQueue>");
    EXPECT_LT(begin, end) << text;
    return begin < end ? text.substr(begin, end - begin) : std::string();
  }

  bool MarkerExists() const { return std::filesystem::exists(marker); }

  TempDirectory directory;
  const std::string flow = directory.file("flow.xml");
  const std::string write_directory = directory.file("write");
  const std::string marker = write_directory + "/WorkFlowIsRunning.txt";
  Owned<OrvWorkFlow::IFileSystemA> file_system =
      MakeObject<OrvWorkFlow::Core::FileSystem::CFileSystemObjectCreator, OrvWorkFlow::IFileSystemA>("IFileSystemA");
};

}  // namespace orv_test
