#include "dictionary/object/DataStore.h"

#include "OrvWorkFlow/WorkflowSchema.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/tree/Subtree.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ValueTypes.h"
#include "dictionary/xml/Bytes.h"
#include "dictionary/xml/XmlReader.h"
#include "dictionary/xml/XmlWriter.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// The element, or the first of its next siblings, that is no holder of list items.
ElementId SkipListEntries(const ElementTree& tree, ElementId id) {
  while (id != kNoElement && tree.name(id) == kListEntriesName) id = tree.next_sibling(id);
  return id;
}

// The element after `at` in pre-order below `top`, with `path` (that of `at`) led along; kNoElement behind the last.
ElementId NextPath(const ElementTree& tree, ElementId top, ElementId at, std::string& path) {
  ElementId next = SkipListEntries(tree, tree.first_child(at));
  while (next == kNoElement && at != top) {
    path.resize(path.size() - tree.name(at).size() - 1);
    next = SkipListEntries(tree, tree.next_sibling(at));
    at = tree.parent(at);
  }
  if (next != kNoElement) path.append("/").append(tree.name(next));
  return next;
}

}  // namespace

bool DataStore::IsWritable(const char* path) { return path != nullptr && IsValidPath(path); }

// Inlined where values are written.
inline ElementId DataStore::WriteAt(std::string_view path, const EntryPlace& place, ValueType type,
                                    std::string_view text, WriteScope& scope) {
  const bool is_there = place.element != kNoElement;
  const ElementId entry = is_there ? place.element : MakeEntry(tree_, path, place);
  if (entry == kNoElement) {
    scope.ChangeNothing();
    return kNoElement;
  }
  const AttributeTable::Id attributes = tree_.AttributesWithType(entry, type);
  if (is_there && tree_.attributes_id(entry) == attributes) {
    if (SameText(tree_.text(entry), text)) {
      scope.ChangeNothing();
    } else {
      tree_.SetText(entry, text);
    }
    return entry;
  }
  tree_.SetText(entry, text);
  tree_.SetAttributes(entry, attributes);
  return entry;
}

ElementId DataStore::WriteEntry(std::string_view path, ValueType type, std::string_view text, WriteScope& scope) {
  const EntryPlace place = FindPlace(tree_, path);
  const bool is_redirection = place.element != kNoElement && tree_.IsRedirection(place.element);
  return is_redirection ? WriteRedirected(place.element, type, text, scope) : WriteAt(path, place, type, text, scope);
}

ElementId DataStore::WriteRedirected(ElementId redirection, ValueType type, std::string_view text, WriteScope& scope) {
  const auto redirected = FollowToWrite(tree_, redirection);
  if (!redirected) {
    scope.ChangeNothing();
    return kNoElement;
  }
  NoteChange(redirected->path);
  scope.Redirect(redirected->path);
  return WriteAt(redirected->path, redirected->place, type, text, scope);
}

bool DataStore::SetText(const char* path, ValueType type, std::string_view text) {
  if (path == nullptr) return false;
  const std::string_view entry_path = path;  // Measured once: this is the way of every value.
  if (!IsValidPath(entry_path)) return false;
  {
    WriteScope scope(*this, entry_path);
    const ElementId entry = WriteEntry(entry_path, type, text, scope);
    if (entry == kNoElement) return false;
    scope.TellValue(entry);
  }
  Tell(path);
  return true;
}

// Nothing of the store is touched afterwards: a listener may have ended it.
void DataStore::TellListeners(const char* path) noexcept {
  const std::shared_ptr<ListenerList> kept = listeners_;
  kept->Notify(path);
}

bool DataStore::GetText(const char* path, ValueType type, std::string& text) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindReadEntry(tree_, path, type);
  if (entry != kNoElement) text = tree_.text(entry);
  return entry != kNoElement;
}

bool DataStore::TextsOf(ElementId entry, Texts& texts) {
  texts.type = entry == kNoElement ? ValueType::Nil : tree_.type(entry);
  texts.texts.clear();
  if (texts.type == ValueType::Nil) return false;
  if (IsListType(texts.type)) {
    ListReader items(tree_, entry);
    std::string_view text;
    while (items.Next(text)) texts.texts.emplace_back(text);
  } else {
    texts.texts.emplace_back(tree_.text(entry));
  }
  return true;
}

bool DataStore::GetTexts(const char* path, std::vector<std::string>& texts) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  Texts result;
  if (!TextsOf(FindEntry(tree_, path), result)) return false;
  texts = std::move(result.texts);
  return true;
}

