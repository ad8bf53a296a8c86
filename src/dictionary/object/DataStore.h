// A dictionary's content: the element tree behind one mutex, with all operations on it, and who is told of its changes.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "dictionary/object/ChangeTeller.h"
#include "dictionary/object/ChangeWatches.h"
#include "dictionary/object/ListenerList.h"
#include "dictionary/object/Redirection.h"
#include "dictionary/tree/ElementTree.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/values/ListItems.h"
#include "dictionary/values/ValueText.h"
#include "dictionary/xml/TextBuffer.h"

namespace OrvWorkFlow::Core::Dictionary {

// Any thread. Each operation holds the mutex from its first look at the tree to its last; none calls foreign code
// meanwhile. A null path or text fails. False leaves outputs untouched. Where memory runs out std::bad_alloc is thrown;
// the tree then holds what was done by then.
//
// `T` is a type of ValueForm. The typed operations follow redirections (Redirection.h); the others do not.
class DataStore {
 public:
  // Told of every successful Set, SetText and SetList when the mutex has been let go. A listener may end the store.
  ListenerList& listeners() { return *listeners_; }

  // Stores text form and type; other attributes and the children stay. False: invalid path, a root of another name.
  template <class T>
  bool Set(const char* path, const T& value) {
    NumberBuffer buffer;
    return SetText(path, ValueForm<T>::kScalar, ValueForm<T>::Format(value, buffer));
  }
  bool SetText(const char* path, ValueType type, std::string_view text);

  template <class T>
  bool SetList(const char* path, const std::vector<T>& values) {
    if (!IsWritable(path)) return false;
    {
      WriteScope scope(*this, path);
      const ElementId entry = WriteEntry(path, ValueForm<T>::kList, {}, scope);
      if (entry == kNoElement) return false;
      NumberBuffer buffer;
      const auto format = [&](const auto& value) { return ValueForm<T>::Format(value, buffer); };
      if (!HasItems(tree_, entry, values, format)) {
        scope.Change();
        ListWriter items(tree_, entry);
        for (const auto& value : values) items.Add(format(value));
      }
      scope.TellValue(entry);
    }
    Tell(path);
    return true;
  }

  // False: no entry, or one of another type.
  template <class T>
  bool Get(const char* path, T& value) {
    if (path == nullptr) return false;
    const std::scoped_lock lock(mutex_);
    const ElementId entry = FindReadEntry(tree_, path, ValueForm<T>::kScalar);
    if (entry == kNoElement) return false;
    value = ValueForm<T>::Parse(tree_.text(entry));
    return true;
  }

  template <class T>
  bool GetList(const char* path, std::vector<T>& values) {
    if (path == nullptr) return false;
    std::vector<T> result;
    {
      const std::scoped_lock lock(mutex_);
      const ElementId entry = FindReadEntry(tree_, path, ValueForm<T>::kList);
      if (entry == kNoElement) return false;
      ListReader items(tree_, entry);
      std::string_view text;
      while (items.Next(text)) result.push_back(ValueForm<T>::Parse(text));
    }
    values = std::move(result);
    return true;
  }

  // The text form of a scalar of that type.
  bool GetText(const char* path, ValueType type, std::string& text);
  // The text forms of a value of any type, a list's item by item; false for no value.
  bool GetTexts(const char* path, std::vector<std::string>& texts);
  // A value of any type by its text forms, which are not looked at: one for a scalar. With `expected`, only if that is
  // what the entry has; `*matches` (never null then) tells.
  struct Texts {
    ValueType type = ValueType::Nil;
    std::vector<std::string> texts;  // Of Nil nothing.
  };
  bool SetTexts(const char* path, const Texts& texts, const Texts* expected, bool* matches);

  ValueType GetType(const char* path);
  bool HasAttribute(const char* path, const char* name);
  bool GetAttribute(const char* path, const char* name, std::string& value);
  // Makes a missing entry. False also for a name that could not be read back.
  bool SetAttribute(const char* path, const char* name, const char* value);
  bool RemoveAttribute(const char* path, const char* name);
  bool GetAttributeNames(const char* path, std::vector<std::string>& names);

  bool SetRedirection(const char* path, const std::vector<std::string>& targets);
  bool IsRedirection(const char* path);
  bool RemoveRedirection(const char* path);

  bool Exists(const char* path);
  bool Delete(const char* path);
  bool Clear(const char* path);
  // The children's names in order, without "__ListEntries".
  bool GetEntries(const char* path, std::vector<std::string>& names);
  bool CountEntries(const char* path, std::size_t& count);
  // The path and all paths below it in pre-order, each formed as parent + "/" + name; with a pattern, those that it is
  // found in. False also when they would be longer than kMaxTextSize in all.
  bool EnumeratePaths(const char* path, const Patterns::Pattern* pattern, std::vector<std::string>& paths);
  bool CountSubtree(const char* path, std::size_t& count);

