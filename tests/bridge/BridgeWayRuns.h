// Two runs with a bridge between them, each with a record, and what the program tells of these records.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "nlohmann/json.hpp"
#include "tests/bridge/BridgeRuns.h"

namespace orv_test {

class BridgeWayRuns : public BridgeRuns {
 protected:
  using Json = nlohmann::json;
  static constexpr int kSignals = 6;

  void SetUp() override { WriteBoth("", ""); }
  // With more parameters of the bridge at each end.
  void WriteBoth(const std::string& of_sender, const std::string& of_receiver) {
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    WriteFlow("south.xml", transport + of_sender);
    WriteFlow("north.xml", transport + of_receiver);
    for (const char* flow : {"south.xml", "north.xml"}) Change(flow, ">120<", ">" + std::to_string(kSignals) + "<");
  }

  std::string South() const { return File("south.record"); }
  std::string North() const { return File("north.record"); }
  void Begin(const std::string& name, const Arguments& more = {}) {
    Arguments arguments = {"run", File(name + ".xml"), "--record", File(name + ".record")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    runs_[name + ".xml"] = std::make_unique<ChildProcess>(ORVFLOW_PROGRAM, arguments);
  }
  void End(const std::string& name) {
    const ProcessResult result = runs_[name + ".xml"]->Wait();
    EXPECT_EQ(result.exit_code, 0) << name << result.output << result.error;
    runs_[name + ".xml"].reset();
  }
  void RunBoth() {
    Begin("south");
    Begin("north");
    End("south");
    End("north");
  }

  // The deliveries that orvflow history tells of.
  std::vector<Json> Deliveries(const Arguments& records) const {
    Arguments arguments = {"history", "--json"};
    arguments.insert(arguments.end(), records.begin(), records.end());
    const ProcessResult history = Run(arguments);
    EXPECT_EQ(history.exit_code, 0) << history.error;
    std::vector<Json> deliveries;
    std::istringstream lines(history.output);
    for (std::string line; std::getline(lines, line);) {
      const Json event = Json::parse(line);
      if (event["event"] == "delivery") deliveries.push_back(event);
    }
    return deliveries;
  }
  std::vector<Json> Together() const { return Deliveries({North(), "--with", South()}); }
  static std::vector<Json> With(const std::vector<Json>& deliveries, const std::string& member) {
    std::vector<Json> found;
    std::copy_if(deliveries.begin(), deliveries.end(), std::back_inserter(found),
                 [&](const Json& each) { return each.contains(member); });
    return found;
  }
  static Json PlaceOf(const Json& delivery) {
    return {{"record", delivery["record"]}, {"run", delivery["run"]}, {"number", delivery["number"]}};
  }

  // Each number came once, after the delivery that the other end names as the one that sent it.
  static void ExpectWhole(const std::vector<Json>& deliveries) {
    std::vector<int> numbers;
    for (std::size_t i = 0; i < deliveries.size(); ++i) {
      if (!deliveries[i].contains("came")) continue;
      const Json& came = deliveries[i]["came"];
      numbers.push_back(came["number"]);
      const auto sent = std::find_if(deliveries.begin(), deliveries.end(),
                                     [&](const Json& each) { return PlaceOf(each) == came["sent_by"]; });
      ASSERT_LT(sent - deliveries.begin(), static_cast<std::ptrdiff_t>(i)) << deliveries[i];
      EXPECT_EQ((*sent)["sent"]["sender"], came["sender"]);
      EXPECT_EQ((*sent)["sent"]["number"], came["number"]);
      EXPECT_EQ((*sent)["sent"]["came_as"], Json::array({PlaceOf(deliveries[i])}));
    }
    std::vector<int> all;
    for (int number = 1; number <= kSignals; ++number) all.push_back(number);
    EXPECT_EQ(numbers, all);
  }
};

}  // namespace orv_test