bool DataStore::SetTexts(const char* path, const Texts& value, const Texts* expected, bool* matches) {
  const bool is_list = IsListType(value.type);
  if (!IsWritable(path) || value.type == ValueType::Nil || (!is_list && value.texts.size() != 1)) return false;
  {
    WriteScope scope(*this, path);
    const EntryPlace place = FindPlace(tree_, path);
    if (expected != nullptr) {
      Texts present;
      TextsOf(place.element, present);
      *matches = present.type == expected->type && present.texts == expected->texts;
      if (!*matches) return scope.Refuse();
    }
    const std::string_view text = is_list ? std::string_view() : std::string_view(value.texts.front());
    const ElementId entry = WriteAt(path, place, value.type, text, scope);
    if (entry == kNoElement) return false;
    const auto same = [](const std::string& item) { return std::string_view(item); };
    if (is_list && !HasItems(tree_, entry, value.texts, same)) {
      scope.Change();
      ListWriter items(tree_, entry);
      for (const std::string& item : value.texts) items.Add(item);
    }
    scope.TellValue(entry);
  }
  Tell(path);
  return true;
}

ValueType DataStore::GetType(const char* path) {
  if (path == nullptr) return ValueType::Nil;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  return entry == kNoElement ? ValueType::Nil : tree_.type(entry);
}

bool DataStore::HasAttribute(const char* path, const char* name) {
  if (path == nullptr || name == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  return entry != kNoElement && FindAttribute(tree_.attributes(entry), name).has_value();
}

bool DataStore::GetAttribute(const char* path, const char* name, std::string& value) {
  if (path == nullptr || name == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return false;
  const auto found = FindAttribute(tree_.attributes(entry), name);
  if (found) value = *found;
  return found.has_value();
}

bool DataStore::SetAttribute(const char* path, const char* name, const char* value) {
  if (!IsWritable(path) || name == nullptr || value == nullptr || !IsAttributeName(name)) return false;
  WriteScope scope(*this, path);
  const EntryPlace place = FindPlace(tree_, path);
  const ElementId entry = place.element != kNoElement ? place.element : MakeEntry(tree_, path, place);
  if (entry == kNoElement) return scope.Refuse();
  const std::string attributes = WithAttribute(tree_.attributes(entry), name, value);
  if (place.element != kNoElement && tree_.attributes(entry) == attributes) {
    scope.ChangeNothing();
  } else {
    tree_.SetAttributes(entry, attributes);
  }
  scope.Tell(Operation::SetAttribute, name, value);
  return true;
}

bool DataStore::RemoveAttribute(const char* path, const char* name) {
  if (!IsWritable(path) || name == nullptr) return false;
  WriteScope scope(*this, path);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement || !FindAttribute(tree_.attributes(entry), name)) return scope.Refuse();
  tree_.SetAttributes(entry, WithoutAttribute(tree_.attributes(entry), name));
  scope.Tell(Operation::RemoveAttribute, name);
  return true;
}

bool DataStore::GetAttributeNames(const char* path, std::vector<std::string>& names) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return false;
  std::vector<std::string> result;
  AttributeReader reader(tree_.attributes(entry));
  std::string_view name;
  std::string_view value;
  while (reader.Next(name, value)) result.emplace_back(name);
  names = std::move(result);
  return true;
}

bool DataStore::SetRedirection(const char* path, const std::vector<std::string>& targets) {
  if (!IsWritable(path)) return false;
  WriteScope scope(*this, path);
  const ElementId entry = EnsureEntry(tree_, path);
  if (entry == kNoElement) return scope.Refuse();
  tree_.SetText(entry, {});
  tree_.SetAttributes(entry, tree_.AttributesWithType(entry, ValueType::StringList));
  ListWriter items(tree_, entry);
  for (const std::string& target : targets) items.Add(target);
  tree_.SetAttributes(entry, WithAttribute(tree_.attributes(entry), kRedirectionAttribute, "1"));
  scope.TellValue(entry);
  scope.Tell(Operation::SetAttribute, kRedirectionAttribute, "1");
  return true;
}

bool DataStore::IsRedirection(const char* path) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  return entry != kNoElement && tree_.IsRedirection(entry);
}

bool DataStore::RemoveRedirection(const char* path) {
  if (!IsWritable(path)) return false;
  WriteScope scope(*this, path);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement || !tree_.IsRedirection(entry)) return scope.Refuse();
  tree_.SetAttributes(entry, WithoutAttribute(tree_.attributes(entry), kRedirectionAttribute));
  scope.Tell(Operation::RemoveAttribute, kRedirectionAttribute);
  return true;
}

IDictionaryWatch* DataStore::WatchChanges(const char* const* patterns, std::size_t count) {
  if (patterns == nullptr) return nullptr;
  std::vector<PathPattern> parsed;
  for (std::size_t i = 0; i < count; ++i) {
    if (patterns[i] == nullptr) return nullptr;
    parsed.emplace_back(patterns[i]);
  }
  const std::scoped_lock lock(mutex_);
  return watches_.Add(std::move(parsed));
}

void DataStore::SetObserver(IDictionaryObserver* observer) {
  const std::scoped_lock lock(mutex_);
  teller_.Set(observer);
}

bool DataStore::Exists(const char* path) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  return FindEntry(tree_, path) != kNoElement;
}

bool DataStore::Delete(const char* path) {
  if (!IsWritable(path)) return false;
  WriteScope scope(*this, path);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return scope.Refuse();
  tree_.Remove(entry);
  scope.Tell(Operation::Delete);
  return true;
}

