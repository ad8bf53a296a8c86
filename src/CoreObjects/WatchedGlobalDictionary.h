// The global dictionary on the road of a signal, for those who keep what they have read from it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/FindObject.h"
#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Core {

// A state of the part of the dictionary that is watched. Two states of one WatchedGlobalDictionary that are equal hold
// the same dictionary with the same content in that part.
struct WatchedState {
  IDictionary* dictionary = nullptr;  // null: there is none
  std::uint64_t number = 0;           // 0 is the number of no state

  bool operator==(const WatchedState&) const = default;
};

// What lies between the states of one dictionary. Any thread.
class WatchedChanges {
 public:
  WatchedChanges() = default;
  WatchedChanges(std::shared_ptr<IDictionaryWatch> watch, IDictionary* dictionary, std::uint64_t base)
      : watch_(std::move(watch)), dictionary_(dictionary), base_(base) {}

  bool IsOf(const std::shared_ptr<IDictionaryWatch>& watch) const { return watch_ == watch; }

  // IDictionaryWatch::GetChanges since a state, which becomes the present one.
  bool Since(WatchedState& state, std::vector<std::string>& paths) const {
    if (watch_ == nullptr || state.dictionary != dictionary_ || state.number < base_) return false;
    std::uint64_t count = state.number - base_;
    const Marshalled<IOrvPStringList> list;
    if (!list || !watch_->GetChanges(&count, list.get()) || !ReadTexts(list.get(), paths)) return false;
    state.number = base_ + count;
    return true;
  }

 private:
  std::shared_ptr<IDictionaryWatch> watch_;
  IDictionary* dictionary_ = nullptr;
  std::uint64_t base_ = 0;
};

// Not synchronised. `kPatterns` are those of IDictionary::WatchChanges.
template <const auto& kPatterns>
class WatchedGlobalDictionary {
 public:
  // Looks for the dictionary again whenever a global object has come or gone, and only then. To be asked before
  // anything is read that is to be kept.
  WatchedState Get() noexcept {
    const std::uint64_t globals = WorkFlowFactory::GetGlobalsChangeCount();
    if (globals != known_at_) Look(globals);
    if (dictionary_ == nullptr) return {};
    return {dictionary_, base_ + (watch_ != nullptr ? watch_->GetCount() : dictionary_->GetChangeCount())};
  }

  // Between the states that Get returned last and will return next, of the same dictionary.
  void GetChanges(WatchedChanges& changes) const {
    if (!changes.IsOf(watch_)) changes = {watch_, dictionary_, base_};
  }

 private:
  struct EndWatch {
    void operator()(IDictionaryWatch* watch) const noexcept { watch->Release(); }
  };

  static std::shared_ptr<IDictionaryWatch> NewWatch(IDictionary& dictionary) noexcept {
    IDictionaryWatch* const watch = dictionary.WatchChanges(kPatterns.data(), kPatterns.size());
    if (watch == nullptr) return nullptr;
    try {
      return {watch, EndWatch()};
    } catch (...) {  // Without memory, as without a watch.
      return nullptr;
    }
  }

  // Numbers of an earlier dictionary are not used again.
  [[gnu::noinline]] void Look(std::uint64_t globals) noexcept {
    constexpr std::uint64_t kManyChanges = std::uint64_t{1} << 48;
    dictionary_ = FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
    watch_ = dictionary_ == nullptr ? nullptr : NewWatch(*dictionary_);
    base_ = (base_ | (kManyChanges - 1)) + 2;
    known_at_ = globals;
  }

  IDictionary* dictionary_ = nullptr;
  std::shared_ptr<IDictionaryWatch> watch_;  // null: every change counts
  std::uint64_t base_ = 0;
  std::uint64_t known_at_ = 0;
};

}  // namespace OrvWorkFlow::Core
