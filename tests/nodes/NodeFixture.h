// Work nodes in a process with the real library: its dictionary and file system as global objects, and a handler that
// records what the nodes fire.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"
#include "nodes/backup/BackupJob.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Nodes {

class NodeFixture : public ::testing::Test, public IOutgoingSignalHandler {
 public:
  bool Signal(IWorkNode* /*node*/, const char* signal_name) override {
    fired_.emplace_back(signal_name);
    return true;
  }

 protected:
  struct Releaser {
    void operator()(IWorkNode* node) const { node->Release(); }
  };
  using NodePointer = std::unique_ptr<IWorkNode, Releaser>;

  void SetUp() override {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("CoreObjects")) << WorkFlowFactory::LastLoadError();
    IBaseWorkFlowObject* const dictionary = WorkFlowFactory::CreateNewGlobalObject("Dictionary");
    ASSERT_NE(dictionary, nullptr);
    dictionary_ = static_cast<IDictionary*>(dictionary->QueryInterface("IDictionary"));
    ASSERT_NE(dictionary_, nullptr);
    ASSERT_NE(WorkFlowFactory::CreateNewGlobalObject("FileSystem"), nullptr);
  }

  void TearDown() override {
    WorkFlowFactory::ReleaseGlobalObjects();
    WorkFlowFactory::UnloadSharedLibraries();
  }

  template <class Node>
  NodePointer Make(const char* instance_name = "Instance") {
    NodePointer node(new Node);
    EXPECT_TRUE(node->Initialise(instance_name));
    node->SetOutgoingSignalHandler(this);
    return node;
  }

  // What was fired since the last call.
  std::vector<std::string> TakeFired() { return std::exchange(fired_, {}); }

  // As a workflow that takes the signal; else the node tells the user of failures.
  void Map(const std::string& type, const std::string& output) {
    const std::string path = "/WorkFlowEngine/WorkNodes/" + type + "/Instances/Instance/maps/" + output + "/map0";
    ASSERT_TRUE(dictionary_->SetValue(path.c_str(), "Any,Any,any"));
  }

  // The job that nodes without parameters work on.
  BackupJob Job() { return BackupJob(*dictionary_, "Default"); }

  void SetText(const char* path, const std::string& text) { ASSERT_TRUE(dictionary_->SetValue(path, text.c_str())); }

  // Source folder "source", target folder "target", report "report.txt", all in the test's directory.
  void SetUpJob() {
    SetText("/Jobs/Default/SourceFolder", directory_.file("source"));
    SetText("/Jobs/Default/TargetFolder", directory_.file("target"));
    SetText("/Jobs/Default/ReportFile", directory_.file("report.txt"));
    std::filesystem::create_directories(directory_.path() / "source");
  }

  void WriteSource(const std::string& name, std::string_view bytes) {
    const std::filesystem::path file = directory_.path() / "source" / name;
    std::filesystem::create_directories(file.parent_path());
    orv_test::WriteFile(file, bytes);
  }

  orv_test::TempDirectory directory_;
  IDictionary* dictionary_ = nullptr;

 private:
  std::vector<std::string> fired_;
};

using Signals = std::vector<std::string>;

}  // namespace OrvWorkFlow::Nodes
