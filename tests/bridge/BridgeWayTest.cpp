// The way of a signal from one run to the other, as history and why tell it from the records of both.
#include "tests/bridge/BridgeWayRuns.h"
#include "tests/program/page/PageClient.h"

namespace orv_test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class BridgeWayTest : public BridgeWayRuns {
 protected:
  ProcessResult Why(const std::string& what, const Arguments& more = {}) const {
    Arguments arguments = {"why", North(), what};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  // The receiver takes nothing; the sender does something with what came back.
  void RefuseAll() {
    Change("north.xml", "__item0>order<", "__item0>letter<");
    Change("south.xml", "</Parameters>\n\t\t</North>",
           "</Parameters><maps><dead><map0 __type=\"str\">Delay,Late,start</map0></dead></maps></North>");
    Change("south.xml", "</Instances></Delay>",
           "<Late><wfName __type=\"str\">South</wfName><Parameters><Milliseconds __type=\"int\">1</Milliseconds>"
           "</Parameters></Late></Instances></Delay>");
    Begin("north");
    Begin("south");
    End("south");
    EXPECT_EQ(Stop("north.xml"), 6);
  }
};

TEST_F(BridgeWayTest, EachEndTellsWhatItSentAndWhatCame) {
  RunBoth();
  const std::vector<Json> sent = With(Deliveries({South()}), "sent");
  const std::vector<Json> came = With(Deliveries({North()}), "came");
  ASSERT_EQ(sent.size(), std::size_t{kSignals});
  ASSERT_EQ(came.size(), std::size_t{kSignals});
  for (std::size_t i = 0; i < sent.size(); ++i) {
    EXPECT_EQ(sent[i]["receiver"]["instance"], "North");
    EXPECT_EQ(sent[i]["sent"]["number"], i + 1);
    EXPECT_EQ(came[i]["came"]["number"], i + 1);
    EXPECT_EQ(came[i]["came"]["sender"], sent[i]["sent"]["sender"]);
    EXPECT_EQ(sent[i]["sent"]["sender"].get<std::string>().size(), 32U);
    EXPECT_EQ(sent[i]["sent"]["receiver"].get<std::string>().size(), 32U) << "the first one, too";
    EXPECT_FALSE(came[i]["came"].contains("sent_by"));
  }
  const std::string id = sent[0]["sent"]["sender"].get<std::string>().substr(0, 8);
  EXPECT_THAT(Run({"history", South()}).output,
              HasSubstr("\n                             sent: number 1 of sender " + id + ", to "));
  EXPECT_THAT(Run({"history", North()}).output,
              HasSubstr("\n                             came: number 6 of sender " + id + "\n"));
}

TEST_F(BridgeWayTest, TheDeliveriesOfBothAreOneList) {
  RunBoth();
  const std::vector<Json> deliveries = Together();
  ExpectWhole(deliveries);
  EXPECT_EQ(deliveries.size(), Deliveries({South()}).size() + Deliveries({North()}).size());
  const ProcessResult text = Run({"history", South(), "--with", North()});
  EXPECT_EQ(text.error, "");
  EXPECT_THAT(text.output, ContainsRegex("\nnorth  *came: number 1 of sender \\w*, sent by south 2\n"));
  EXPECT_THAT(text.output, ContainsRegex("\nsouth  *sent: number 1 of sender \\w*, came as north 2\n"));
  std::istringstream lines(text.output);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line.starts_with("north ") || line.starts_with("south ")) << line;
  }
  // What is not shown counts for the order all the same.
  const std::vector<Json> lists = Deliveries({North(), "--with", South(), "--node", "List", "--signal", "set"});
  EXPECT_EQ(lists.size(), std::size_t{kSignals});
}

TEST_F(BridgeWayTest, WhyGoesOnInTheRecordOfTheSender) {
  RunBoth();
  const int first = With(Deliveries({North()}), "came")[0]["number"];
  const ProcessResult alone = Why(std::to_string(first));
  EXPECT_EQ(alone.exit_code, 0) << alone.error;
  EXPECT_THAT(alone.output, HasSubstr("came: number 1 of sender "));
  EXPECT_THAT(alone.output, HasSubstr("goes on in the record of its sender: --with FILE\n"));
  EXPECT_THAT(alone.output, Not(HasSubstr("the beginning")));
  const ProcessResult both = Why(std::to_string(first), {"--with", South()});
  EXPECT_EQ(both.exit_code, 0) << both.error;
  EXPECT_THAT(both.output, ContainsRegex("^north .* List.set .*\nnorth .*sent by south 2\n"
                                         "south .* North.send .* <- 1 Orders.counted\nsouth .*came as north 2\n"
                                         "south .* Orders.count .* <- the beginning -> 2,3\n$"));
  EXPECT_THAT(Why("List", {"--with", South()}).output, StartsWith("List ran 6 times; the last, and what led to it:\n"));
}

