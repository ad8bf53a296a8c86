// Random workflows, run in this process and recorded, for tests of what is told of records.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "journal/DictionaryObservers.h"
#include "journal/RunRecord.h"

namespace orv_test {

inline std::string TextOf(OrvWorkFlow::IDictionary& dictionary) {
  const OrvWorkFlow::Sdk::TextHolder text;
  EXPECT_TRUE(dictionary.SaveToText(text.get()));
  return text.Text();
}

inline std::string TextEntry(const std::string& name, const std::string& value) {
  return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
}
inline std::string TypeEntry(const std::string& type, const std::string& instances) {
  return "<" + type + "><Binaries>" + TextEntry("win32_bin", "ProgramNodes") + "</Binaries><Instances>" + instances +
         "</Instances></" + type + ">";
}

// Nodes that change the dictionary at random, and others between them, joined at random.
inline std::string RandomFlowText(unsigned seed) {
  std::mt19937 random(seed);
  const auto scribblers = static_cast<unsigned>(1 + random() % 4);
  const auto echoes = static_cast<unsigned>(random() % 3);
  const auto scribbler = [&] { return "ScribblingNode,S" + std::to_string(random() % scribblers) + ",go"; };
  const auto receiver = [&] {
    switch (random() % 6) {
      case 0:
        return std::string("TallyNode,T,go");
      case 1:
        return std::string("FailingNode,F,") + (random() % 2 == 0 ? "refuse" : "throw");
      case 2:
        return echoes == 0 ? scribbler() : "EchoNode,E" + std::to_string(random() % echoes) + ",go";
      default:
        return scribbler();
    }
  };
  const auto maps = [&](const std::string& signal, const auto& to) {
    std::string text = "<" + signal + ">";
    for (unsigned i = 0, count = random() % 4; i < count; ++i) text += TextEntry("map" + std::to_string(i), to());
    return text + "</" + signal + ">";
  };
  std::string scribbling, echoing;
  for (unsigned i = 0; i < scribblers; ++i) {
    const std::string name = "S" + std::to_string(i);
    scribbling += "<" + name + "><maps>" + maps("one", receiver) + maps("two", receiver) + "</maps></" + name + ">";
  }
  for (unsigned i = 0; i < echoes; ++i) {
    const std::string name = "E" + std::to_string(i);
    echoing += "<" + name + "><maps>" + maps("out", scribbler) + "</maps></" + name + ">";
  }
  const std::string start = TextEntry("ReceiverTypeName", "ScribblingNode") + TextEntry("ReceiverInstanceName", "S0") +
                            TextEntry("IncomingSignalName", "go");
  const std::string nodes = TypeEntry("ScribblingNode", scribbling) + TypeEntry("EchoNode", echoing) +
                            TypeEntry("TallyNode", "<T/>") + TypeEntry("FailingNode", "<F/>");
  return "<IDictionaryRoot><WorkFlowEngine>" + TextEntry("WorkFlowName", "Test") + "<AbsorbTree>" +
         TextEntry("node0", "Test") + "</AbsorbTree><Mappings><StartSignal>" + start +
         "</StartSignal></Mappings><WorkNodes>" + nodes +
         "</WorkNodes></WorkFlowEngine><Counting><Limit __type=\"int\">" + std::to_string(1 + random() % 25) +
         "</Limit><Seed __type=\"int\">" + std::to_string(seed) + "</Seed>" + TextEntry("Log", "") +
         "</Counting></IDictionaryRoot>";
}

// Records a run to its end behind what the file holds; `witness` is told what happens, too.
inline void RunRecorded(const std::string& flow, const std::string& file, OrvWorkFlow::Host::WorkflowHost& host,
                        OrvWorkFlow::IRunObserver& witness) {
  OrvWorkFlow::Journal::RunRecord record(file, "record");
  OrvWorkFlow::Journal::DictionaryObservers changes;
  changes.Add(record);
  host.ShowMessagesWith([](const std::string& /*text*/, const std::string& /*caption*/) {});
  host.AddObserver(record);
  host.AddObserver(witness);
  record.Begin({"0.1", "linux", flow, false});
  host.Load(flow);
  record.Snapshot(TextOf(host.dictionary()), "");
  host.dictionary().SetObserver(&changes);
  EXPECT_EQ(host.Run().end, OrvWorkFlow::Host::RunEnd::Idle);
  host.dictionary().SetObserver(nullptr);
  record.End(0);
}

}  // namespace orv_test
