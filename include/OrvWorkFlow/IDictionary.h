// A hierarchical store of typed values, saved as XML: the home of every workflow's definition and state.
//
// Paths: components separated by "/", empty components ignored, case-sensitive; a component holds letters, digits, "_"
// and
// "-" only. "" and "/" name the root. Writing creates what is missing on the way; a write to an invalid path fails and
// creates nothing. Reading an invalid path finds nothing.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

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

// "Dictionary"; answers to "IDictionary" and "IDictionary3". Any thread: one mutex a dictionary serialises all
// operations.
//
// Base operations: LoadState(file) and SaveState(file) are LoadFile and SaveFile; the content directories are the
// search directories for bare file names; the write directory is where a bare name is saved when no file was loaded
// from a search directory.
//
// Outputs are replaced on success and untouched on failure, unless the output object itself fails half way.
class IDictionary : public IBaseWorkFlowObject {
 public:
  // Stores a value and its type; other attributes and the sub-entries stay. False: null argument, invalid path, no
  // memory. A list that fails half way leaves the items written so far.
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

  // Reads a value. False: null argument, no such entry, or an entry of another type; nothing is converted.
  virtual bool GetValue(const char* path, IOrvStringList* value) = 0;
  virtual bool GetValue(const char* path, IOrvString* value) = 0;
  virtual bool GetValue(const char* path, bool* value) = 0;
  virtual bool GetValue(const char* path, IOrvBoolList* value) = 0;
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

  // `Nil` for a missing entry, an unknown tag and a null path.
  virtual ValueType GetValueType(const char* path) = 0;

  virtual bool Exists(const char* path) = 0;

  // Removes the entry and everything below it; false when it does not exist. Deleting the root empties the dictionary.
  virtual bool Delete(const char* path) = 0;

  // Replaces the content of `names` by the names of the entry's children in their order, the holder of list items left
  // out. False when the entry does not exist; true and empty when it has no children.
  virtual bool GetEntries(const char* path, IOrvPStringList* names) = 0;

  // Loading empties the dictionary and builds it from the file's content; a load that fails half way leaves what was
  // complete by then. A file that cannot be read leaves the dictionary as it was. A bare name (no "/", "\" or ":") is
  // looked for in the search directories first.
  virtual bool LoadFile(const char* file_name) = 0;

  // Saving empties "/IDictionaryNameValPairs" (in memory too) and replaces the file as a whole: on failure the old file
  // stands. A bare name goes to the search directory in which the last file was found.
  virtual bool SaveFile(const char* file_name) = 0;

  // The same from and to memory, by the text alone: no name/value pairs are touched. False for an empty text.
  virtual bool LoadFromText(const char* text, std::size_t length) = 0;
  virtual bool SaveToText(IOrvPString* text) = 0;

  // Replaces the content of `paths` by the given path and all paths below it in pre-order, each formed as parent + "/"
  // + name. False when the entry does not exist.
  virtual bool EnumeratePaths(const char* path, IOrvPStringList* paths) = 0;

  // A number that changes with every change of the content, for callers that keep what they read.
  virtual std::uint64_t GetChangeCount() = 0;

 protected:
  ~IDictionary() = default;
};

}  // namespace OrvWorkFlow
