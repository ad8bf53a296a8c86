// Several observers where a dictionary has a place for one.
#pragma once

#include <vector>

#include "OrvWorkFlow/IDictionaryObserver.h"

namespace OrvWorkFlow::Journal {

// Filled before a dictionary gets it. Owns none of them.
class DictionaryObservers final : public IDictionaryObserver {
 public:
  void Add(IDictionaryObserver& observer) { observers_.push_back(&observer); }
  bool IsEmpty() const { return observers_.empty(); }

  void DictionaryChanged(const DictionaryChange& change) override {
    for (IDictionaryObserver* const observer : observers_) observer->DictionaryChanged(change);
  }
  void DictionaryLost() override {
    for (IDictionaryObserver* const observer : observers_) observer->DictionaryLost();
  }

 private:
  std::vector<IDictionaryObserver*> observers_;
};

}  // namespace OrvWorkFlow::Journal
