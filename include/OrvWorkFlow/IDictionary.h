// A hierarchical store of typed values, saved as XML: the home of every workflow's definition and state.
//
// Paths: components separated by "/", empty components ignored, case-sensitive; a component holds letters, digits, "_"
// and "-" only. "" and "/" name the root. Writing creates what is missing on the way; a write to an invalid path fails
// and creates nothing. Reading an invalid path finds nothing. The operations that take a path take it as a text or as a
// DictionaryPathWrapper.
//
// An entry has a value of one type or none, attributes, and sub-entries in the order in which they were made.
#pragma once

#include <type_traits>

#include "OrvWorkFlow/DictionaryPath.h"
#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IDictionaryListener.h"
#include "OrvWorkFlow/IDictionaryWatch.h"

namespace OrvWorkFlow {

class IDictionaryObserver;

// What an entry holds; `Nil` also stands for a missing entry and an unknown tag.
enum class ValueType : std::int32_t {
  String = 0,
  WideString = 1,
  Integer = 2,
  Double = 3,
  Boolean = 4,
  StringList = 5,
  WideStringList = 6,
  IntegerList = 7,
  DoubleList = 8,
  BooleanList = 9,
  Binary = 10,
  Nil = 11,
};

// Why a file could not be loaded or saved. Only what `Damaged` and `NotDeciphered` speak of was read and is wrong;
// after all other failures of a load the file may be whole.
enum class FileFailure : std::int32_t {
  None = 0,           // it succeeded, or there was none yet
  NotStarted = 1,     // no name, no such entry, or no object "FileSystem" or "Encryption" to be had
  CannotOpen = 2,     // no such file, no permission, no handle left
  InUse = 3,          // another has the file open without sharing; worth another try
  CannotRead = 4,     // it was opened, and reading failed
  NoMemory = 5,       //
  TooLarge = 6,       // a text that no dictionary takes, or content that nests too deep for a file (see SaveFile)
  Damaged = 7,        // no dictionary, or cut off
  NotDeciphered = 8,  // enciphered, and there is no key or another one
  NotEnciphered = 9,  // there is a key; and no object "Encryption", or the key or the text is not to its taste
  CannotWrite = 10,   // the old file stands
};

// How the load or the save that ended last has ended. What a dictionary does not know is 0.
struct FileReport {
  FileFailure failure = FileFailure::None;
  std::int32_t system_error =
      0;                   // the platform's number of what failed, for CannotOpen, InUse, CannotRead, CannotWrite
  std::uint32_t line = 0;  // where a damaged file goes wrong, in its plain text; both from 1, the column in bytes
  std::uint32_t column = 0;
  bool plain_under_key = false;  // a key is set, and the file that was loaded is plain text
};

// What SetValue can read through a pointer.
template <class T>
inline constexpr bool kIsDictionaryValue =
    std::is_convertible_v<T*, const char*> || std::is_convertible_v<T*, const char16_t*> ||
    std::is_convertible_v<T*, const IOrvStringList*> || std::is_convertible_v<T*, const IOrvPStringList*> ||
    std::is_convertible_v<T*, const IOrvIntList*> || std::is_convertible_v<T*, const IOrvDoubleList*> ||
    std::is_convertible_v<T*, const IOrvBoolList*>;

// "Dictionary"; answers to "IDictionary" and "IDictionary3". Any thread: one mutex a dictionary serialises all
// operations, and each is seen by others as a whole.
//
// Base operations: LoadState(file) and SaveState(file) are LoadFile and SaveFile; the content directories are the
// search directories for bare file names; the write directory is where a bare name is saved when no file was loaded
// from a search directory.
//
// Outputs are replaced on success and untouched on failure, unless the output object itself fails half way.
class IDictionary : public IBaseWorkFlowObject {
 public:
  // Stores a value and its type; other attributes and the sub-entries stay. False: null argument, invalid path, no
  // memory. A list that fails half way leaves the items written so far. Listeners are told of a success.
  //
  // An entry that is a redirection (SetRedirection) passes the value on: to the first of its paths that exists, or else
  // to the first of them. After 16 redirections the operation fails.
  virtual bool SetValue(const char* path, const IOrvStringList* value) = 0;
  virtual bool SetValue(const char* path, const char16_t* value) = 0;
  virtual bool SetValue(const char* path, bool value) = 0;
  virtual bool SetValue(const char* path, const IOrvBoolList* value) = 0;
  virtual bool SetValue(const char* path, const IOrvDoubleList* value) = 0;
  virtual bool SetValue(const char* path, const IOrvIntList* value) = 0;
  virtual bool SetValue(const char* path, const IOrvPStringList* value) = 0;
  virtual bool SetValue(const char* path, const char* value) = 0;
  virtual bool SetValue(const char* path, double value) = 0;
  virtual bool SetValue(const char* path, std::int32_t value) = 0;
  // Any other pointer would be stored as a boolean.
  template <class Path, class T>
  requires(!kIsDictionaryValue<T>) bool SetValue(const Path& path, T* value) = delete;

