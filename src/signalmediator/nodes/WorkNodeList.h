// The instantiated work nodes, in the order of their creation and findable by name.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "CoreObjects/SignalTexts.h"
#include "OrvWorkFlow/INodeContinuation.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "signalmediator/nodes/ContentDirectories.h"

namespace OrvWorkFlow::Core::Mediator {

// One instance. Whoever holds an entry may use its node: the node is released with the last holder, so a node that the
// list has forgotten lives until its running delivery ends.
struct WorkNodeEntry {
  explicit WorkNodeEntry(std::string definition_path) : definition(std::move(definition_path)) {}
  ~WorkNodeEntry();
  WorkNodeEntry(const WorkNodeEntry&) = delete;
  WorkNodeEntry& operator=(const WorkNodeEntry&) = delete;

  // Asks the node (there must be one) for its names and remembers them; a node that does not answer is found under no
  // name.
  void RememberNames() noexcept;

  IWorkNode* node = nullptr;     // owned
  const std::string definition;  // the dictionary path of the instance
  std::string type;
  std::string instance;
  bool has_names = false;
  // Null when it has none, and when nobody observes the run that it was made in.
  INodeContinuation* continuation = nullptr;
  std::atomic<std::uint64_t> delivery = 0;  // the number of the one that is being performed, while a run is observed
  ContentDirectories::OfNode content_directories;

  // The deliveries that a thread performs with the access lock held throughout: they keep the node alive without
  // sharing it. Changed with the first half of the lock held.
  std::atomic<std::uint32_t> locked_deliveries = 0;
  std::shared_ptr<WorkNodeEntry> forgotten;  // this entry, when the list forgot it while there were any

  // Of an entry that the list keeps for those who walk (WorkNodeList::Walk): the next one.
  std::shared_ptr<WorkNodeEntry> kept_behind;
};

using WorkNodePointer = std::shared_ptr<WorkNodeEntry>;

// The live answers of a node. False, with the texts possibly half replaced, when it does not answer; what it throws
// passes through.
bool AskNames(IWorkNode& node, std::string& type, std::string& instance);

// Asks nodes, one after another, whether their property of that name is "yes".
class PropertyQuestion {
 public:
  explicit PropertyQuestion(const char* property) : property_(property) {}
  // False also when the node throws. Inline: a thousand are asked at once.
  bool IsYes(IWorkNode& node) const noexcept {
    if (!answer_) return IsYesWithoutAnswer(node);
    return Base::Guarded([&] {
      IOrvPString& answer = *answer_.get();
      // What is empty need not be emptied: most nodes do not know the property.
      if (answer.GetLength() != 0 && !AssignText(&answer, "")) return false;
      return node.GetProperty(property_, &answer) && std::string_view(answer.GetText(), answer.GetLength()) == kYes;
    });
  }

 private:
  static constexpr std::string_view kYes = "yes";
  // There was no memory for it.
  bool IsYesWithoutAnswer(IWorkNode& node) const noexcept;

  const char* const property_;
  const Marshalled<IOrvPString> answer_;
};

// Properties that the mediator asks for, and the type of the nodes that absorb flows.
inline constexpr char kBusyProperty[] = "Busy";
inline constexpr char kComponentProperty[] = "Component";
inline constexpr char kAbsorbingType[] = "AbsorbWorkflow";

// Any thread. A leaf lock guards the list; no node is called under it. Walk a snapshot: nodes may come back to the
// mediator and change the list. The list is changed with the mediator's access lock held, and so the operations marked
// "locked", which want that held, need no lock of their own.
class WorkNodeList {
 public:
  using Snapshot = std::vector<WorkNodePointer>;

  WorkNodeList() = default;
  ~WorkNodeList() { Clear(); }
  WorkNodeList(const WorkNodeList&) = delete;
  WorkNodeList& operator=(const WorkNodeList&) = delete;

  // Where an entry of some name stands, or that there is none, as long as the list does not change.
  class Place {
   public:
    bool found() const { return index_ != kNone; }

    Place() = default;

   private:
    friend class WorkNodeList;
    Place(std::size_t index, std::uint64_t changes) : index_(index), changes_(changes) {}
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t index_ = kNone;
    std::uint64_t changes_ = 0;  // of the list; 0 before the first look-up
  };

