// Which signal came over a bridge, and which delivery sent it, from the entries of a record; those that runs rarely
// write, too.
#include "orvflow/history/BridgeWays.h"

#include <gtest/gtest.h>

#include <string>

namespace orv_test {
namespace {

using OrvWorkFlow::Journal::Event;
using OrvWorkFlow::Journal::Kind;
using OrvWorkFlow::Journal::Route;
using OrvWorkFlow::Journal::Unit;
using OrvWorkFlow::Program::BridgeWays;
using OrvWorkFlow::Program::LetterKey;
using Lack = BridgeWays::Lack;

class BridgeWaysTest : public ::testing::Test {
 protected:
  void Begin(const std::string& name, bool continued = true) {
    Event event;
    event.kind = Kind::RunBegun;
    event.name = name;
    event.is_marked = continued;
    ways_.Take(event);
  }
  // The state in which a run begins, and whose it was.
  void Snapshot(const std::string& entries, const std::string& before = "") {
    Event event;
    event.kind = Kind::Snapshot;
    event.before = before;
    event.texts = {"<?xml version=\"1.0\"?>\n<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\">" + entries +
                   "</IDictionaryRoot>"};
    ways_.Take(event);
  }
  static std::string Inbox(int number, int told, int taken) {
    const auto entry = [](const std::string& name, int value) {
      return "<" + name + " __type=\"int\">" + std::to_string(value) + "</" + name + ">";
    };
    return "<BridgeIn><In><Sender __type=\"str\">s</Sender>" + entry("Number", number) + entry("Told", told) +
           entry("Taken", taken) + "</In></BridgeIn>";
  }
  void Change(const std::string& path, const std::string& text, Unit unit = {}) {
    Event event;
    event.kind = Kind::Change;
    event.path = path;
    event.texts = {text};
    event.unit = unit;
    ways_.Take(event);
  }
  void Deliver(std::uint64_t number, bool ends = true) {
    Event event;
    event.kind = Kind::DeliveryBegun;
    event.number = number;
    ways_.Take(event);
    event.kind = Kind::DeliveryEnded;
    if (ends) ways_.Take(event);
  }
  void Send(std::uint64_t delivery, int letter, bool ends = true) {
    Change("/BridgeOut/Out/Next", std::to_string(letter + 1), {Unit::Kind::Delivery, delivery});
    Deliver(delivery, ends);
  }
  void Queue(std::uint64_t number, bool restored, bool has_more = false, std::uint64_t held = 0) {
    const Route& route = number % 2 == 0 ? even_ : odd_;
    Event event;
    event.kind = Kind::SignalQueued;
    event.number = number;
    event.route = &route;
    event.is_marked = restored;
    event.has_more = has_more;
    event.held = held;
    ways_.Take(event);
  }
  void Come(std::uint64_t number, int letter) {
    Change("/BridgeIn/In/Sender", "s", {Unit::Kind::Held, number});
    Change("/BridgeIn/In/Number", std::to_string(letter), {Unit::Kind::Held, number});
    Queue(number, false, false, number);
  }
  std::uint64_t Came(unsigned run, std::uint64_t number) const {
    const auto* const came = ways_.CameWith({run, number});
    return came == nullptr ? 999 : came->key.number;
  }
  // The delivery; 0 for none.
  std::uint64_t SenderOf(const std::string& id, std::uint64_t number) const {
    const auto place = ways_.FindSend({id, number});
    return place ? place->number : 0;
  }

