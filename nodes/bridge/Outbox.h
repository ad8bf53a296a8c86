// What a BridgeOut has to send: in the workflow's dictionary, and in memory for the thread that sends it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes::Bridge {

// In the node's folder: Outbox/N<number>, the letters; Next, the number that the next one gets; First, before which all
// are settled. A delivery writes letters and Next, the node's thread the rest: what a delivery has written is undone
// when the process dies before its end is recorded. Operations of the delivery are marked; all others are the thread's.
class Outbox {
 public:
  static IDictionary& Dictionary();

  // Delivery: reads what is recorded, the first time that it is called.
  void Load(Sdk::NodeRecord record);
  // Delivery: what earlier deliveries have added is recorded.
  void NoteDelivery();
  // Delivery: throws std::runtime_error when the dictionary refuses.
  void Add(Sdk::NodeRecord record, const std::string& letter);

  // Any thread.
  std::size_t Count() const;
  std::size_t Bytes() const;
  std::uint64_t Next() const;

  // What is recorded ends before it. `is_delivering` is asked when there is more.
  template <class IsDelivering>
  std::uint64_t Released(IsDelivering&& is_delivering) {
    const std::uint64_t next = Next();
    if (next == released()) return next;
    // In this order: a delivery that has added something before the look at it is at work, or has ended.
    if (!is_delivering()) Release(next);
    return released();
  }
  std::string Letter(std::uint64_t number) const;
  // Of the letters before that one.
  std::size_t BytesBefore(std::uint64_t number) const;

  // All before `first` are settled: they go. Held changes of the thread's may be waiting.
  void Settle(Sdk::NodeRecord record, std::uint64_t first);
  // One of them alone is settled.
  void Take(Sdk::NodeRecord record, std::uint64_t number);
  // The number of the first letter from there on; 0 for none.
  std::uint64_t FirstFrom(std::uint64_t number) const;
  // As a dead letter, below Dead; Park: then all up to it are settled.
  void Bury(Sdk::NodeRecord record, std::uint64_t number, const std::string& reason) const;
  void Park(Sdk::NodeRecord record, std::uint64_t number, const std::string& reason);

 private:
  std::uint64_t released() const;
  void Release(std::uint64_t next);
  void Forget(std::uint64_t first);

  mutable std::mutex mutex_;  // A leaf.
  bool is_loaded_ = false;
  std::map<std::uint64_t, std::string> letters_;
  std::size_t bytes_ = 0;
  std::uint64_t next_ = 1;
  std::uint64_t released_ = 1;
  std::uint64_t first_ = 1;
};

// A block of bytes in the dictionary.
void WriteBytes(const std::string& path, const std::string& bytes);
std::string ReadBytes(const std::string& path);

}  // namespace OrvWorkFlow::Nodes::Bridge
