// Copies or moves a file, or the files of a folder, of any size. A file takes its name at the target when it is whole:
// until then it is NAME.part there.
//
// Below /TreeCopier/<instance>: Count and Bytes, what is done; Name, PartBytes, PartSize and PartChanged, of the file
// that is being copied: so much of it is in its part, and the source was like that; After, the last file that is done.
//
// A stopped copy goes on where it was, whatever the part has become meanwhile; a source that changed begins anew.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "nodes/files/LocalFile.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class TreeCopier final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "TreeCopier";
  static const NodeDescription kDescription;
  TreeCopier() : TaskNode(kTypeName, kDescription) {}

 private:
  struct Pair {
    std::string name;  // as the record has it
    std::filesystem::path source;
    std::filesystem::path target;
    std::string shown_source;
    std::string shown_target;
  };

  const char* DoTask(const std::string& task) override;
  // False when it was stopped.
  bool PlanFile(const std::string& source, const std::string& target, std::vector<Pair>& pairs);
  bool PlanFolder(const std::string& source, const std::string& target, std::vector<Pair>& pairs);
  bool Transfer(const Pair& pair, bool moves, bool overwrites, bool continues);
  bool CopyWhole(const Pair& pair, const FileState& state);
  bool FillPart(const Pair& pair, const FileState& state, bool& is_open);
  bool IsSame(const Pair& pair) const;
  bool CopyPieces(LocalFile& from, LocalFile& part, std::uint64_t done, std::uint64_t size);
};

}  // namespace OrvWorkFlow::Nodes
