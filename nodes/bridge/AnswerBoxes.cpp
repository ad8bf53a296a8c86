#include "nodes/bridge/AnswerBoxes.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/SendingEnd.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr char kAskers[] = "Askers";
constexpr char kReceiver[] = "Receiver";
constexpr char kHalted[] = "Halted";

}  // namespace

Sdk::NodeRecord AnswerBoxes::RecordOf(const Sdk::NodeRecord& record, const Id& asker) {
  return Sdk::NodeRecord(Outbox::Dictionary(), record.PathOf(kAskers) + "/S" + asker.Text());
}

void AnswerBoxes::BeginDelivery(const Sdk::NodeRecord& record) {
  const std::lock_guard lock(mutex_);
  if (!is_loaded_) {
    for (const std::string& name : Base::NamesBelow(Outbox::Dictionary(), record.PathOf(kAskers))) {
      const Id asker = Id::FromText(std::string_view(name).substr(std::min<std::size_t>(1, name.size())));
      if (asker.IsNone()) continue;
      const auto box = std::make_shared<Outbox>();
      box->Load(RecordOf(record, asker));
      boxes_[asker] = box;
    }
    is_loaded_ = true;
  }
  for (const auto& [asker, box] : boxes_) box->NoteDelivery();
}

void AnswerBoxes::Add(const Sdk::NodeRecord& record, const Id& asker, const std::string& letter) {
  Sdk::NodeRecord own = RecordOf(record, asker);
  std::shared_ptr<Outbox> box;
  {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<Outbox>& found = boxes_[asker];
    if (found == nullptr) {
      found = std::make_shared<Outbox>();
      found->Load(own);
      own.SetText(kReceiver, asker.Text());  // It is the only one who may get them.
    }
    box = found;
  }
  box->Add(own, letter);
}

AnswerBoxes::Boxes AnswerBoxes::All() const {
  const std::lock_guard lock(mutex_);
  return boxes_;
}

std::size_t AnswerBoxes::Count() const {
  std::size_t count = 0;
  for (const auto& [asker, box] : All()) count += box->Count();
  return count;
}

AnswerSender::AnswerSender(Place place, AnswerBoxes& boxes, Transport& transport, bool rebinds)
    : place_(std::move(place)), boxes_(boxes), transport_(transport), rebinds_(rebinds) {}

// Null as long as nobody needed it in this process, and when nothing may be sent to the asker.
AnswerSender::One* AnswerSender::Find(const Id& asker, bool is_needed) {
  const auto found = ones_.find(asker);
  if (found != ones_.end()) return &found->second;
  if (!is_needed) return nullptr;
  Sdk::NodeRecord record = AnswerBoxes::RecordOf(place_.record, asker);
  const bool is_halted = !record.Text(kHalted).empty();
  if (is_halted && !rebinds_) return nullptr;
  if (is_halted) record.Remove(kHalted);
  return &ones_.emplace(asker, One{MakeSender(record, place_.id, is_halted), {}}).first->second;
}

void AnswerSender::SpeakUp(const std::function<bool()>& is_delivered) {
  for (const auto& [asker, box] : boxes_.All()) {
    One* const one = Find(asker, box->Count() > 0);
    if (one == nullptr) continue;
    one->sender.Release(box->Released(is_delivered));
    const SendingEnd end{one->sender, transport_, AddressOf(place_.bridge, asker)};
    end.SpeakUp(AnswerBoxes::RecordOf(place_.record, asker), *box);
  }
}

void AnswerSender::Hear(const Ack& ack, const Events& events) {
  const AnswerBoxes::Boxes boxes = boxes_.All();
  const auto found = boxes.find(ack.receiver);
  if (found == boxes.end() || ack.sender != place_.id) return;
  One* const one = Find(ack.receiver, true);  // Which may want to hear that it is done.
  if (one == nullptr) return;
  Outbox& box = *found->second;
  Sdk::NodeRecord record = AnswerBoxes::RecordOf(place_.record, ack.receiver);
  const SendingEnd end{one->sender, transport_, AddressOf(place_.bridge, ack.receiver)};
  const Sender::Change change = one->sender.Hear(ack, Now());
  for (const Refusal& refusal : change.refusals) events.park(box, record, refusal);
  end.Note(record, box, change);
  if (box.Count() > 0) {
    one->farewell.Forget();
  } else if (change.is_settled) {
    one->farewell.Say(end);
  } else {
    one->farewell.NoteAnswer(end);
  }
  const std::string halted = WhyHalted(one->sender, change);
  if (!halted.empty()) events.halt(record, halted);
}

bool AnswerSender::IsAlone() const {
  return std::any_of(ones_.begin(), ones_.end(),
                     [](const auto& one) { return !one.second.sender.IsSettled() && one.second.sender.IsAlone(); });
}

}  // namespace OrvWorkFlow::Nodes::Bridge