  // Reads a value. False: null argument, no such entry, or an entry of another type; nothing is converted. A
  // redirection answers with the first of its paths, in their order, that leads to a value of the type.
  virtual bool GetValue(const char* path, IOrvStringList* value) = 0;
  virtual bool GetValue(const char* path, IOrvString* value) = 0;
  virtual bool GetValue(const char* path, bool* value) = 0;
  virtual bool GetValue(const char* path, IOrvDoubleList* value) = 0;
  virtual bool GetValue(const char* path, IOrvIntList* value) = 0;
  virtual bool GetValue(const char* path, IOrvPStringList* value) = 0;
  virtual bool GetValue(const char* path, IOrvPString* value) = 0;
  virtual bool GetValue(const char* path, double* value) = 0;
  virtual bool GetValue(const char* path, std::int32_t* value) = 0;

  // Attributes of an entry, by name. Set creates a missing entry; a name that could not be read back (empty, or with a
  // blank, "=", ">", "/" or a quote in it) is refused. A value that holds both kinds of quotes is cut at the first when
  // it is read again.
  virtual bool HasAttribute(const char* path, const char* name) = 0;
  virtual bool GetAttribute(const char* path, const char* name, IOrvPString* value) = 0;
  virtual bool SetAttribute(const char* path, const char* name, const char* value) = 0;

  // The version of the file format, "2.0.0.0", as the root has it from the last load or save; false when it has none.
  virtual bool GetFileVersion(IOrvPString* version) = 0;

  // `Nil` for a missing entry, an unknown tag and a null path. Does not follow redirections.
  virtual ValueType GetValueType(const char* path) = 0;

  virtual bool Exists(const char* path) = 0;

  // Removes the entry and everything below it; false when it does not exist. Deleting the root empties the dictionary.
  virtual bool Delete(const char* path) = 0;

  // Replaces the content of `names` by the names of the entry's children in their order, the holder of list items left
  // out. False when the entry does not exist; true and empty when it has no children.
  virtual bool GetEntries(const char* path, IOrvPStringList* names) = 0;

  // How many names GetEntries would give.
  virtual bool CountEntries(const char* path, std::size_t* count) = 0;

  // Loading empties the dictionary and builds it from the file's content; a load that fails half way leaves what was
  // complete by then. A file that cannot be read leaves the dictionary as it was. A bare name (no "/", "\" or ":") is
  // looked for in the search directories first. GetLoadReport tells why it failed. With an encryption key a plain file
  // is loaded as it is; GetLoadReport tells that too.
  virtual bool LoadFile(const char* file_name) = 0;

  // Saving empties "/IDictionaryNameValPairs" (in memory too) and replaces the file as a whole: on failure the old file
  // stands. A bare name goes to the search directory in which the last file was found. While an encryption key is set
  // nothing is written but enciphered text: without the object "Encryption" saving fails. It fails, too, for
  // a text of 4 GiB, and for content of which the indentation deeper than 1,000 levels would take more than 64 MiB (a
  // chain of some 8,000 entries). GetSaveReport tells why.
  virtual bool SaveFile(const char* file_name) = 0;

  // The same from and to memory, by the text alone: no name/value pairs are touched. False for an empty text.
  virtual bool LoadFromText(const char* text, std::size_t length) = 0;
  virtual bool SaveToText(IOrvPString* text) = 0;

