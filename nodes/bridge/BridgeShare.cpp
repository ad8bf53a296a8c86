#include "nodes/bridge/BridgeShare.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/BridgeEnd.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr char kDealt[] = "Dealt";

std::string FolderOfShare(const std::string& name) { return "Receivers/" + name; }
std::string DealtEntry(std::uint64_t number) { return std::string(kDealt) + "/" + NameOfNumber(number); }

struct Deal {
  std::string name;
  std::uint64_t number = 0;  // of the share's
  std::uint64_t in_outbox = 0;
};

std::vector<Deal> ReadDeals(IDictionary& dictionary, const Sdk::NodeRecord& record) {
  std::vector<Deal> deals;
  for (const std::string& entry : Base::NamesBelow(dictionary, record.PathOf(kDealt))) {
    const std::string text = record.Text(std::string(kDealt) + "/" + entry);
    const std::size_t blank = text.find(' ');
    if (blank == std::string::npos) continue;
    deals.push_back({text.substr(0, blank), NumberOfName("N" + text.substr(blank + 1)), NumberOfName(entry)});
  }
  // What is taken back is taken from the end: a kill leaves no hole.
  std::sort(deals.begin(), deals.end(), [](const Deal& one, const Deal& other) { return one.number > other.number; });
  return deals;
}

Sender::Standing ReadStanding(Sdk::NodeRecord own, const std::string& folder, bool rebinds) {
  Sender::Standing standing;
  const std::string prefix = folder + "/";
  standing.id = Id::FromText(own.Text(prefix + "Id"));
  if (standing.id.IsNone()) {
    standing.id = Id::Random();
    own.SetText(prefix + "Id", standing.id.Text());
  }
  if (rebinds) own.Remove(prefix + "Receiver");
  standing.holder.epoch = static_cast<std::uint64_t>(own.Number(prefix + "Epoch")) + 1;
  standing.holder.mark = Id::Random().high % kMostNumber;
  own.SetNumber(prefix + "Epoch", static_cast<std::int64_t>(standing.holder.epoch));
  standing.receiver = Id::FromText(own.Text(prefix + "Receiver"));
  standing.first = static_cast<std::uint64_t>(own.Number(prefix + "First", 1));
  standing.sent = static_cast<std::uint64_t>(own.Number(prefix + "Sent"));
  return standing;
}

// What the state says of it: settled ones go, and what was never sent is nobody's again.
void TakeDeals(Sdk::NodeRecord record, Outbox& outbox, const std::vector<Deal>& deals, Share& share) {
  for (const Deal& deal : deals) {
    if (deal.name != share.name) continue;
    if (deal.number < share.sender.standing().first) {
      outbox.Take(record, deal.in_outbox);
      record.Remove(DealtEntry(deal.in_outbox));
    } else if (deal.number > share.sender.standing().sent) {
      record.Remove(DealtEntry(deal.in_outbox));
    } else {
      share.dealt.emplace(deal.number, deal.in_outbox);
    }
  }
}

}  // namespace

std::vector<Share> MakeShares(Sdk::NodeRecord record, Outbox& outbox, const std::vector<std::string>& names,
                              const std::string& bridge, bool rebinds) {
  if (record.Number("Sent") >= record.Number("First", 1)) {
    throw std::runtime_error(
        "Receivers was empty when signals were sent that are not acknowledged: they may be delivered, so nobody else "
        "gets them; empty it until they are");
  }
  const std::vector<Deal> deals = ReadDeals(Outbox::Dictionary(), record);
  std::vector<std::string> all = names;
  for (const Deal& deal : deals) {
    if (std::find(all.begin(), all.end(), deal.name) == all.end()) all.push_back(deal.name);
  }
  std::vector<Share> shares;
  for (const std::string& name : all) {
    const bool takes_new = shares.size() < names.size();
    Sender sender(ReadStanding(record, FolderOfShare(name), rebinds));
    shares.push_back({name, AddressOfShare(bridge, name), takes_new, std::move(sender), {}, nullptr});
    TakeDeals(record, outbox, deals, shares.back());
  }
  AwaitRecord();
  return shares;
}

bool HasDealt(const Sdk::NodeRecord& record) {
  return !Base::NamesBelow(Outbox::Dictionary(), record.PathOf(kDealt)).empty();
}

std::string Share::Folder() const { return FolderOfShare(name); }

Share* Dealer::Choose(std::vector<Share>& shares, std::size_t most) {
  Share* best = nullptr;
  for (std::size_t i = 0; i < shares.size(); ++i) {
    Share& share = shares[(turn_ + i) % shares.size()];
    const bool can = share.takes_new && share.sender.Answers() && share.dealt.size() < most;
    if (can && (best == nullptr || share.dealt.size() < best->dealt.size())) best = &share;
  }
  if (best != nullptr) turn_ = static_cast<std::size_t>(best - shares.data()) + 1;
  return best;
}

bool Dealer::Deal(Sdk::NodeRecord record, const Outbox& outbox, std::vector<Share>& shares, std::uint64_t end,
                  std::size_t most) {
  bool has_dealt = false;
  for (;;) {
    next_ = outbox.FirstFrom(next_);
    if (next_ == 0 || next_ >= end) return has_dealt;
    const auto has_it = [&](const Share& share) {
      return std::any_of(share.dealt.begin(), share.dealt.end(), [&](const auto& one) { return one.second == next_; });
    };
    if (std::any_of(shares.begin(), shares.end(), has_it)) {
      ++next_;
      continue;
    }
    Share* const best = Choose(shares, most);
    if (best == nullptr) return has_dealt;
    const std::uint64_t number = best->Next();
    record.SetText(DealtEntry(next_), best->name + " " + std::to_string(number));
    best->dealt.emplace(number, next_++);
    has_dealt = true;
  }
}

void Settle(Sdk::NodeRecord record, Outbox& outbox, Share& share, std::uint64_t first) {
  // Before the letters go: what is left of them after a kill is known as settled.
  record.SetNumber(share.Folder() + "/First", static_cast<std::int64_t>(first));
  while (!share.dealt.empty() && share.dealt.begin()->first < first) {
    const std::uint64_t number = share.dealt.begin()->second;
    outbox.Take(record, number);
    record.Remove(DealtEntry(number));
    share.dealt.erase(share.dealt.begin());
  }
}

}  // namespace OrvWorkFlow::Nodes::Bridge