TEST_F(BridgeWayTest, ThePageOfTheReceiverTellsTheWayToo) {
  RunBoth();
  const std::string first = std::to_string(With(Deliveries({North()}), "came")[0]["number"].get<int>());
  const std::string token_file = File("token");
  WriteFile(token_file, kPageToken);
  Arguments arguments = {"ui", North(), "--token-file", token_file};
  {
    ChildProcess alone(ORVFLOW_PROGRAM, arguments);
    const std::uint16_t port = PageClient::PortOf(alone);
    ASSERT_NE(port, 0);
    const nlohmann::json moment = PageClient::GetJson(port, "/api/moment?d=" + first);
    ASSERT_EQ(moment["bridge"].size(), 1U) << moment["bridge"];
    EXPECT_THAT(moment["bridge"][0], StartsWith("came: number 1 of sender "));
    EXPECT_TRUE(moment["elsewhere"].empty());
    EXPECT_TRUE(PageClient::GetJson(port, "/api/moment?d=0")["bridge"].empty());
    EXPECT_TRUE(alone.Interrupt());
    EXPECT_EQ(alone.Wait().exit_code, 0);
  }
  arguments.insert(arguments.end(), {"--with", South()});
  ChildProcess both(ORVFLOW_PROGRAM, arguments);
  const std::uint16_t port = PageClient::PortOf(both);
  ASSERT_NE(port, 0);
  const nlohmann::json moment = PageClient::GetJson(port, "/api/moment?d=" + first);
  EXPECT_THAT(moment["bridge"][0], ContainsRegex("^came: number 1 of sender .*, sent by south 2$"));
  ASSERT_EQ(moment["elsewhere"].size(), 2U) << moment["elsewhere"];
  EXPECT_EQ(moment["elsewhere"][0]["delivery"], "south 2");
  EXPECT_EQ(moment["elsewhere"][0]["sender"], "Counter Orders.counted");
  EXPECT_EQ(moment["elsewhere"][0]["receiver"], "BridgeOut North.send");
  EXPECT_EQ(moment["elsewhere"][1]["receiver"], "Counter Orders.count");
  EXPECT_EQ(moment["elsewhere"][1]["sender"], nullptr);
  EXPECT_THAT(PageClient::GetJson(port, "/api/why?instance=List")["text"], HasSubstr("\nsouth "));
  EXPECT_TRUE(both.Interrupt());
  EXPECT_EQ(both.Wait().exit_code, 0);
}

// Each signal is delivered once, and the record says so, whoever is killed.
TEST_F(BridgeWayTest, WhatIsSentAgainAfterAKillCountsOnce) {
  Change("south.xml", "<Milliseconds __type=\"int\">5<", "<Milliseconds __type=\"int\">300<");
  Begin("south");
  Begin("north");
  WaitForOutbox(2);
  Kill("south.xml");
  Begin("south");
  WaitForOutbox(3);
  Kill("north.xml");
  Begin("north");
  WaitForOutbox(4);
  Kill("south.xml");
  Kill("north.xml");
  RunBoth();
  ExpectWhole(Together());
}

TEST_F(BridgeWayTest, WhatTheSenderNoLongerHasIsSaid) {
  Change("south.xml", "<Milliseconds __type=\"int\">5<", "<Milliseconds __type=\"int\">300<");
  Begin("south");
  Begin("north");
  WaitForOutbox(2);
  EXPECT_EQ(Stop("south.xml"), 6);
  std::filesystem::rename(South(), File("first.record"));
  Begin("south");
  End("south");
  End("north");
  const int first = With(Deliveries({North()}), "came")[0]["number"];
  EXPECT_THAT(Why(std::to_string(first), {"--with", South()}).output,
              HasSubstr("south.record begins after it was sent\n"));
  const int last = With(Deliveries({North()}), "came")[kSignals - 1]["number"];
  EXPECT_THAT(Why(std::to_string(last), {"--with", File("first.record")}).output,
              HasSubstr("first.record ends before it was sent\n"));
  // Both together have all; their workflow is the same, so they are called by their files.
  const std::vector<Json> all = Deliveries({North(), "--with", File("first.record"), "--with", South()});
  ExpectWhole(all);
  EXPECT_EQ(all.front()["record"].get<std::string>().find(".record"), 5U);
}

