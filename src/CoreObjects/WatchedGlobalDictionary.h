// The global dictionary on the road of a signal, for those who keep what they have read from it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/FindObject.h"
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

 private:
  struct EndWatch {
    void operator()(IDictionaryWatch* watch) const noexcept { watch->Release(); }
  };

  // Numbers of an earlier dictionary are not used again.
  [[gnu::noinline]] void Look(std::uint64_t globals) noexcept {
    constexpr std::uint64_t kManyChanges = std::uint64_t{1} << 48;
    dictionary_ = FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
    watch_.reset(dictionary_ == nullptr ? nullptr : dictionary_->WatchChanges(kPatterns.data(), kPatterns.size()));
    base_ = (base_ | (kManyChanges - 1)) + 2;
    known_at_ = globals;
  }

  IDictionary* dictionary_ = nullptr;
  std::unique_ptr<IDictionaryWatch, EndWatch> watch_;  // null: every change counts
  std::uint64_t base_ = 0;
  std::uint64_t known_at_ = 0;
};

}  // namespace OrvWorkFlow::Core
