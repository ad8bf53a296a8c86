// What the two nodes of a bridge share: reading the parameters, and what tells when a delivery is recorded.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/bridge/BridgeFrames.h"
#include "nodes/bridge/BridgeTransport.h"

namespace OrvWorkFlow::Nodes::Bridge {

// How a node reads its parameters.
struct ParameterReader {
  std::function<std::string(const char*)> text;
  std::function<std::int32_t(const char*)> number;
  std::function<std::string(const char*)> optional_text;
};

// Opened. Throws std::runtime_error for settings that cannot be right.
std::unique_ptr<Transport> OpenTransport(const ParameterReader& parameters, const Id& id, const std::string& address);

// Where frames for the receiver of a bridge go, and those for a sender. Throws std::runtime_error for a name that is
// none.
std::string AddressOf(const std::string& bridge);
std::string AddressOf(const std::string& bridge, const Id& sender);
// Of a receiver that shares the work with others.
std::string AddressOfShare(const std::string& bridge, const std::string& receiver);

// The id of a node's state, which is made when there is none.
Id IdOf(Sdk::NodeRecord& record);

// Whether a signal is being delivered to the node, or its end is not recorded. Not during a delivery to it.
bool IsDeliveredTo(std::string_view type, std::string_view instance);

// Returns when all that this end has noted survives what the host promises, before the other end is told of it. False
// when it does not, see IHostRecord.
bool AwaitRecord();

// The host need not wait for the disk before it delivers to the node: what the other end is told waits for AwaitRecord.
void SayThatItAwaits(const std::string& type, const std::string& instance);

// Of what an end has noted: it is told when it survives, if need be after the next save. The end's thread.
class Promise {
 public:
  void Note();
  // Waits as AwaitRecord does.
  bool IsKept();
  // Why it is not, as of the last look; "" when it is.
  const char* Problem() const;

 private:
  bool has_noted_ = false;
  bool is_broken_ = false;
  std::uint32_t saves_ = 0;  // before it was noted
};

// Milliseconds that never go back.
std::int64_t Now();

// The number of "N12"; 0 for another name.
std::uint64_t NumberOfName(std::string_view name);
std::string NameOfNumber(std::uint64_t number);

}  // namespace OrvWorkFlow::Nodes::Bridge
