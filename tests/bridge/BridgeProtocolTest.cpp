// The two ends of a bridge under random schedules: a network that loses, doubles, reorders, delays and forgets, and
// processes that die between any two steps. What was delivered is compared with what was sent.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeSender.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;

// Which faults have occurred in a run.
struct Faults {
  int lost = 0, doubled = 0, overtaken = 0, forgotten = 0, sender_died = 0, receiver_died = 0, refused = 0;
};

class World {
 public:
  explicit World(std::uint32_t seed) : random_(seed) {
    const std::size_t senders = 1 + Draw(3);
    receiver_id_ = {7, seed + 1ULL};
    for (std::size_t i = 0; i < senders; ++i) {
      SenderSide& side = sides_.emplace_back();
      side.standing.id = {i + 1, seed + 1ULL};
      StartSender(side);
    }
    StartReceiver();
  }

  void Disturb(int steps) {
    for (int i = 0; i < steps; ++i) Step(true);
  }

  // Without faults all is delivered in the end.
  bool Settle() {
    for (int i = 0; i < 1000 && !IsSettled(); ++i) {
      now_ += 30;
      for (SenderSide& side : sides_) SpeakFor(side, false);
      while (!network_.empty()) Carry(false);
      while (receiver_->Next() != nullptr) DeliverOne();
      Answer(false);
    }
    return IsSettled();
  }

  void Compare() const {
    for (const SenderSide& side : sides_) {
      std::vector<std::uint64_t> expected;
      std::set<std::uint64_t> parked;
      for (std::uint64_t number = 1; number < side.next; ++number) {
        if (IsRefused(number)) {
          parked.insert(number);
        } else {
          expected.push_back(number);
        }
      }
      const auto found = delivered_.find(side.standing.id);
      EXPECT_EQ(found == delivered_.end() ? std::vector<std::uint64_t>{} : found->second, expected);
      EXPECT_EQ(side.parked, parked);
      EXPECT_EQ(side.halted, "");
    }
  }

  const Faults& faults() const { return faults_; }

 private:
  struct SenderSide {
    Sender::Standing standing;  // as recorded
    std::uint64_t next = 1;
    std::set<std::uint64_t> parked;
    std::string halted;
    std::unique_ptr<Sender> machine;
  };
  struct Packet {
    Id to;
    std::string bytes;
  };

  std::size_t Draw(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }
  static bool IsRefused(std::uint64_t number) { return number % 7 == 3; }

  void StartSender(SenderSide& side) {
    ++side.standing.holder.epoch;
    side.standing.holder.mark = Draw(1000000);
    side.machine = std::make_unique<Sender>(side.standing);
    side.machine->Release(side.next);
  }
  void StartReceiver() {
    receiver_ = std::make_unique<Receiver>(receiver_id_, ++receiver_epoch_, 10);
    for (const auto& [id, standing] : recorded_) receiver_->Know(id, standing);
  }

  void Send(const Id& to, const Frame& frame, bool faulty) {
    if (faulty && Draw(8) == 0) {
      ++faults_.lost;
      return;
    }
    network_.push_back({to, Encode(frame)});
    if (faulty && Draw(8) == 0) {
      ++faults_.doubled;
      network_.push_back(network_.back());
    }
  }

  void Step(bool faulty) {
    now_ += static_cast<std::int64_t>(Draw(30));
    switch (Draw(6)) {
      case 0:
        if (faulty) Produce();
        break;
      case 1:
        SpeakFor(sides_[Draw(sides_.size())], faulty);
        break;
      case 2:
        DeliverOne();
        break;
      case 3:
        Answer(faulty);
        break;
      case 4:
        if (faulty) Harm();
        break;
      default:
        Carry(faulty);
        Carry(faulty);
        break;
    }
  }

  void Produce() {
    SenderSide& side = sides_[Draw(sides_.size())];
    side.next += 1 + Draw(3);
    side.machine->Release(side.next);
  }

  void SpeakFor(SenderSide& side, bool faulty) {
    if (const auto hello = side.machine->Greeting(now_)) Send(receiver_id_, *hello, faulty);
    Sender::Range range = side.machine->ToSend();
    if (range.begin >= range.end) return;
    if (range.end - range.begin > 5) range.end = range.begin + 5;
    side.machine->NoteSending(range.end);
    side.standing.sent = side.machine->standing().sent;
    if (faulty && Draw(20) == 0) return;  // It may die here.
    for (std::uint64_t number = range.begin; number < range.end; ++number) {
      const Sender::Standing& now = side.machine->standing();
      Send(now.receiver, Data{now.id, now.holder, now.receiver, now.first, number, std::to_string(number)}, faulty);
      side.machine->NoteSent(number, now_);
    }
  }