bool DataStore::Clear(const char* path) {
  if (!IsWritable(path)) return false;
  WriteScope scope(*this, path);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return scope.Refuse();
  const bool is_empty =
      tree_.first_child(entry) == kNoElement && tree_.text(entry).empty() && tree_.attributes(entry).empty();
  if (is_empty) scope.ChangeNothing();
  ClearEntry(tree_, entry);
  scope.Tell(Operation::Clear);
  return true;
}

bool DataStore::GetEntries(const char* path, std::vector<std::string>& names) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return false;
  std::vector<std::string> result;
  result.reserve(tree_.child_count(entry));
  ElementId child = SkipListEntries(tree_, tree_.first_child(entry));
  for (; child != kNoElement; child = SkipListEntries(tree_, tree_.next_sibling(child))) {
    result.emplace_back(tree_.name(child));
  }
  names = std::move(result);
  return true;
}

bool DataStore::CountEntries(const char* path, std::size_t& count) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement) return false;
  count = tree_.child_count(entry) - (tree_.FindChild(entry, kListEntriesName) == kNoElement ? 0 : 1);
  return true;
}

bool DataStore::CountSubtree(const char* path, std::size_t& count) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId top = FindEntry(tree_, path);
  if (top == kNoElement) return false;
  std::string current;
  count = 0;
  for (ElementId at = top; at != kNoElement; at = NextPath(tree_, top, at, current)) ++count;
  return true;
}

bool DataStore::EnumeratePaths(const char* path, const Patterns::Pattern* pattern, std::vector<std::string>& paths) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId top = FindEntry(tree_, path);
  if (top == kNoElement) return false;
  std::vector<std::string> result;
  std::string current(path);
  std::size_t total = 0;
  for (ElementId at = top; at != kNoElement; at = NextPath(tree_, top, at, current)) {
    if (pattern != nullptr && !pattern->Search(std::string_view(current))) continue;
    if (current.size() > kMaxTextSize - total) return false;
    total += current.size();
    result.push_back(current);
  }
  paths = std::move(result);
  return true;
}

bool DataStore::Load(std::string_view text, std::shared_ptr<const void> owner, Pairs pairs) {
  if (text.size() > kMaxTextSize) return false;
  WriteScope scope(*this);
  watches_.NoteAll();
  ElementTree kept;
  const ElementId old = pairs == Pairs::Kept ? FindEntry(tree_, WorkflowSchema::kNameValuePairs) : kNoElement;
  if (old != kNoElement) CopyEntry(tree_, old, kept, kept.CreateRoot(kRootName));
  tree_.Clear();
  tree_.KeepAlive(std::move(owner));
  text_size_ = text.size();
  const bool is_loaded = ReadXml(text, tree_);
  if (pairs == Pairs::Kept) {
    const ElementId loaded = FindEntry(tree_, WorkflowSchema::kNameValuePairs);
    if (loaded != kNoElement) tree_.Remove(loaded);
    const ElementId entry = old == kNoElement ? kNoElement : EnsureEntry(tree_, WorkflowSchema::kNameValuePairs);
    if (entry != kNoElement) CopyEntry(kept, kept.root(), tree_, entry);
  }
  scope.TellTree(Operation::Load, tree_);
  return is_loaded;
}

void DataStore::Save(Pairs pairs, TextBuffer& output) {
  WriteScope scope(*this);
  scope.ChangeNothing();
  if (pairs == Pairs::Emptied) ReplaceNameValuePairs(scope);
  if (tree_.root() == kNoElement) scope.Change();
  const ElementId root = EnsureEntry(tree_, "");
  if (root != kNoElement) {
    const std::string attributes = WithAttribute(tree_.attributes(root), kFileVersionAttribute, kFileVersion);
    if (tree_.attributes(root) != attributes) scope.Change();
    tree_.SetAttributes(root, attributes);
  }
  output.Reserve(text_size_ + text_size_ / 8);
  const std::size_t before = output.view().size();
  WriteXml(tree_, output);
  text_size_ = output.view().size() - before;
}

void DataStore::EmptyNameValuePairs() {
  WriteScope scope(*this);
  scope.ChangeNothing();
  ReplaceNameValuePairs(scope);
}

void DataStore::ReplaceNameValuePairs(WriteScope& scope) {
  NoteChange(WorkflowSchema::kNameValuePairs);
  const ElementId old = FindEntry(tree_, WorkflowSchema::kNameValuePairs);
  const bool is_in_place = old != kNoElement && tree_.next_sibling(old) == kNoElement &&
                           tree_.first_child(old) == kNoElement && tree_.text(old).empty() &&
                           tree_.attributes(old).empty();
  if (is_in_place) return;
  if (old == kNoElement && tree_.root() != kNoElement && !tree_.HasUsualRoot()) return;
  scope.Change();
  if (old != kNoElement) tree_.Remove(old);
  EnsureEntry(tree_, WorkflowSchema::kNameValuePairs);
  scope.Tell(Operation::EmptyPairs);
}

}  // namespace OrvWorkFlow::Core::Dictionary
