// What a loop goes over: files, lines, texts of a list, children of an entry. Where a loop is stands in its record, so
// that it goes on with the next item in another object, too.
//
// In the record: Over, What, Pattern, Recursive, as the loop began; List, the texts, of a list and of children; Cursor,
// the last file, the number of bytes or of texts that were given.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes {

class LoopItems {
 public:
  static constexpr const char* kKinds[] = {"files", "lines", "list", "children"};
  struct Loop {
    std::string over;  // one of these
    std::string what;  // a folder, a file, the path of an entry; for a list, empty: `items`
    std::string pattern;
    bool is_recursive = false;
    std::vector<std::string> items;
  };

  // Begins a loop, in an empty record. Throws std::runtime_error with what is wrong.
  static void Begin(Sdk::NodeRecord record, IDictionary& dictionary, const Loop& loop);

  // The next item; nothing behind the last. Throws as Begin does.
  std::optional<std::string> Next(Sdk::NodeRecord record, IFileSystemA& file_system);

  // Forgets what it has read ahead.
  void Reset() { *this = LoopItems(); }

 private:
  std::optional<std::string> NextFile(Sdk::NodeRecord& record, IFileSystemA& file_system);
  std::optional<std::string> NextLine(Sdk::NodeRecord& record, IFileSystemA& file_system);
  static std::optional<std::string> NextText(Sdk::NodeRecord& record);
  void ListFiles(const Sdk::NodeRecord& record, IFileSystemA& file_system);

  bool is_listed_ = false;
  std::vector<std::string> files_;  // those that may come, in order
  std::string ahead_;               // bytes of the file from the cursor on
  std::uint64_t ahead_begin_ = 0;
};

// Whether a name is of a form with "*" and "?".
bool IsOfForm(std::string_view form, std::string_view name);

}  // namespace OrvWorkFlow::Nodes