  // One mapping for even numbers, another one for odd ones.
  const Route even_ = {"BridgeIn", "In", "received", "T", "A", "go"};
  const Route odd_ = {"BridgeIn", "In", "received", "T", "B", "go"};
  BridgeWays ways_;
};

TEST_F(BridgeWaysTest, AllMappingsOfOneSignalGetItsNumber) {
  Begin("one", false);
  Change("/BridgeIn/In/Sender", "s", {Unit::Kind::Held, 1});
  Change("/BridgeIn/In/Number", "7", {Unit::Kind::Held, 1});
  Queue(1, false, true);
  Queue(2, false, false, 1);
  // Of another sender with the same number, which is not written again.
  Change("/BridgeIn/In/Sender", "t", {Unit::Kind::Held, 2});
  Queue(3, false, false, 2);
  for (const std::uint64_t number : {1U, 2U, 3U}) Deliver(number);
  EXPECT_EQ(Came(1, 1), 7U);
  EXPECT_EQ(Came(1, 2), 7U);
  EXPECT_EQ(ways_.CameWith({1, 3})->key, (LetterKey{"t", 7}));
  EXPECT_EQ(ways_.arrivals().at({"s", 7}).size(), 2U);
  EXPECT_EQ(ways_.arrivals().at({"t", 7}).size(), 1U);
}

TEST_F(BridgeWaysTest, WhatWaitedWhenARunWasKilledIsKnownInTheNextOne) {
  Begin("one", false);
  Come(2, 1);
  Come(4, 2);
  Come(6, 3);
  Deliver(2);
  Deliver(4, false);
  Begin("two");
  Queue(2, true);
  Queue(4, true);
  Snapshot(Inbox(3, 3, 0), "one");
  Deliver(2);
  Deliver(4);
  EXPECT_EQ(Came(2, 2), 2U);
  EXPECT_EQ(Came(2, 4), 3U);
  for (const std::uint64_t number : {1U, 2U, 3U}) EXPECT_EQ(ways_.arrivals().at({"s", number}).size(), 1U) << number;
}

TEST_F(BridgeWaysTest, WhatCannotBeToldIsNotGuessed) {
  Begin("one", false);
  Come(2, 1);
  // A run between them is not in the record; two wait.
  Begin("three");
  Queue(2, true);
  Queue(4, true);
  Snapshot(Inbox(9, 9, 7), "two");
  Deliver(2);
  EXPECT_EQ(Came(2, 2), 0U);
  EXPECT_EQ(Came(2, 4), 0U);
  // The one that it waits for is the last one that it told of.
  Begin("four");
  Queue(6, true);
  Snapshot(Inbox(9, 9, 8), "gone");
  Deliver(6);
  EXPECT_EQ(Came(3, 6), 9U);
  // A signal that failed is delivered once more: nobody is waited for.
  Begin("five");
  Queue(8, true);
  Snapshot(Inbox(9, 9, 9), "gone");
  Deliver(8);
  EXPECT_EQ(Came(4, 8), 0U);
}

TEST_F(BridgeWaysTest, ADeliveryThatDidNotEndHasSentNothing) {
  Begin("one", false);
  Change("/BridgeOut/Out/Id", "a");
  Send(3, 1);
  Send(5, 2, false);
  EXPECT_EQ(SenderOf("a", 1), 3U);
  EXPECT_EQ(SenderOf("a", 2), 0U);
  EXPECT_FALSE(ways_.SentBy({1, 5}).has_value());
  Begin("two");
  Send(9, 2);
  EXPECT_EQ(ways_.FindSend({"a", 2})->run, 2U);
  EXPECT_EQ(ways_.SentBy({2, 9})->key, (LetterKey{"a", 2}));
}

TEST_F(BridgeWaysTest, AWorkflowThatBeginsAnewIsAnotherSender) {
  Begin("one", false);
  Change("/BridgeOut/Out/Id", "a");
  Send(3, 1);
  Begin("two", false);
  Change("/BridgeOut/Out/Id", "b");
  Send(4, 1);
  EXPECT_EQ(SenderOf("a", 1), 3U);
  EXPECT_EQ(SenderOf("b", 1), 4U);
  // So is one that goes on from a state that began anew elsewhere.
  Begin("four");
  Snapshot("<BridgeOut><Out><Id __type=\"str\">c</Id><Next __type=\"int\">8</Next></Out></BridgeOut>", "three");
  Send(5, 8);
  EXPECT_EQ(SenderOf("b", 1), 4U);
  EXPECT_EQ(SenderOf("c", 8), 5U);
  EXPECT_EQ(ways_.WhyNotSent({"c", 7}), Lack::BeginsLater);
  EXPECT_EQ(ways_.WhyNotSent({"c", 9}), Lack::EndsEarlier);
  EXPECT_EQ(ways_.WhyNotSent({"d", 1}), Lack::OtherSender);
  EXPECT_EQ(ways_.WhyNotSent({"", 1}), Lack::OtherSender);
}

TEST_F(BridgeWaysTest, ALetterThatWasPutBackIntoTheOutboxHasNoDelivery) {
  Begin("one", false);
  Change("/BridgeOut/Out/Id", "a");
  Send(3, 1);
  Begin("two");
  Snapshot("<BridgeOut><Out><Id __type=\"str\">a</Id><Next __type=\"int\">3</Next></Out></BridgeOut>", "one");
  Send(4, 3);
  EXPECT_EQ(SenderOf("a", 3), 4U);
  EXPECT_EQ(ways_.WhyNotSent({"a", 2}), Lack::SentAgain);
}

TEST_F(BridgeWaysTest, WhatWasDealtAnewCountsAsItWasDealtLast) {
  Begin("one", false);
  Send(3, 1);
  Send(4, 2);
  Change("/BridgeOut/Out/Receivers/east/Id", "e");
  Change("/BridgeOut/Out/Receivers/west/Id", "w");
  EXPECT_EQ(ways_.SentBy({1, 3})->key.sender, "");
  Change("/BridgeOut/Out/Dealt/N1", "east 1");
  Change("/BridgeOut/Out/Dealt/N2", "east 2");
  Change("/BridgeOut/Out/Dealt/N1", "west 1");
  Change("/BridgeOut/Out/Dealt/N2", "east 1");
  EXPECT_EQ(ways_.SentBy({1, 3})->key, (LetterKey{"w", 1}));
  EXPECT_EQ(ways_.SentBy({1, 4})->share, "east");
  EXPECT_EQ(SenderOf("w", 1), 3U);
  EXPECT_EQ(SenderOf("e", 1), 4U);
}

TEST_F(BridgeWaysTest, EntriesWithoutSenseAreNothing) {
  Snapshot("<BridgeOut/>");
  Begin("one");
  Snapshot("<BridgeOut><Out><Id>");
  for (const char* path :
       {"/BridgeOut", "/BridgeOut/", "/BridgeOut/Out", "/BridgeOut/Out/Next/", "/BridgeOut/Out/Dealt",
        "/BridgeOut/Out/Dealt/x", "/BridgeOut/Out/Receivers/e", "/BridgeIn/In/Number", "/Bridge"}) {
    Change(path, "12x", {Unit::Kind::Delivery, 1});
  }
  Queue(2, false, false, 5);
  Deliver(2);
  Deliver(1);
  EXPECT_EQ(Came(1, 2), 0U);
  EXPECT_TRUE(ways_.arrivals().empty());
}

}  // namespace
}  // namespace orv_test
