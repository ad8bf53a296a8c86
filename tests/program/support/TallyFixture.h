// Runs that count in the dictionary, and can be cut off anywhere.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "journal/RecordReader.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {

class TallyFixture : public ProgramFixture {
 protected:
  static std::string Text(const std::string& name, const std::string& value) {
    return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
  }
  static std::string Maps(const std::string& signal, const std::vector<std::string>& receivers) {
    std::string text = "<" + signal + ">";
    for (std::size_t i = 0; i < receivers.size(); ++i) text += Text("map" + std::to_string(i), receivers[i]);
    return text + "</" + signal + ">";
  }

  // A counts to the limit, and tells B and C; then it is asked to end. With a timer that is what makes A count.
  void WriteTallies(int limit, bool hangs, bool has_timer = false) const {
    std::string tallies =
        "<TallyNode><Binaries>" + Text("win32_bin", "ProgramNodes") + "</Binaries><Instances><A><maps>";
    std::vector<std::string> receivers = {"TallyNode,B,go", "TallyNode,C,go"};
    if (!has_timer) receivers.emplace_back("TallyNode,A,go");
    tallies += Maps("out", receivers) + Maps("end", {"TallyNode,B,go", "TallyNode,A,end"}) +
               "</maps></A><B/><C/></Instances></TallyNode>";
    if (has_timer) {
      tallies += "<Timer><Binaries>" + Text("win32_bin", "FlowNodes") +
                 "</Binaries><Instances><T><Parameters><Milliseconds __type=\"int\">3</Milliseconds><Times "
                 "__type=\"int\">" +
                 std::to_string(limit) + "</Times></Parameters><maps>" + Maps("tick", {"TallyNode,A,go"}) +
                 "</maps></T></Instances></Timer>";
    }
    const std::string start = has_timer ? Text("ReceiverTypeName", "Timer") + Text("ReceiverInstanceName", "T") +
                                              Text("IncomingSignalName", "start")
                                        : Text("ReceiverTypeName", "TallyNode") + Text("ReceiverInstanceName", "A") +
                                              Text("IncomingSignalName", "go");
    WriteFile(Flow(), "<IDictionaryRoot><WorkFlowEngine>" + Text("WorkFlowName", "Test") + "<AbsorbTree>" +
                          Text("node0", "Test") + "</AbsorbTree><Mappings><StartSignal>" + start +
                          "</StartSignal></Mappings><WorkNodes>" + tallies + "</WorkNodes></WorkFlowEngine><Counting>" +
                          Text("Log", Log()) + "<Limit __type=\"int\">" + std::to_string(limit) +
                          "</Limit><Hang __type=\"int\">" + (hangs ? "1" : "0") +
                          "</Hang></Counting></IDictionaryRoot>");
  }

  std::string Flow() const { return File("flow.xml"); }
  std::string State() const { return File("flow.state.xml"); }
  std::string Record() const { return File("flow.state.xml.record"); }
  std::string Log() const { return File("log"); }
  std::string LogText() const { return std::filesystem::exists(Log()) ? ReadFile(Log()) : std::string(); }

  // Until the text stands in the log; false after a minute.
  bool WaitForLog(const std::string& text) const {
    for (int i = 0; i < 6000; ++i) {
      if (LogText().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  std::string Value(const std::string& path) const {
    ProcessResult result = Run({"dict", "get", State(), path});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    while (!result.output.empty() && result.output.back() == '\n') result.output.pop_back();
    return result.output;
  }
  void ExpectCounts(int limit) const {
    EXPECT_EQ(Value("/Counting/A"), std::to_string(limit));
    EXPECT_EQ(Value("/Counting/B"), std::to_string(limit));
    EXPECT_EQ(Value("/Counting/C"), std::to_string(limit - 1));
  }
};

struct Cut {
  std::size_t size = 0;       // of the record
  std::size_t delivered = 0;  // deliveries that have ended in it
  bool has_snapshot = false;
};

inline std::vector<Cut> CutsOf(const std::string& record) {
  std::vector<Cut> cuts;
  OrvWorkFlow::Journal::RecordReader reader(record);
  OrvWorkFlow::Journal::Event event;
  Cut cut;
  while (reader.Next(&event)) {
    cut.size = static_cast<std::size_t>(reader.offset());
    if (event.kind == OrvWorkFlow::Journal::Kind::DeliveryEnded) ++cut.delivered;
    if (event.kind == OrvWorkFlow::Journal::Kind::Snapshot) cut.has_snapshot = true;
    cuts.push_back(cut);
  }
  return cuts;
}

}  // namespace orv_test
