// The two runs of the example, with fewer signals, in a directory of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {

class BridgeRuns : public ProgramFixture {
 protected:
  static constexpr int kCount = 120;

  static std::string TextEntry(const std::string& name, const std::string& value) {
    return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
  }
  static std::string ListEntry(const std::string& name, const std::string& value) {
    return "<" + name + " __type=\"strlist\"><__ListEntries><__item0>" + value + "</__item0></__ListEntries></" + name +
           ">";
  }
  static void Replace(std::string& text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
  }

  // A flow of the example with these parameters of its bridge instead of the port.
  void WriteFlow(const std::string& name, const std::string& parameters) {
    std::string text = ReadFile(SourceFolder() / "examples" / "12_two_machines" / name);
    Replace(text, ">300<", ">" + std::to_string(kCount) + "<");
    Replace(text, TextEntry("Port", "{env:BROKER_PORT}"), parameters);
    if (text.find("Delay") != std::string::npos) Replace(text, ">10<", ">5<");
    WriteFile(directory_.path() / name, text);
  }

  // In a flow that was written.
  void Change(const std::string& name, const std::string& from, const std::string& to) const {
    std::string text = ReadFile(directory_.path() / name);
    Replace(text, from, to);
    WriteFile(directory_.path() / name, text);
  }

  void Start(const std::string& flow) {
    std::unique_ptr<ChildProcess>& run = runs_[flow];
    if (run == nullptr) run = std::make_unique<ChildProcess>(ORVFLOW_PROGRAM, Arguments{"run", File(flow)});
  }
  void StartAll() {
    Start("south.xml");
    Start("north.xml");
  }
  // As kill -9 does.
  void Kill(const std::string& flow) { runs_[flow].reset(); }
  int Stop(const std::string& flow) {
    runs_[flow]->Interrupt();
    const int exit_code = runs_[flow]->Wait().exit_code;
    runs_[flow].reset();
    return exit_code;
  }

  // The record of a run has become longer, by some deliveries. False when there is none any more.
  bool WaitForProgress(bool north, std::chrono::seconds most = std::chrono::seconds(120)) {
    const std::filesystem::path state =
        directory_.path() / (north ? "north.state.xml.record" : "south.state.xml.record");
    const std::filesystem::path result = directory_.path() / "orders.txt";
    const auto limit = std::chrono::steady_clock::now() + most;
    // A run that goes on begins its record anew.
    std::size_t least = Used(state);
    for (std::size_t used = least; used < least + 2000; used = Used(state)) {
      least = std::min(least, used);
      if (std::filesystem::exists(result) || std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }

  // So many are in the outbox, or have been.
  void WaitForOutbox(int number) const {
    WaitForText("south.state.xml.record", "/BridgeOut/North/Outbox/N" + std::to_string(number));
  }
  // The file is there, and holds the text.
  void WaitForText(const std::string& name, const std::string& text) const {
    const std::filesystem::path file = directory_.path() / name;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(file) || ReadFile(file).find(text) == std::string::npos) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << text;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

  // Some are on their way yet.
  bool IsUnderWay() const { return !std::filesystem::exists(directory_.path() / "orders.txt"); }

  void ExpectAllDelivered(int count = kCount) {
    StartAll();
    for (const char* flow : {"south.xml", "north.xml"}) {
      const ProcessResult result = runs_[flow]->Wait();
      EXPECT_EQ(result.exit_code, 0) << flow << result.output << result.error;
      runs_[flow].reset();
    }
    int sum = 0;
    std::string expected;
    for (int i = 1; i <= count; ++i) {
      sum += i;
      expected += std::to_string(i) + ",";
    }
    EXPECT_EQ(ReadFile(directory_.path() / "orders.txt"), "sum " + std::to_string(sum) + ": " + expected + "\n");
  }

  // The file is larger than what is written in it: zeros stand behind that.
  static std::size_t Used(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return 0;
    const std::string bytes = ReadFile(file);
    return bytes.find_last_not_of('\0') + 1;
  }

  std::map<std::string, std::unique_ptr<ChildProcess>> runs_;
};

}  // namespace orv_test
