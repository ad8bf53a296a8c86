// The other end of a bridge for request and answer, as a test plays it: it sends letters and takes those that come.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/FolderNetwork.h"

namespace orv_test {

class PlayedEnd {
 public:
  using Id = OrvWorkFlow::Nodes::Bridge::Id;
  using Letter = OrvWorkFlow::Nodes::Bridge::Letter;

  // `peer` is bound to from the beginning; none: to whoever answers.
  PlayedEnd(const std::filesystem::path& folder, const Id& id, const std::string& own_address, const Id& peer,
            std::string peer_address)
      : network_(folder, ""), sender_({id, {1, 1}, peer, 1, 0}), receiver_(id, 1, 10), peer_(std::move(peer_address)) {
    network_.Open(own_address);
  }

  void Send(const Letter& letter) { SendBytes(OrvWorkFlow::Nodes::Bridge::EncodeLetter(letter)); }
  void SendBytes(const std::string& letter) {
    letters_.push_back(letter);
    sender_.Release(letters_.size() + 1);
  }
  // All that was sent is acknowledged.
  bool IsSettled() const { return sender_.IsSettled(); }
  void SayFarewell() { network_.Send(peer_, Encode(OrvWorkFlow::Nodes::Bridge::Frame(sender_.Farewell()))); }
  // As if another run had the right to send.
  void Overtake(const Id& other) { receiver_.Hear(OrvWorkFlow::Nodes::Bridge::Hello{other, {9, 9}, {}, 1, 1}); }

  void Work() {
    namespace Bridge = OrvWorkFlow::Nodes::Bridge;
    for (auto bytes = network_.Poll(std::chrono::milliseconds(1)); bytes;
         bytes = network_.Poll(std::chrono::milliseconds(0))) {
      auto frame = Bridge::Decode(*bytes);
      if (!frame) continue;
      if (const auto* hello = std::get_if<Bridge::Hello>(&*frame)) receiver_.Hear(*hello);
      if (auto* data = std::get_if<Bridge::Data>(&*frame)) receiver_.Hear(std::move(*data));
      if (const auto* ack = std::get_if<Bridge::Ack>(&*frame)) {
        for (const Bridge::Refusal& refusal : sender_.Hear(*ack, Bridge::Now()).refusals) {
          refused.push_back(refusal.reason);
        }
      }
    }
    TakeAll();
    Speak();
  }

  std::vector<Letter> come;
  std::string refuses;               // why it takes nothing that comes
  std::vector<std::string> refused;  // of what was sent, why

 private:
  void TakeAll() {
    namespace Bridge = OrvWorkFlow::Nodes::Bridge;
    while (const Bridge::Data* data = receiver_.Next()) {
      if (refuses.empty()) {
        come.push_back(Bridge::DecodeLetter(data->letter));
        receiver_.Deliver(data->sender);
      } else {
        receiver_.Refuse(data->sender, refuses);
      }
    }
  }
  void Speak() {
    namespace Bridge = OrvWorkFlow::Nodes::Bridge;
    for (const Bridge::Ack& ack : receiver_.TakeAnswers()) network_.Send(peer_, Encode(Bridge::Frame(ack)));
    // One with nothing to send does not greet.
    if (letters_.empty()) return;
    if (const auto hello = sender_.Greeting(Bridge::Now())) network_.Send(peer_, Encode(Bridge::Frame(*hello)));
    const Bridge::Sender::Range range = sender_.ToSend();
    sender_.NoteSending(std::max(range.end, std::uint64_t{1}));
    for (std::uint64_t number = range.begin; number < range.end; ++number) {
      const Bridge::Sender::Standing& now = sender_.standing();
      const Bridge::Data data{now.id,    now.holder, now.receiver,
                              now.first, number,     letters_.at(static_cast<std::size_t>(number - 1))};
      network_.Send(peer_, Encode(Bridge::Frame(data)));
      sender_.NoteSent(number, Bridge::Now());
    }
  }

  OrvWorkFlow::Nodes::Bridge::FolderNetwork network_;
  OrvWorkFlow::Nodes::Bridge::Sender sender_;
  OrvWorkFlow::Nodes::Bridge::Receiver receiver_;
  const std::string peer_;
  std::vector<std::string> letters_;
};

}  // namespace orv_test
