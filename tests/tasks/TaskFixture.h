// A node of a plug-in on the bench, with a directory of its own.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeBench.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {

using Signals = std::vector<std::string>;

class TaskFixture : public ::testing::Test {
 protected:
  // The bench that the rest is about; one at a time.
  OrvWorkFlow::Sdk::NodeBench& Make(const std::string& plugin, const std::string& type) {
    bench_.reset();
    type_ = type;
    bench_ = std::make_unique<OrvWorkFlow::Sdk::NodeBench>(plugin, type);
    return *bench_;
  }

  // What the node fired until it was idle.
  Signals Do(const std::string& signal) {
    EXPECT_TRUE(bench_->Signal(signal));
    EXPECT_TRUE(bench_->WaitUntilIdle());
    return bench_->TakeFired();
  }

  // The same, but the node is stopped whenever it has worked so long, and another one goes on, for a little longer each
  // time, so that it comes to its end on any machine. No stop takes long.
  Signals DoInPieces(std::string signal, std::chrono::milliseconds piece) {
    constexpr std::chrono::milliseconds kLongest(1000);  // for builds that are slow, on machines that are busy
    for (bool is_done = false; !is_done; signal = "resume") {
      EXPECT_TRUE(bench_->Signal(signal));
      std::this_thread::sleep_for(piece);
      piece += piece / 8;
      const auto begin = std::chrono::steady_clock::now();
      is_done = !bench_->node()->StopWork();
      EXPECT_LT(std::chrono::steady_clock::now() - begin, kLongest) << "stop " << stops_;
      if (is_done) break;
      ++stops_;
      bench_->Kill();
    }
    return bench_->TakeFired();
  }

  std::string Said(const std::string& name) { return bench_->TextAt("/" + type_ + "/Bench/" + name); }
  std::string Problem() { return Said("Problem"); }
  // As a workflow that takes the signal "failed".
  void MapFailed() {
    bench_->Set("/WorkFlowEngine/WorkNodes/" + type_ + "/Instances/Bench/maps/failed/map0", "Any,Any,any");
  }
  void SetList(const std::string& path, const std::vector<std::string>& items) {
    const OrvWorkFlow::Sdk::TextListHolder list;
    for (const std::string& item : items) list->Add(item.data(), item.size());
    ASSERT_TRUE(bench_->dictionary().SetValue(path.c_str(), list.get()));
  }
  void SetListParameter(const std::string& name, const std::vector<std::string>& items) {
    SetList("/WorkFlowEngine/WorkNodes/" + type_ + "/Instances/Bench/Parameters/" + name, items);
  }

  static bool WaitUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }
  // The node fires something; what.
  Signals WaitForFired() {
    Signals fired;
    WaitUntil([&] {
      fired = bench_->TakeFired();
      return !fired.empty();
    });
    return fired;
  }

  std::string File(const std::string& name) const { return directory_.file(name); }
  void Write(const std::string& name, std::string_view bytes) {
    const std::filesystem::path file = directory_.path() / name;
    std::filesystem::create_directories(file.parent_path());
    WriteFile(file, bytes);
  }
  std::string Read(const std::string& name) const { return ReadFile(directory_.path() / name); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(directory_.path() / name); }

  TempDirectory directory_;
  std::unique_ptr<OrvWorkFlow::Sdk::NodeBench> bench_;
  std::string type_;
  int stops_ = 0;  // of DoInPieces
};

}  // namespace orv_test