  // Replaces the content of `paths` by the given path and all paths below it in pre-order, each formed as parent + "/"
  // + name. False when the entry does not exist.
  virtual bool EnumeratePaths(const char* path, IOrvPStringList* paths) = 0;

  // Takes the entry's value, its attributes and everything below it; the entry stays in its place. False when it does
  // not exist.
  virtual bool Clear(const char* path) = 0;

  // Gives the entry another name; what it holds stays, and it moves behind its siblings, like one just made. True
  // without any change for the name that it has. False: no such entry, the root, an invalid path, a name that is not
  // one valid component or that a sibling has.
  virtual bool Rename(const char* path, const char* new_name) = 0;

  // Those of the paths that EnumeratePaths would give in which the pattern (see IRegExp) is found; null or "" is found
  // in all. False when the entry does not exist and for a pattern that is no pattern.
  virtual bool FindPaths(const char* path, const char* pattern, IOrvPStringList* paths) = 0;

  // How many paths EnumeratePaths would give: the entry and all below it.
  virtual bool CountSubtree(const char* path, std::size_t* count) = 0;

  // Has the listener told of every written value whose path, as the writer gave it, holds the pattern (see IRegExp; it
  // may match anywhere in the path; null or "" matches all). One that is no pattern matches nothing. A listener added
  // twice is called twice. False for null and without memory.
  //
  // SetValue and SetBinary tell, once they have let the mutex go; other operations do not. Listeners are called one
  // after the other in the order in which they were added. While they are, no other change of the dictionary is told,
  // whoever makes it. One added meanwhile is not called before the next change; one removed meanwhile not at all.
  virtual bool AddListener(IDictionaryListener* listener, const char* pattern) = 0;

  // Takes the listener out, as often as it was added; true also when it was not there.
  //
  // It is not called again, and a call that runs on another thread has ended before this returns: the caller must not
  // hold a lock for which the listener waits. Called by a listener (of any dictionary) it does not wait, since the two
  // could wait for each other; the call that runs may then still be running.
  virtual bool RemoveListener(IDictionaryListener* listener) = 0;

  // Values below "/IDictionaryNameValPairs" are not for files: SaveFile empties them. This variant of it writes them
  // like others and leaves them as they are.
  virtual bool SaveFileWithPairs(const char* file_name) = 0;
  // LoadFile, but what "/IDictionaryNameValPairs" was before, it is afterwards, whatever the file holds there; after a
  // load that fails half way, too. A file whose root has another name than "IDictionaryRoot" has no place for it.
  virtual bool LoadFileKeepingPairs(const char* file_name) = 0;

  // Replaces the content of `names` by the names of the entry's attributes in their order, "__type" included. False
  // when the entry does not exist.
  virtual bool GetAttributeNames(const char* path, IOrvPStringList* names) = 0;
  // False when the entry has no such attribute, and for an invalid path. Without "__type" an entry has no value.
  virtual bool RemoveAttribute(const char* path, const char* name) = 0;

  // Makes the entry a redirection to the given paths: its value becomes that list, even if it was a redirection before,
  // and the attribute "_isRedirection" marks it. The paths are neither looked up nor validated. No listener is told.
  virtual bool SetRedirection(const char* path, const IOrvPStringList* targets) = 0;
  // True for an entry with the mark (its attribute "_isRedirection" is a number other than 0).
  virtual bool IsRedirection(const char* path) = 0;
  // Takes the mark: the list of paths is then the entry's value. False when the entry is no redirection.
  virtual bool RemoveRedirection(const char* path) = 0;

  // A block of bytes, as SetValue and GetValue; held as base64 text. `data` may be null when `size` is 0. Reading fails
  // for a text that is no base64, white space apart.
  virtual bool SetBinary(const char* path, const void* data, std::size_t size) = 0;
  virtual bool GetBinary(const char* path, IOrvBasicStream* value) = 0;

  // Operations on subtrees: an entry with value, attributes and everything below it. They do not follow redirections
  // and tell no listener. False, with nothing changed, for a source that does not exist and a destination that is no
  // valid path; without memory the destination may hold a part. The paths may lie one within the other: the source is
  // taken as it was before.

