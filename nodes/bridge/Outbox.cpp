#include "nodes/bridge/Outbox.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/BridgeEnd.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

std::string EntryOf(std::uint64_t number) { return "Outbox/" + NameOfNumber(number); }

}  // namespace

IDictionary& Outbox::Dictionary() {
  auto* const dictionary = Sdk::FindGlobal<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary);
  if (dictionary == nullptr) throw std::runtime_error("the host has no global dictionary");
  return *dictionary;
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  if (!Outbox::Dictionary().SetBinary(path.c_str(), bytes.data(), bytes.size())) {
    throw std::runtime_error("cannot write " + path);
  }
}

std::string ReadBytes(const std::string& path) {
  const Sdk::StreamHolder stream;
  if (!Outbox::Dictionary().GetBinary(path.c_str(), stream.get())) throw std::runtime_error("cannot read " + path);
  return {static_cast<const char*>(stream->GetData()), stream->GetSize()};
}

void Outbox::Load(Sdk::NodeRecord record) {
  const std::lock_guard lock(mutex_);
  if (is_loaded_) return;
  letters_.clear();  // Of a load that failed on its way.
  bytes_ = 0;
  first_ = static_cast<std::uint64_t>(std::max<std::int64_t>(1, record.Number("First", 1)));
  next_ = std::max(first_, static_cast<std::uint64_t>(record.Number("Next", 1)));
  released_ = next_;
  const std::vector<std::string> names = Base::NamesBelow(Dictionary(), record.PathOf("Outbox"));
  for (const std::string& name : names) {
    const std::uint64_t number = NumberOfName(name);
    if (number < first_ || number >= next_) continue;  // Settled, or half written.
    std::string letter = ReadBytes(record.PathOf("Outbox/" + name));
    bytes_ += letter.size();
    letters_.emplace(number, std::move(letter));
  }
  is_loaded_ = true;
}

void Outbox::NoteDelivery() {
  const std::lock_guard lock(mutex_);
  released_ = next_;
}

void Outbox::Add(Sdk::NodeRecord record, const std::string& letter) {
  const std::uint64_t number = Next();
  WriteBytes(record.PathOf(EntryOf(number)), letter);
  record.SetNumber("Next", static_cast<std::int64_t>(number + 1));
  const std::lock_guard lock(mutex_);
  letters_.emplace(number, letter);
  bytes_ += letter.size();
  next_ = number + 1;
}

std::size_t Outbox::Count() const {
  const std::lock_guard lock(mutex_);
  return letters_.size();
}

std::size_t Outbox::Bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

std::uint64_t Outbox::Next() const {
  const std::lock_guard lock(mutex_);
  return next_;
}

std::uint64_t Outbox::released() const {
  const std::lock_guard lock(mutex_);
  return released_;
}

void Outbox::Release(std::uint64_t next) {
  const std::lock_guard lock(mutex_);
  released_ = std::max(released_, next);
}

std::string Outbox::Letter(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  const auto found = letters_.find(number);
  return found == letters_.end() ? std::string() : found->second;
}

std::size_t Outbox::BytesBefore(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  std::size_t bytes = 0;
  for (auto at = letters_.begin(); at != letters_.end() && at->first < number; ++at) bytes += at->second.size();
  return bytes;
}

void Outbox::Settle(Sdk::NodeRecord record, std::uint64_t first) {
  // Before the letters go: what is left of them after a kill is known as settled.
  record.SetNumber("First", static_cast<std::int64_t>(first));
  Forget(first);
  for (; first_ < first; ++first_) record.Remove(EntryOf(first_));
}

// First is the lowest one that is left: it never goes back.
void Outbox::Take(Sdk::NodeRecord record, std::uint64_t number) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = letters_.find(number);
    if (found != letters_.end()) {
      bytes_ -= found->second.size();
      letters_.erase(found);
    }
  }
  record.Remove(EntryOf(number));
  const std::uint64_t next = Next();  // Before the look: what is added meanwhile has this number, or a higher one.
  const std::uint64_t left = FirstFrom(0);
  const std::uint64_t first = left == 0 ? next : std::min(left, next);
  if (first <= first_) return;
  first_ = first;
  record.SetNumber("First", static_cast<std::int64_t>(first));
}

std::uint64_t Outbox::FirstFrom(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  const auto found = letters_.lower_bound(number);
  return found == letters_.end() ? 0 : found->first;
}

void Outbox::Bury(Sdk::NodeRecord record, std::uint64_t number, const std::string& reason) const {
  const std::string dead = "Dead/" + NameOfNumber(number);
  WriteBytes(record.PathOf(dead), Letter(number));
  record.SetText(dead + "/Reason", reason);
}

void Outbox::Park(Sdk::NodeRecord record, std::uint64_t number, const std::string& reason) {
  Settle(record, number);
  Bury(record, number, reason);
  Settle(record, number + 1);
}

void Outbox::Forget(std::uint64_t first) {
  const std::lock_guard lock(mutex_);
  while (!letters_.empty() && letters_.begin()->first < first) {
    bytes_ -= letters_.begin()->second.size();
    letters_.erase(letters_.begin());
  }
}

}  // namespace OrvWorkFlow::Nodes::Bridge