  // Locked. Of two entries with the same names the first appended is found. Unchanged when it throws (no memory).
  void Append(const WorkNodePointer& entry);

  // Locked. Recall finds, without a look-up, what was remembered in that note, as long as the list does not change.
  Place Recall(const SignalTexts::Note& note) const noexcept {
    return note.changes == changes_ ? Place(note.index, changes_) : Place();
  }
  static void Remember(SignalTexts::Note& note, Place place) noexcept {
    if (place.found()) note = {place.index_, place.changes_};
  }

  // Locked. GetAt answers what Find does for the names, without a look-up while the place is still good.
  Place Locate(std::string_view type, std::string_view instance) const { return {IndexOf(type, instance), changes_}; }
  WorkNodePointer GetAt(Place place, const char* type, const char* instance) const {
    return At(IndexAt(place, type, instance));
  }
  WorkNodeEntry* LookAt(Place place, const char* type, const char* instance) const {
    const std::size_t index = IndexAt(place, type, instance);
    return index != Place::kNone ? entries_[index].get() : nullptr;
  }

  // Null when there is none.
  WorkNodePointer Find(std::string_view type, std::string_view instance) const;
  WorkNodePointer FindNode(const IWorkNode* node) const;

  Snapshot Copy() const;

  // What a walk meets.
  struct Listed {
    IWorkNode* node = nullptr;
    const WorkNodeEntry* entry = nullptr;
    bool absorbs = false;  // its type is that of the nodes that absorb flows
  };
  using Row = std::array<Listed, 64>;

  // Whoever looks at all nodes, in list order, without a share in each: to share a thousand takes longer than to ask
  // them (absorbing of signals_bench). What the list forgets meanwhile it keeps until nobody walks.
  class Walk {
   public:
    explicit Walk(WorkNodeList& list);
    ~Walk();
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // Those that were there when the walk began. They live until it ends.
    template <class Action>
    void ForEach(const Action& action) const {
      auto row = first_;
      for (std::size_t i = 0; i < size_; ++i) {
        if (i > 0 && i % row->size() == 0) ++row;
        action((*row)[i % row->size()]);
      }
    }

   private:
    friend class WorkNodeList;
    WorkNodeList& list_;
    std::size_t size_ = 0;
    std::list<Row>::const_iterator first_;
  };

  // Locked. Forgets all entries and releases, in list order, the nodes that nobody uses.
  void Clear() noexcept;

 private:
  // Does not move when it grows: whoever walks reads it without a lock, up to what was there when the walk began.
  using Rows = std::list<Row>;
  void List(const WorkNodePointer& entry) ORV_REQUIRES(mutex_);
  void KeepForWalks(const Snapshot& entries) noexcept ORV_REQUIRES(mutex_);

  struct Name {
    std::string_view type;
    std::string_view instance;
    bool operator==(const Name&) const = default;
  };
  struct NameHash {
    std::size_t operator()(const Name& name) const noexcept;
  };

  // A number that no state of any list had before.
  static std::uint64_t NextChange() noexcept {
    static constinit std::atomic<std::uint64_t> last = 0;
    return ++last;
  }

  // Want the mutex or the access lock held.
  std::size_t IndexOf(std::string_view type, std::string_view instance) const;
  std::size_t IndexAt(Place place, const char* type, const char* instance) const {
    return place.changes_ == changes_ ? place.index_ : IndexOf(type, instance);
  }
  WorkNodePointer At(std::size_t index) const { return index != Place::kNone ? entries_[index] : nullptr; }

  mutable Base::Mutex mutex_;
  std::uint64_t changes_ = NextChange();
  Snapshot entries_;
  std::unordered_map<Name, std::size_t, NameHash> by_name_;  // the names are the entries' own texts
  std::unordered_map<const IWorkNode*, std::size_t> by_node_;

  Rows rows_ ORV_GUARDED_BY(mutex_);
  int walks_ ORV_GUARDED_BY(mutex_) = 0;
  std::size_t walked_ ORV_GUARDED_BY(mutex_) = 0;  // so many of the entries are met by a walk that goes on
  // What was forgotten while there were walks.
  WorkNodePointer first_kept_ ORV_GUARDED_BY(mutex_);
  WorkNodeEntry* last_kept_ ORV_GUARDED_BY(mutex_) = nullptr;
  Rows kept_rows_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Mediator
