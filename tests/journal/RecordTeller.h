// Records of random runs, and what is read of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "journal/RecordFormat.h"
#include "journal/RecordReader.h"
#include "journal/RunRecord.h"

namespace orv_test {

namespace Journal = OrvWorkFlow::Journal;
using Journal::Event;
using Journal::Kind;
using Journal::RecordReader;
using Journal::RunRecord;
using OrvWorkFlow::IRunObserver;
using State = RecordReader::State;

inline constexpr std::uint64_t kPastQueue = IRunObserver::kPastQueue;

inline std::string Shown(const std::string& text) { return "\"" + text + "\""; }

inline std::string WayOf(const Journal::Route* route) {
  if (route == nullptr) return "-";
  return Shown(route->sender_type) + Shown(route->sender_instance) + Shown(route->sender_signal) +
         Shown(route->receiver_type) + Shown(route->receiver_instance) + Shown(route->receiver_signal);
}

inline std::string WayOf(const IRunObserver::Sender& sender, const IRunObserver::Receiver& receiver) {
  return Shown(sender.type) + Shown(sender.instance) + Shown(sender.signal) + Shown(receiver.type) +
         Shown(receiver.instance) + Shown(receiver.signal);
}

// All of an event but its time.
inline std::string TextOf(const Event& event) {
  std::string text = std::to_string(static_cast<int>(event.kind));
  for (const std::uint64_t number : {event.number, event.cause, event.count}) text += " " + std::to_string(number);
  text += " " + WayOf(event.route) + (event.is_marked ? " marked " : " ") +
          std::to_string(static_cast<int>(event.outcome)) + std::to_string(static_cast<int>(event.loss)) + " " +
          std::to_string(event.exit_code);
  for (const std::string* const part :
       {&event.text, &event.type, &event.instance, &event.path, &event.program, &event.platform}) {
    text += Shown(*part);
  }
  return text;
}

struct Content {
  std::vector<std::string> events;
  State state = State::Reading;
  std::string problem;
};

inline Content ReadAll(const std::string& path, RecordReader::Torn torn = RecordReader::Torn::IsDamage) {
  Content content;
  RecordReader reader(path, torn);
  Event event;
  std::uint64_t last = 0;
  while (reader.Next(&event)) {
    if (event.kind != Kind::RunBegun) {
      EXPECT_GE(event.time, last);
      last = event.time;
    } else {
      last = 0;
    }
    content.events.push_back(TextOf(event));
  }
  content.state = reader.state();
  content.problem = reader.problem();
  return content;
}

// Tells a record at random, and keeps the texts of what it told.
class Teller {
 public:
  // Some texts are as long as texts can be, unless it `is_brief`.
  explicit Teller(unsigned seed, bool is_brief = false) : random_(seed) {
    for (int i = 0; i < 12; ++i) names_.push_back(RandomText(i % 4 == 0 && !is_brief ? 300 : 12));
    names_.emplace_back();
    if (!is_brief) names_.push_back(std::string(Journal::kMostText, 'x'));
  }

  void Begin(RunRecord& record, bool continued) {
    record.Begin({"0.1", "linux", "/flows/a.xml", continued});
    Event event;
    event.kind = Kind::RunBegun;
    event.is_marked = continued;
    event.program = "0.1";
    event.platform = "linux";
    event.path = "/flows/a.xml";
    told.push_back(TextOf(event));
  }