  void DeliverOne() {
    const Data* const data = receiver_->Next();
    if (data == nullptr) return;
    const std::uint64_t number = data->number;
    const Id sender = data->sender;
    ASSERT_EQ(data->letter, std::to_string(number));
    if (IsRefused(number)) {
      receiver_->Refuse(sender, "no such signal");
      ++faults_.refused;
    } else {
      receiver_->Deliver(sender);
      delivered_[sender].push_back(number);
    }
    recorded_[sender] = receiver_->StandingOf(sender);
  }

  void Answer(bool faulty) {
    for (const Ack& ack : receiver_->TakeAnswers()) Send(ack.sender, ack, faulty);
  }

  void Harm() {
    const std::size_t what = Draw(12);
    if (what == 0) {
      SenderSide& side = sides_[Draw(sides_.size())];
      StartSender(side);
      ++faults_.sender_died;
    } else if (what == 1) {
      StartReceiver();
      ++faults_.receiver_died;
    } else if (what == 2 && !network_.empty()) {
      network_.clear();
      ++faults_.forgotten;
    }
  }

  void Carry(bool faulty) {
    if (network_.empty()) return;
    const std::size_t at = faulty && Draw(3) == 0 ? Draw(network_.size()) : 0;
    if (at > 0) ++faults_.overtaken;
    const Packet packet = network_[at];
    network_.erase(network_.begin() + static_cast<std::ptrdiff_t>(at));
    auto frame = Decode(packet.bytes);
    ASSERT_TRUE(frame);
    if (const Hello* hello = std::get_if<Hello>(&*frame)) {
      if (receiver_->Hear(*hello)) recorded_[hello->sender] = receiver_->StandingOf(hello->sender);
    } else if (Data* data = std::get_if<Data>(&*frame)) {
      const Id sender = data->sender;
      if (receiver_->Hear(std::move(*data))) recorded_[sender] = receiver_->StandingOf(sender);
    } else {
      Hear(std::get<Ack>(*frame));
    }
  }

  void Hear(const Ack& ack) {
    for (SenderSide& side : sides_) {
      if (side.standing.id != ack.sender) continue;
      const Sender::Change change = side.machine->Hear(ack, now_);
      for (const Refusal& refusal : change.refusals) side.parked.insert(refusal.number);
      side.standing.first = side.machine->standing().first;
      side.standing.receiver = side.machine->standing().receiver;
      if (!change.halted.empty()) side.halted = change.halted;
    }
  }

  bool IsSettled() const {
    for (const SenderSide& side : sides_) {
      if (!side.machine->IsSettled()) return false;
    }
    return true;
  }

  std::mt19937 random_;
  std::int64_t now_ = 0;
  std::vector<SenderSide> sides_;
  Id receiver_id_;
  std::uint64_t receiver_epoch_ = 0;
  std::map<Id, Receiver::Standing> recorded_;
  std::map<Id, std::vector<std::uint64_t>> delivered_;
  std::unique_ptr<Receiver> receiver_;
  std::vector<Packet> network_;
  Faults faults_;
};

// More of them: ORVFLOW_BRIDGE_SEEDS.
TEST(BridgeProtocolTest, NothingIsLostDoubledOrOutOfOrder) {
  const char* const more = std::getenv("ORVFLOW_BRIDGE_SEEDS");
  const std::uint32_t seeds = more == nullptr ? 10000U : static_cast<std::uint32_t>(std::atoi(more));
  Faults all;
  for (std::uint32_t seed = 0; seed < seeds; ++seed) {
    World world(seed);
    world.Disturb(seed % 100 == 0 ? 2000 : 60);
    ASSERT_TRUE(world.Settle()) << "seed " << seed;
    world.Compare();
    ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    const Faults& here = world.faults();
    all.lost += here.lost;
    all.doubled += here.doubled;
    all.overtaken += here.overtaken;
    all.forgotten += here.forgotten;
    all.sender_died += here.sender_died;
    all.receiver_died += here.receiver_died;
    all.refused += here.refused;
  }
  for (const int count :
       {all.lost, all.doubled, all.overtaken, all.forgotten, all.sender_died, all.receiver_died, all.refused}) {
    EXPECT_GT(count, 100);
  }
}

}  // namespace
}  // namespace orv_test