  // Makes `to` the same as `from`. What was at `to` is replaced as a whole, in its place; missing entries on the way
  // are created. Either may be the root.
  virtual bool CopySubtree(const char* from, const char* to) = 0;
  // The same, and removes `from`. False for a `to` within `from`, the root as `from` thus included; true without any
  // change when both are the same entry. Without memory `from` is still whole.
  virtual bool MoveSubtree(const char* from, const char* to) = 0;
  // Compares the entry with one of `other` (which may be this dictionary): values with their types, attributes, and
  // sub-entries by name, in whatever order they and the attributes stand. Replaces the content of `differences` by the
  // paths at which the two differ, the part below the two entries each: "" for themselves, "/a/b" for what is below. An
  // entry that is on one side only stands for everything below it. True, and empty, when they are the same. False when
  // either does not exist, and for an `other` that another library made.
  virtual bool CompareSubtrees(const char* path, IDictionary* other, const char* other_path,
                               IOrvPStringList* differences) = 0;
  // Adds `from` of the dictionary `source` (which may be this one) to `to`: what has a value there gives it to the
  // entry here, attributes are set one by one, missing entries are created; nothing else is changed. False also for a
  // `source` that another library made.
  virtual bool MergeSubtree(IDictionary* source, const char* from, const char* to) = 0;

  // A subtree as a dictionary file of its own: the entry is the file's root. Loading replaces the entry as a whole,
  // like CopySubtree; a file that does not load to its end, or whose root is not "IDictionaryRoot", changes nothing.
  // Files are found, read and replaced as by LoadFile and SaveFile.
  virtual bool SaveSubtree(const char* path, const char* file_name) = 0;
  virtual bool LoadSubtree(const char* path, const char* file_name) = 0;
  // The same to and from memory.
  virtual bool SaveSubtreeToStream(const char* path, IOrvBasicStream* stream) = 0;
  virtual bool LoadSubtreeFromStream(const char* path, const IOrvBasicStream* stream) = 0;
  // The same for "/IDictionaryNameValPairs"; without it an empty one is saved.
  virtual bool SavePairs(const char* file_name) = 0;
  virtual bool LoadPairs(const char* file_name) = 0;

  // Replaces the content of `texts` by the text form of the entry's value, whatever its type: one text for a scalar
  // ("-5", "0.250000", "1" for true, UTF-8 for a wide string, base64 for binary data), one an item for a list. False
  // when the entry does not exist or has no value. Does not follow redirections.
  virtual bool GetValueTexts(const char* path, IOrvPStringList* texts) = 0;

  // A new dictionary, made by the host's factory and given this one's utility store; the caller ends it with Release().
  // Null when the factory makes none that answers to "IDictionary3".
  virtual IDictionary* MakeDictionary() = 0;
  // The same with a copy of the entry as its root, and this one's encryption key, if it has one. Null also when the
  // entry does not exist, and when the factory's dictionaries are made by another library.
  virtual IDictionary* CopyToNewDictionary(const char* path) = 0;

  // The operations above with the path as an object.
  virtual bool SetValue(const DictionaryPathWrapper& path, const IOrvStringList* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const char16_t* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, bool value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const IOrvBoolList* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const IOrvDoubleList* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const IOrvIntList* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const IOrvPStringList* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, const char* value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, double value) = 0;
  virtual bool SetValue(const DictionaryPathWrapper& path, std::int32_t value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvStringList* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvString* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, bool* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvDoubleList* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvIntList* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvPStringList* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvPString* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, double* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, std::int32_t* value) = 0;
  virtual ValueType GetValueType(const DictionaryPathWrapper& path) = 0;
  virtual bool Exists(const DictionaryPathWrapper& path) = 0;
  virtual bool Delete(const DictionaryPathWrapper& path) = 0;
  virtual bool GetEntries(const DictionaryPathWrapper& path, IOrvPStringList* names) = 0;
  virtual bool CountEntries(const DictionaryPathWrapper& path, std::size_t* count) = 0;
  virtual bool EnumeratePaths(const DictionaryPathWrapper& path, IOrvPStringList* paths) = 0;
  virtual bool Clear(const DictionaryPathWrapper& path) = 0;
  virtual bool Rename(const DictionaryPathWrapper& path, const char* new_name) = 0;
  virtual bool FindPaths(const DictionaryPathWrapper& path, const char* pattern, IOrvPStringList* paths) = 0;
  virtual bool CountSubtree(const DictionaryPathWrapper& path, std::size_t* count) = 0;
  virtual bool HasAttribute(const DictionaryPathWrapper& path, const char* name) = 0;
  virtual bool GetAttribute(const DictionaryPathWrapper& path, const char* name, IOrvPString* value) = 0;
  virtual bool SetAttribute(const DictionaryPathWrapper& path, const char* name, const char* value) = 0;