  void Tell(RunRecord& record) {
    Event event;
    const IRunObserver::Sender sender{Name(), Name(), Name()};
    IRunObserver::Receiver receiver{Name(), Name(), Name()};
    event.number = Number();
    event.cause = Number();
    event.text = names_[Random(names_.size())];
    const std::string path = names_[Random(names_.size())];
    event.is_marked = Random(2) == 0;
    event.count = Random(5);
    std::string way = WayOf(sender, receiver);
    const int kind = 3 + static_cast<int>(Random(11));
    event.kind = static_cast<Kind>(kind);
    switch (event.kind) {
      case Kind::SignalQueued:
        record.SignalQueued({event.number, event.cause, sender, receiver, event.is_marked});
        Clear(event, {&event.text}, {&event.count});
        break;
      case Kind::SignalsDropped:
        event.number &= kPastQueue - 1;
        record.SignalsDropped(event.number, event.count);
        Clear(event, {&event.text}, {&event.cause});
        event.is_marked = false;
        way.clear();
        break;
      case Kind::DeliveryBegun:
        record.DeliveryBegun({event.number, sender, receiver});
        Clear(event, {&event.text}, {&event.cause, &event.count});
        event.is_marked = false;
        if (event.number < kPastQueue) way.clear();
        break;
      case Kind::DeliveryEnded:
        event.outcome = static_cast<IRunObserver::Outcome>(Random(7));
        record.DeliveryEnded({event.number, sender, receiver}, event.outcome, event.text.c_str());
        Clear(event, {}, {&event.cause, &event.count});
        event.is_marked = false;
        if (event.outcome == IRunObserver::Outcome::Accepted) event.text.clear();
        if (event.number < kPastQueue) way.clear();
        break;
      case Kind::SignalIgnored:
        record.SignalIgnored({event.cause, sender, event.is_marked});
        Clear(event, {&event.text}, {&event.number, &event.count});
        way = WayOf(sender, {});
        break;
      case Kind::MappingNotRead:
        record.MappingNotRead({event.cause, sender, path.c_str(), event.is_marked ? event.text.c_str() : nullptr,
                               static_cast<std::uint32_t>(event.count)});
        event.number = 0;
        event.path = path;
        if (!event.is_marked) event.text.clear();
        way = WayOf(sender, {});
        break;
      case Kind::SignalLost:
        event.loss = static_cast<IRunObserver::LossReason>(Random(2));
        record.SignalLost({event.cause, sender, receiver, event.loss, static_cast<std::uint32_t>(event.count)});
        Clear(event, {&event.text}, {&event.number});
        event.is_marked = false;
        break;
      case Kind::RebootSignalFired:
        record.RebootSignalFired(event.number, receiver);
        Clear(event, {&event.text}, {&event.cause, &event.count});
        event.is_marked = false;
        way = WayOf({}, receiver);
        break;
      case Kind::NodeMade:
        record.NodeMade(receiver.type, receiver.instance);
        event.type = receiver.type;
        event.instance = receiver.instance;
        Clear(event, {&event.text}, {&event.number, &event.cause, &event.count});
        event.is_marked = false;
        way.clear();
        break;
      default:
        event = {};
        event.kind = Kind::StateSaved;
        record.NoteSave();
        way.clear();
        break;
    }
    std::string text = TextOf(event);
    if (!way.empty()) text.replace(text.find(" - "), 3, " " + way + " ");
    told.push_back(text);
  }

  void End(RunRecord& record, int code) {
    record.End(code);
    Event event;
    event.kind = Kind::RunEnded;
    event.exit_code = code;
    told.push_back(TextOf(event));
  }

  std::vector<std::string> told;

 private:
  std::size_t Random(std::size_t below) { return random_() % below; }
  std::string RandomText(std::size_t most) {
    std::string text;
    for (std::size_t size = Random(most + 1); text.size() < size;) text += static_cast<char>(1 + Random(255));
    return text;
  }
  const char* Name() { return names_[Random(names_.size())].c_str(); }
  std::uint64_t Number() {
    switch (Random(4)) {
      case 0:
        return kPastQueue + Random(100);
      case 1:
        return (std::uint64_t{random_()} << 20) + random_();
      default:
        return Random(1000);
    }
  }
  static void Clear(Event& /*event*/, const std::vector<std::string*>& texts,
                    const std::vector<std::uint64_t*>& numbers) {
    for (std::string* const text : texts) text->clear();
    for (std::uint64_t* const number : numbers) *number = 0;
  }

  std::mt19937 random_;
  std::vector<std::string> names_;
};

}  // namespace orv_test
