// Which signal was being delivered when the process died, and how often running: a tiny file beside the state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/state/MappedPage.h"

namespace OrvWorkFlow::Host {

// The receiver of a signal.
struct DeliveryName {
  std::string type;
  std::string instance;
  std::string signal;
  bool operator==(const DeliveryName&) const = default;
};

// It is there while a workflow runs and after a run that did not come to its end. Deliveries with the same receiver and
// signal are told apart by their number since the state was saved, so that only a run that dies at the same place of
// the same state counts as having died there again. One thread at a time.
class AttemptRecord {
 public:
  static constexpr std::uint32_t kMostDeaths = 3;

  // Takes over what an earlier run has left. Without a file it records nothing.
  explicit AttemptRecord(const std::string& file);

  // The delivery in which the process has died `kMostDeaths` times running; null for none.
  struct Suspect {
    DeliveryName name;
    std::uint32_t number = 0;  // of those with this name since the state was saved; the first is 1
  };
  const Suspect* suspect() const { return deaths_ >= kMostDeaths ? &last_ : nullptr; }
  // The one in which the run before has died, and how often running; null and 0 when it has not, or not in one.
  const Suspect* last_death() const { return deaths_ > 0 ? &last_ : nullptr; }
  std::uint32_t deaths() const { return deaths_; }

  // A delivery has begun; it is named until it or another one has.
  void Begun(std::string_view type, std::string_view instance, std::string_view signal);
  // Another one, which has begun before, goes on.
  void BackTo(const DeliveryName& name);
  // None is at work.
  void Ended();

  // The state was saved: numbers begin anew, and what has died before it counts no more.
  void Saved();

  // The run has come to its end.
  void Remove() { page_.Remove(); }

  // What the file says of a run that was cut off, for one that goes on at the very delivery in which that died: it is
  // the first of its name now. With `has_progress` the run before had come further than to a death that it knew of.
  static void Renumber(const std::string& file, bool has_progress);

  // The death that the run which left the file knew of; nothing for none.
  static std::optional<DeliveryName> ReadKnownDeath(const std::string& file);

 private:
  struct Page;

  Page* page() const;
  void TakeOver();
  void Write(std::string_view type, std::string_view instance, std::string_view signal, std::uint32_t number);

  MappedPage page_;
  std::unordered_map<std::size_t, std::uint32_t> numbers_;  // by the hash of the name
  Suspect last_;
  std::uint32_t deaths_ = 0;
};

}  // namespace OrvWorkFlow::Host