  // The getter for lists of booleans, in both forms.
  virtual bool GetValue(const char* path, IOrvBoolList* value) = 0;
  virtual bool GetValue(const DictionaryPathWrapper& path, IOrvBoolList* value) = 0;

  // A number that changes with every change of the content, for callers that keep what they read. Calls that fail
  // before they change anything, and values set to what they are, leave it.
  virtual std::uint64_t GetChangeCount() = 0;

  // For dictionaries of one library among themselves: the object as that library knows it when `library` is the mark of
  // the library that made it, else null. What passes calls on to another dictionary passes this one on, too.
  virtual void* GetObjectOf(const void* library) = 0;

  // How the last LoadFile, LoadFileKeepingPairs, LoadFromText, LoadSubtree, LoadSubtreeFromStream or LoadPairs ended;
  // of several at once, the one that ended last, whichever thread it ran on. `text` (may be null) becomes what is
  // wrong, in English and without the file's name, such as "cut off: <a>, opened in line 3, has no end tag" or
  // "permission denied"; "" after a success. False for a null report, and when the text cannot be assigned.
  virtual bool GetLoadReport(FileReport* report, IOrvPString* text) = 0;
  // The same for SaveFile, SaveFileWithPairs, SaveSubtree and SavePairs.
  virtual bool GetSaveReport(FileReport* report, IOrvPString* text) = 0;

  // What is doubtful about the text that was loaded last, whether its loading succeeded or not: each "line L, column C:
  // what", in their order, at most 100. Such are what makes a load fail, end tags of another name, siblings with one
  // name, character data sections, another encoding than UTF-8, what a file cannot hold, and what follows the root.
  // `remarks` (may be null) becomes the number of comments and processing instructions, which a save leaves out, and
  // `first_line` (may be null) the line of the first of them. Reads the whole text. False, with nothing assigned, when
  // the text is gone: nothing was loaded yet, or the content was loaded or deleted as a whole since.
  virtual bool GetLoadProblems(IOrvPStringList* problems, std::uint32_t* remarks, std::uint32_t* first_line) = 0;

  // The counterpart of GetValueTexts: stores a value of any type by its text form, one text for a scalar, any number
  // for a list, as they stand. False, with nothing changed, for a text that is none of the type (a number with
  // something behind it or out of range, wide text that is no UTF-8, no base64), another number of texts, Nil, and what
  // SetValue refuses. Does not follow redirections; listeners are told of a success.
  virtual bool SetValueTexts(const char* path, ValueType type, const IOrvPStringList* texts) = 0;

  // SetValueTexts, if the entry's type is `expected_type` and its texts (as GetValueTexts gives them) are `expected`,
  // byte by byte; Nil, with `expected` not looked at, stands for an entry without a value and for a missing one. No
  // other change comes between the comparison and the writing. `matches` (may be null) tells whether the entry was as
  // expected; false without a change otherwise, and in the cases of SetValueTexts, which are found first: then
  // `matches` is false.
  virtual bool CompareAndSetTexts(const char* path, ValueType expected_type, const IOrvPStringList* expected,
                                  ValueType type, const IOrvPStringList* texts, bool* matches) = 0;

  // Makes `to` the same as the entry `from` of the dictionary `source` (which may be this one), as CopySubtree does.
  // The entry is taken as it is at one moment and put here at another; the two are never locked together. False also
  // for a `source` that another library made.
  virtual bool CopySubtreeFrom(IDictionary* source, const char* from, const char* to) = 0;

  // A watch on the entries that match one of the patterns, and on everything below these. A pattern is a path; a
  // component "*" stands for any one name. What is seen: every operation that may change a value, an attribute or the
  // children of such an entry, makes or removes one, or names an entry above one; loading; and, while a watched entry
  // is a redirection, every change anywhere. Writes elsewhere cost some nanoseconds more while there is a watch. The
  // caller ends the watch with Release(). Null for null arguments, without a pattern, for one that no path can match,
  // and without memory.
  virtual IDictionaryWatch* WatchChanges(const char* const* patterns, std::size_t count) = 0;

