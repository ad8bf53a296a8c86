// The bridges of a saved state: what waits to be sent, what the other end has refused, and what was received
// (docs/bridge.md says what their entries mean).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

struct DeadLetter {
  std::uint64_t number = 0;
  std::string signal;  // "" for bytes that are no letter
  std::size_t bytes = 0;
  std::string reason;
};

// One of those that share the work.
struct SharingReceiver {
  std::string name;
  std::uint64_t epoch = 0;
  std::size_t dealt = 0;           // of those that wait
  std::uint64_t acknowledged = 0;  // by its own numbers
};

struct SendingBridge {
  std::string type;  // BridgeOut, or BridgeAsk
  std::string instance;
  std::string id;
  std::string receiver;
  std::uint64_t epoch = 0;
  std::size_t waiting = 0;  // in the outbox
  std::size_t waiting_bytes = 0;
  std::uint64_t oldest = 0;        // of those; 0 for none
  std::uint64_t acknowledged = 0;  // up to here the other end has taken or refused all
  std::size_t open = 0;            // requests that have no outcome yet
  std::string halted;
  std::string connection;
  std::vector<SharingReceiver> receivers;
  std::vector<DeadLetter> dead;  // by their numbers
};

struct KnownSender {
  std::string id;
  std::uint64_t epoch = 0;
  std::uint64_t delivered = 0;  // up to here all are delivered or refused
  std::size_t refused = 0;      // of which the sender has not said that it knows
};

struct ReceivingBridge {
  std::string type;  // BridgeIn, or BridgeServe
  std::string instance;
  std::string id;
  std::uint64_t epoch = 0;
  std::uint64_t told = 0;
  std::vector<std::string> open;  // requests that have no answer yet, by their names
  std::size_t answers = 0;        // that wait to be sent, or acknowledged
  std::string halted;             // why some of them are not sent any more
  std::string connection;
  std::vector<KnownSender> senders;
};

struct BridgeList {
  std::vector<SendingBridge> sending;
  std::vector<ReceivingBridge> receiving;

  std::size_t CountDead() const;
};

BridgeList ReadBridgeList(IDictionary& state);

using ChooseLetter = std::function<bool(const SendingBridge&, const DeadLetter&)>;

// Takes the dead letters that are chosen back into their outboxes, as new signals behind those that wait, and gives
// their nodes a signal to go on; or away. False when the dictionary refuses.
bool RetryDead(IDictionary& state, const BridgeList& list, const ChooseLetter& choose);
bool DropDead(IDictionary& state, const BridgeList& list, const ChooseLetter& choose);

// "2 bridges, 1 dead letter"
std::string CountedBridges(const BridgeList& list);
std::string BridgeListAsText(const BridgeList& list);
// `flow` and `file` are the files as the user knows them.
std::string BridgeListAsJson(const BridgeList& list, const std::string& flow, const std::string& file);

}  // namespace OrvWorkFlow::Program
