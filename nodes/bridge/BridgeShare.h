// One of the receivers that share the work of a bridge, as the sender sees it: it has numbers of its own, and each
// stands for a signal of the outbox that was dealt to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes::Bridge {

// In the node's folder: Receivers/<name> has Id, Epoch, Receiver, First and Sent, as the node has them for a bridge of
// one receiver; Dealt/N<number of the outbox> is "<name> <its number there>". To deal a signal is one entry, so a kill
// leaves it dealt or not. The thread of the node's.
struct Share {
  std::string name;
  std::string address;  // of the receiver
  bool takes_new = true;
  Sender sender;
  std::map<std::uint64_t, std::uint64_t> dealt;  // its numbers and those of the outbox
  std::unique_ptr<Transport> transport;

  std::string Folder() const;
  std::uint64_t Next() const { return sender.standing().first + dealt.size(); }
};

// Of these names, and of those to whom something was sent under an earlier list. What was dealt and never sent is dealt
// anew. Each share has a higher epoch than before, which is recorded; with `rebinds` it is bound to nobody. Throws
// std::runtime_error for an outbox of which something was sent without dealing.
std::vector<Share> MakeShares(Sdk::NodeRecord record, Outbox& outbox, const std::vector<std::string>& names,
                              const std::string& bridge, bool rebinds);

// Whether something is dealt: the list of receivers was not empty before.
bool HasDealt(const Sdk::NodeRecord& record);

// The signals of the outbox before `end` that nobody has, one after the other to the share that has the fewest, of
// those that answer and have less than `most`.
class Dealer {
 public:
  // True when one was dealt.
  bool Deal(Sdk::NodeRecord record, const Outbox& outbox, std::vector<Share>& shares, std::uint64_t end,
            std::size_t most);

 private:
  Share* Choose(std::vector<Share>& shares, std::size_t most);

  std::uint64_t next_ = 0;  // all before it are dealt or gone
  std::size_t turn_ = 0;
};

// All before `first` of its numbers are settled.
void Settle(Sdk::NodeRecord record, Outbox& outbox, Share& share, std::uint64_t first);

}  // namespace OrvWorkFlow::Nodes::Bridge