TEST_F(BridgeWayTest, WhatCameBackIsTracedToWhatSentIt) {
  RefuseAll();
  const std::vector<Json> deliveries = Deliveries({South()});
  const std::vector<Json> sent = With(deliveries, "sent");
  const std::vector<Json> returned = With(deliveries, "returned");
  ASSERT_EQ(sent.size(), std::size_t{kSignals});
  ASSERT_EQ(returned.size(), std::size_t{kSignals});
  for (std::size_t i = 0; i < sent.size(); ++i) {
    EXPECT_EQ(sent[i]["sent"]["refused"], "the receiver takes no signal \"order\"");
    EXPECT_EQ(returned[i]["returned"]["in_outbox"], i + 1);
    EXPECT_EQ(returned[i]["returned"]["sent_by"]["number"], sent[i]["number"]);
  }
  const ProcessResult why = Run({"why", South(), returned[0]["number"].dump()});
  EXPECT_THAT(why.output, ContainsRegex("Late.start .*\n *came back: number 1 of North, sent by 2\n *refused: .*\n"
                                        ".* North.send .*\n *sent: .*\n *refused: .*\n.*<- the beginning"));
  EXPECT_TRUE(With(Deliveries({North()}), "came").empty());
}

TEST_F(BridgeWayTest, OneOfSeveralReceiversIsNamed) {
  WriteBoth(ListEntry("Receivers", "east"), ListEntry("Receiver", "east"));
  RunBoth();
  const std::vector<Json> deliveries = Together();
  ExpectWhole(deliveries);
  for (const Json& each : With(deliveries, "sent")) EXPECT_EQ(each["sent"]["share"], "east");
  EXPECT_THAT(Run({"history", South()}).output, ContainsRegex("sent: number 1 of sender \\w*, to east\n"));
}

TEST_F(BridgeWayTest, RecordsThatDoNotBelongTogetherAreRefusedOrNamed) {
  RunBoth();
  const auto with = [&](const std::string& other) { return Run({"history", North(), "--with", other}); };
  const auto expect = [](const ProcessResult& result, int exit_code, const std::string& text) {
    EXPECT_EQ(result.exit_code, exit_code) << result.error;
    EXPECT_THAT(result.error, HasSubstr(text));
  };
  expect(with(File("missing.record")), 1, "missing.record: no such file");
  expect(with(North()), 1, "north.record: holds the same run as ");
  std::filesystem::copy_file(North(), File("copy.record"));
  expect(with(File("copy.record")), 1, "copy.record: holds the same run as ");
  expect(with(File("north.xml")), 5, "north.xml: is no record of a run");
  expect(Run({"history", North(), "--with", South(), "--follow"}), 2, "--follow shows one record; leave --with out");
  expect(Run({"history", "--with", South()}), 2, "no record given");

  std::string bytes = ReadFile(South());
  bytes[bytes.find("/BridgeOut/North/Outbox/N4")] ^= 1;
  WriteFile(File("damaged.record"), bytes);
  const ProcessResult damaged = with(File("damaged.record"));
  expect(damaged, 5, "damaged.record: damaged at byte ");
  EXPECT_THAT(damaged.output, ContainsRegex("\nnorth .*came: number 1 of sender \\w*, sent by south 2\n"));
  EXPECT_THAT(damaged.output, ContainsRegex("\nnorth .*came: number 6 of sender \\w*\n"));
  EXPECT_EQ(Why("List", {"--with", File("damaged.record")}).exit_code, 5);

  // Of the same workflows, and nothing went from one to the other.
  std::filesystem::rename(North(), File("other.record"));
  std::filesystem::remove_all(File("net"));
  RunBoth();
  const ProcessResult stranger = Run({"history", File("other.record"), "--with", North()});
  expect(stranger, 0, "other.record: no signal went over a bridge between its runs and those of the others");
  expect(stranger, 0, "north.record: no signal went over a bridge between its runs and those of the others");
  EXPECT_THAT(Run({"why", File("other.record"), "List", "--with", North()}).output,
              HasSubstr("no record here is that of its sender; --with adds one\n"));
}

TEST_F(BridgeWayTest, TheSchemaNamesWhatIsSaidOfBridges) {
  RefuseAll();
  std::vector<Json> all = Deliveries({South()});
  std::filesystem::remove_all(File("net"));
  Change("north.xml", "__item0>letter<", "__item0>order<");
  std::filesystem::remove(South());
  std::filesystem::remove(North());
  Begin("south", {"--fresh"});
  Begin("north", {"--fresh"});
  End("south");
  End("north");
  for (const Json& each : Together()) all.push_back(each);
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "history.schema.json").string()));
  Json described;
  for (const Json& form : schema["oneOf"]) {
    EXPECT_TRUE(form["properties"].contains("record"));
    if (form["properties"]["event"]["const"] == "delivery") described = form["properties"];
  }
  for (const char* member : {"sent", "came", "returned"}) {
    const std::vector<Json> found = With(all, member);
    ASSERT_FALSE(found.empty()) << member;
    for (const Json& each : found) {
      const Json& form = described[member];
      for (const auto& [name, value] : each[member].items()) EXPECT_TRUE(form["properties"].contains(name)) << name;
      for (const Json& name : form["required"]) EXPECT_TRUE(each[member].contains(name.get<std::string>())) << name;
    }
  }
}

}  // namespace
}  // namespace orv_test
