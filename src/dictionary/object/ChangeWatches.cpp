#include "dictionary/object/ChangeWatches.h"

#include <algorithm>
#include <utility>

#include "CoreObjects/Marshalled.h"
#include "dictionary/tree/EntryPath.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// More come together only where reading everything anew costs little beside them.
constexpr std::size_t kMostChanges = 64;

// The element after `at` in pre-order below `top`; kNoElement behind the last.
ElementId NextBelow(const ElementTree& tree, ElementId top, ElementId at) {
  ElementId next = tree.first_child(at);
  while (next == kNoElement && at != top) {
    next = tree.next_sibling(at);
    at = tree.parent(at);
  }
  return next;
}

bool HasRedirectionBelow(const ElementTree& tree, ElementId top) {
  for (ElementId at = top; at != kNoElement; at = NextBelow(tree, top, at)) {
    if (tree.IsRedirection(at)) return true;
  }
  return false;
}

// Recurses no deeper than the pattern.
bool HasRedirection(const ElementTree& tree, ElementId at, const PathPattern& pattern, std::size_t depth) {
  if (depth == pattern.size()) return HasRedirectionBelow(tree, at);
  for (ElementId child = tree.first_child(at); child != kNoElement; child = tree.next_sibling(child)) {
    if (pattern.Accepts(depth, tree.name(child)) && HasRedirection(tree, child, pattern, depth + 1)) return true;
  }
  return false;
}

}  // namespace

PathPattern::PathPattern(std::string_view text) {
  PathComponents components(text);
  std::string_view component;
  bool is_fixed = true;
  while (components.Next(component)) {
    components_.emplace_back(component);
    is_fixed = is_fixed && component != kAnyName;
    if (is_fixed) beginning_.append("/").append(component);
  }
}

bool PathPattern::IsValid() const {
  return std::all_of(components_.begin(), components_.end(),
                     [](const std::string& component) { return component == kAnyName || IsValidPath(component); });
}

bool PathPattern::IsRelatedTo(std::string_view path) const {
  PathComponents components(path);
  std::string_view component;
  for (std::size_t i = 0; i < components_.size(); ++i) {
    if (!components.Next(component)) return true;
    if (!Accepts(i, component)) return false;
  }
  return true;
}

class ChangeWatches::Handle final : public IDictionaryWatch {
 public:
  explicit Handle(std::shared_ptr<Watch> watch) : watch_(std::move(watch)) {}

  std::uint64_t GetCount() override { return watch_->count.load(std::memory_order_acquire); }
  void Release() override {
    watch_->is_released.store(true);
    delete this;
  }
  bool GetChanges(std::uint64_t* count, IOrvPStringList* paths) override {
    if (count == nullptr || paths == nullptr) return false;
    try {
      std::vector<std::string> known;
      std::uint64_t now = 0;
      if (!CopyChangesSince(*count, known, now) || !AssignTexts(paths, known)) return false;
      *count = now;
      return true;
    } catch (...) {
      return false;
    }
  }

 private:
  ~Handle() = default;

  bool CopyChangesSince(std::uint64_t count, std::vector<std::string>& paths, std::uint64_t& now) {
    const Base::Hold lock(watch_->changes_mutex);
    watch_->keeps_changes.store(true);
    now = watch_->count.load(std::memory_order_acquire);
    for (const Watch::Change& change : watch_->changes) {
      if (change.number > count) paths.push_back(change.path);
    }
    return count <= now && paths.size() == now - count;
  }

  const std::shared_ptr<Watch> watch_;
};

IDictionaryWatch* ChangeWatches::Add(std::vector<PathPattern> patterns) {
  const auto is_valid = [](const PathPattern& pattern) { return pattern.IsValid(); };
  if (patterns.empty() || !std::all_of(patterns.begin(), patterns.end(), is_valid)) return nullptr;
  std::erase_if(watches_, [](const std::shared_ptr<Watch>& watch) { return watch->is_released.load(); });
  auto watch = std::make_shared<Watch>();
  watch->patterns = std::move(patterns);
  watches_.push_back(watch);
  unrelated_.size = 0;
  return new Handle(std::move(watch));
}

// Who reads through a redirection may see the change elsewhere than at its path.
void ChangeWatches::NoteRelated(ElementTree& tree, Watch& watch, std::string_view path) {
  if (watch.keeps_changes.load() && !(tree.HasRedirections() && IsRedirected(tree, watch))) {
    KeepChange(watch, path);
  } else {
    watch.count.fetch_add(1, std::memory_order_release);
  }
  watch.redirected = Watch::Redirected::Unknown;
}

// The count changes with the lock held: who sees it there sees the path.
void ChangeWatches::KeepChange(Watch& watch, std::string_view path) noexcept {
  const Base::Hold lock(watch.changes_mutex);
  const std::uint64_t number = watch.count.load(std::memory_order_relaxed) + 1;
  try {
    if (watch.changes.size() == kMostChanges) watch.changes.pop_front();
    watch.changes.push_back({number, std::string(path)});
  } catch (...) {  // Its number is missing.
  }
  watch.count.store(number, std::memory_order_release);
}

void ChangeWatches::NoteAll() {
  for (const std::shared_ptr<Watch>& watch : watches_) {
    watch->count.fetch_add(1, std::memory_order_release);
    watch->redirected = Watch::Redirected::Unknown;
  }
}

void ChangeWatches::NoteToEach(ElementTree& tree, std::string_view path) {
  std::size_t needed = 0;  // of the path, to see that it is related to none
  bool shows = true;
  const auto is_related = [&](const PathPattern& pattern) {
    const std::size_t parts = pattern.PartsWithin(path);
    shows = shows && parts != 0;
    needed = std::max(needed, parts);
    return parts == 0 && pattern.IsRelatedTo(path);
  };
  for (const std::shared_ptr<Watch>& watch : watches_) {
    if (std::any_of(watch->patterns.begin(), watch->patterns.end(), is_related)) {
      NoteRelated(tree, *watch, path);
    } else if (tree.HasRedirections() && IsRedirected(tree, *watch)) {
      watch->count.fetch_add(1, std::memory_order_release);
    }
  }
  if (!shows || needed > unrelated_.text.size()) return;
  std::memcpy(unrelated_.text.data(), path.data(), needed);
  unrelated_.size = needed;
}

// Looked for once after each change of what is watched, at the first change elsewhere.
bool ChangeWatches::IsRedirected(ElementTree& tree, Watch& watch) {
  if (watch.redirected == Watch::Redirected::Unknown) {
    const auto leads_out = [&](const PathPattern& pattern) { return HasRedirection(tree, tree.root(), pattern, 0); };
    const bool found =
        tree.root() != kNoElement && std::any_of(watch.patterns.begin(), watch.patterns.end(), leads_out);
    watch.redirected = found ? Watch::Redirected::Yes : Watch::Redirected::No;
  }
  return watch.redirected == Watch::Redirected::Yes;
}

}  // namespace OrvWorkFlow::Core::Dictionary
