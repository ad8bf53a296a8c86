// Who wants to know that a part of the dictionary has changed: IDictionaryWatch.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionaryWatch.h"
#include "base/lock/Mutex.h"
#include "dictionary/tree/ElementTree.h"

namespace OrvWorkFlow::Core::Dictionary {

// The components of a path in which "*" stands for any name.
class PathPattern {
 public:
  static constexpr std::string_view kAnyName = "*";

  explicit PathPattern(std::string_view text);

  // False when a component is no name of an entry.
  bool IsValid() const;
  std::size_t size() const { return components_.size(); }
  bool Accepts(std::size_t index, std::string_view name) const {
    return components_[index] == kAnyName || components_[index] == name;
  }
  // True when the path names an entry that matches, one above it, or one below it.
  bool IsRelatedTo(std::string_view path) const;

  // How much of the path, as it is written usually, shows that it has another name where the beginning of the pattern
  // has one; 0 where nothing shows it.
  std::size_t PartsWithin(std::string_view path) const {
    const std::size_t size = std::min(path.size(), beginning_.size());
    std::size_t at = 0;
    while (at < size && path[at] == beginning_[at]) ++at;
    return at < size && path[at] != '/' && beginning_[at] != '/' ? at + 1 : 0;
  }

 private:
  std::vector<std::string> components_;
  std::string beginning_;  // "/a/b" of "/a/b/*/c"
};

// Guarded by the dictionary's mutex. The counts are read by anybody.
class ChangeWatches {
 public:
  ChangeWatches() = default;
  ChangeWatches(const ChangeWatches&) = delete;
  ChangeWatches& operator=(const ChangeWatches&) = delete;

  // Null when a pattern is not valid. Throws std::bad_alloc.
  IDictionaryWatch* Add(std::vector<PathPattern> patterns);

  // To be called with the path of each entry that is about to be changed, made or removed, before that is done.
  void Note(ElementTree& tree, std::string_view path) {
    if (!watches_.empty() && !IsUnrelated(tree, path)) NoteToEach(tree, path);
  }
  // The same for a change of everything.
  void NoteAll();

 private:
  // Lives as long as the dictionary or the caller uses it.
  struct Watch {
    std::vector<PathPattern> patterns;
    std::atomic<std::uint64_t> count = 0;
    std::atomic<bool> is_released = false;
    // Redirections may lead out of what is watched.
    enum class Redirected { No, Yes, Unknown } redirected = Redirected::Unknown;

    // The last changes, for GetChanges. One that has no path, or for which there was no memory, is missing: the numbers
    // show it. Nobody pays for them who does not ask.
    struct Change {
      std::uint64_t number;  // the count after it
      std::string path;
    };
    std::atomic<bool> keeps_changes = false;
    Base::Mutex changes_mutex;  // a leaf
    std::deque<Change> changes ORV_GUARDED_BY(changes_mutex);
  };
  class Handle;

  // How a path began that was related to no watch, as far as that shows it. Many writes in a row begin like this one:
  // they are compared with it instead of all patterns (saved_queues of signals_bench).
  struct UnrelatedBeginning {
    std::array<char, 64> text;
    std::size_t size = 0;  // 0 for none
  };

  bool IsUnrelated(const ElementTree& tree, std::string_view path) const {
    return unrelated_.size != 0 && path.size() >= unrelated_.size &&
           std::memcmp(path.data(), unrelated_.text.data(), unrelated_.size) == 0 && !tree.HasRedirections();
  }
  static void NoteRelated(ElementTree& tree, Watch& watch, std::string_view path);
  static void KeepChange(Watch& watch, std::string_view path) noexcept;
  void NoteToEach(ElementTree& tree, std::string_view path);
  static bool IsRedirected(ElementTree& tree, Watch& watch);

  std::vector<std::shared_ptr<Watch>> watches_;
  UnrelatedBeginning unrelated_;  // Of those that are there now.
};

}  // namespace OrvWorkFlow::Core::Dictionary