  // Registers the object that is told every change (see IDictionaryObserver.h); it replaces the one before, and null
  // removes that. Not owned. It may go as soon as it was removed. A dictionary that is made from this one has none.
  virtual bool SetObserver(IDictionaryObserver* observer) = 0;

  // Further operations with paths as objects; they take no place in the table.
  bool GetAttributeNames(const DictionaryPathWrapper& path, IOrvPStringList* names) {
    return GetAttributeNames(path.GetPath(), names);
  }
  bool RemoveAttribute(const DictionaryPathWrapper& path, const char* name) {
    return RemoveAttribute(path.GetPath(), name);
  }
  bool SetRedirection(const DictionaryPathWrapper& path, const IOrvPStringList* targets) {
    return SetRedirection(path.GetPath(), targets);
  }
  bool IsRedirection(const DictionaryPathWrapper& path) { return IsRedirection(path.GetPath()); }
  bool RemoveRedirection(const DictionaryPathWrapper& path) { return RemoveRedirection(path.GetPath()); }
  bool SetBinary(const DictionaryPathWrapper& path, const void* data, std::size_t size) {
    return SetBinary(path.GetPath(), data, size);
  }
  bool GetBinary(const DictionaryPathWrapper& path, IOrvBasicStream* value) { return GetBinary(path.GetPath(), value); }
  bool CopySubtree(const DictionaryPathWrapper& from, const DictionaryPathWrapper& to) {
    return CopySubtree(from.GetPath(), to.GetPath());
  }
  bool MoveSubtree(const DictionaryPathWrapper& from, const DictionaryPathWrapper& to) {
    return MoveSubtree(from.GetPath(), to.GetPath());
  }
  bool CompareSubtrees(const DictionaryPathWrapper& path, IDictionary* other, const DictionaryPathWrapper& other_path,
                       IOrvPStringList* differences) {
    return CompareSubtrees(path.GetPath(), other, other_path.GetPath(), differences);
  }
  bool MergeSubtree(IDictionary* source, const DictionaryPathWrapper& from, const DictionaryPathWrapper& to) {
    return MergeSubtree(source, from.GetPath(), to.GetPath());
  }
  bool SaveSubtree(const DictionaryPathWrapper& path, const char* file_name) {
    return SaveSubtree(path.GetPath(), file_name);
  }
  bool LoadSubtree(const DictionaryPathWrapper& path, const char* file_name) {
    return LoadSubtree(path.GetPath(), file_name);
  }
  bool SaveSubtreeToStream(const DictionaryPathWrapper& path, IOrvBasicStream* stream) {
    return SaveSubtreeToStream(path.GetPath(), stream);
  }
  bool LoadSubtreeFromStream(const DictionaryPathWrapper& path, const IOrvBasicStream* stream) {
    return LoadSubtreeFromStream(path.GetPath(), stream);
  }
  bool GetValueTexts(const DictionaryPathWrapper& path, IOrvPStringList* texts) {
    return GetValueTexts(path.GetPath(), texts);
  }
  bool SetValueTexts(const DictionaryPathWrapper& path, ValueType type, const IOrvPStringList* texts) {
    return SetValueTexts(path.GetPath(), type, texts);
  }
  bool CompareAndSetTexts(const DictionaryPathWrapper& path, ValueType expected_type, const IOrvPStringList* expected,
                          ValueType type, const IOrvPStringList* texts, bool* matches) {
    return CompareAndSetTexts(path.GetPath(), expected_type, expected, type, texts, matches);
  }
  bool CopySubtreeFrom(IDictionary* source, const DictionaryPathWrapper& from, const DictionaryPathWrapper& to) {
    return CopySubtreeFrom(source, from.GetPath(), to.GetPath());
  }
  IDictionary* CopyToNewDictionary(const DictionaryPathWrapper& path) { return CopyToNewDictionary(path.GetPath()); }

 protected:
  ~IDictionary() = default;
};

}  // namespace OrvWorkFlow
