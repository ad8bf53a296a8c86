// Tells the observer of a dictionary its changes.
#pragma once

#include <string_view>

#include "OrvWorkFlow/IDictionaryObserver.h"
#include "dictionary/tree/ElementTree.h"

namespace OrvWorkFlow::Core::Dictionary {

// Guarded by the dictionary's mutex. Without an observer nothing is done. What cannot be told is told as lost.
class ChangeTeller {
 public:
  void Set(IDictionaryObserver* observer) noexcept { observer_ = observer; }
  // To be asked before anything else.
  explicit operator bool() const noexcept { return observer_ != nullptr; }

  // The entry has the value that it has now.
  void Value(ElementTree& tree, std::string_view path, ElementId entry) const noexcept;
  using Operation = DictionaryChange::Operation;
  void Tell(Operation operation, std::string_view path, std::string_view other, std::string_view text) const noexcept;
  void Tree(Operation operation, std::string_view path, const ElementTree& tree) const noexcept;

  // Made when a change begins: one that is left by an exception in its midst is lost.
  class Guard {
   public:
    explicit Guard(const ChangeTeller& teller) noexcept;
    void Check(bool has_changed) const noexcept {
      if (observer_ != nullptr && has_changed) TellIfThrown();
    }

   private:
    void TellIfThrown() const noexcept;

    IDictionaryObserver* const observer_;
    const int exceptions_;
  };

 private:
  IDictionaryObserver* observer_ = nullptr;
};

}  // namespace OrvWorkFlow::Core::Dictionary