  // As IDictionary has them. Two stores are never locked at once: what comes from another one is copied first.
  bool Rename(const char* path, const char* new_name);
  bool CopySubtree(const char* from, const char* to);
  bool MoveSubtree(const char* from, const char* to);
  bool CompareSubtrees(const char* path, DataStore& other, const char* other_path, std::vector<std::string>& paths);
  bool MergeSubtree(DataStore& source, const char* from, const char* to);
  bool CopySubtreeFrom(DataStore& source, const char* from, const char* to);
  // Makes `copy`, which is empty, a tree with the entry as its root.
  bool TakeSubtree(const char* path, ElementTree& copy);
  // Replaces the entry by the root of the tree.
  bool PutSubtree(const char* path, const ElementTree& tree);

  // Of the name/value pairs: taken as the text or the store has them, emptied, or left as they were.
  enum class Pairs { Taken, Emptied, Kept };

  // Replaces the content by what the text holds. `owner` keeps the text alive; it is let go, with the mutex held, when
  // the content is replaced or deleted as a whole. False for a text above kMaxTextSize (the content stays) and for one
  // that does not end well: what was complete by then is the content. `pairs` is Taken or Kept.
  bool Load(std::string_view text, std::shared_ptr<const void> owner, Pairs pairs);

  // Appends the file's text; the root gets the file version's attribute. `pairs` is Taken or Emptied, which is as after
  // EmptyNameValuePairs.
  void Save(Pairs pairs, TextBuffer& output);
  // Leaves "/IDictionaryNameValPairs" as an entry without content, the last below the root.
  void EmptyNameValuePairs();

  // Has changed by the time a change can be seen.
  std::uint64_t change_count() const { return changes_.load(std::memory_order_acquire); }

  // As IDictionary has it.
  IDictionaryWatch* WatchChanges(const char* const* patterns, std::size_t count);
  void SetObserver(IDictionaryObserver* observer);

 private:
  using Operation = DictionaryChange::Operation;

  // Holds the mutex for a change and counts it in the end, unless nothing came of it. Whoever makes the change tells
  // the observer before that.
  class WriteScope {
   public:
    // A change of the entries that NoteChange is told of.
    explicit WriteScope(DataStore& store) : store_(store), lock_(store.mutex_), guard_(store.teller_) {}
    // A change of the entry at the path, of what is below it, or of its being there.
    WriteScope(DataStore& store, std::string_view path) : WriteScope(store) {
      path_ = path;
      store.NoteChange(path);
    }
    ~WriteScope() {
      store_.tree_.ShedUnusedTexts();
      if (has_changed_) store_.changes_.fetch_add(1, std::memory_order_release);
      guard_.Check(has_changed_);
    }
    // What is written is not where the caller said.
    void Redirect(std::string_view path) { path_ = path; }
    void TellValue(ElementId entry) {
      if (store_.teller_ && has_changed_) store_.teller_.Value(store_.tree_, path_, entry);
    }
    void Tell(Operation operation, std::string_view other = {}, std::string_view text = {}) {
      if (store_.teller_ && has_changed_) store_.teller_.Tell(operation, path_, other, text);
    }
    // Of Merge, Replace and Load.
    void TellTree(Operation operation, const ElementTree& tree) {
      if (store_.teller_ && has_changed_) store_.teller_.Tree(operation, path_, tree);
    }
    // Nothing has changed, as far as the operation has got. What is thrown counts as a change.
    void ChangeNothing() { has_changed_ = false; }
    void Change() { has_changed_ = true; }
    // For `return scope.Refuse();`.
    bool Refuse() {
      has_changed_ = false;
      return false;
    }
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;

   private:
    DataStore& store_;
    const std::scoped_lock<std::mutex> lock_;
    const ChangeTeller::Guard guard_;
    std::string_view path_;
    bool has_changed_ = true;
  };

  static bool IsWritable(const char* path);
  void Tell(const char* path) {
    if (!listeners_->IsEmpty()) TellListeners(path);
  }
  void TellListeners(const char* path) noexcept;
  // These want the mutex held.
  void NoteChange(std::string_view path) { watches_.Note(tree_, path); }
  // kNoElement, with nothing changed, where nothing can be written.
  ElementId WriteEntry(std::string_view path, ValueType type, std::string_view text, WriteScope& scope);
  ElementId WriteAt(std::string_view path, const EntryPlace& place, ValueType type, std::string_view text,
                    WriteScope& scope);
  ElementId WriteRedirected(ElementId redirection, ValueType type, std::string_view text, WriteScope& scope);
  void ReplaceNameValuePairs(WriteScope& scope);
  // False for no value: then there are no texts.
  bool TextsOf(ElementId entry, Texts& texts);
  void Replace(const char* path, const ElementTree& source, ElementId from);

  const std::shared_ptr<ListenerList> listeners_ = std::make_shared<ListenerList>();
  std::mutex mutex_;
  std::atomic<std::uint64_t> changes_ = 0;
  // Guarded by mutex_.
  ElementTree tree_;
  ChangeWatches watches_;
  ChangeTeller teller_;
  std::size_t text_size_ = 0;  // Of the file that was loaded or saved last.
};

}  // namespace OrvWorkFlow::Core::Dictionary
