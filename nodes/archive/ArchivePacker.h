// Packs a file, or the files of a folder, into an archive. It takes its name when it is whole: until then it is
// TARGET.part. Stopped work begins anew.
//
// Below /ArchivePacker/<instance>: Count and Bytes, of the files; Size, of the archive; Changed, when it was written.
#pragma once

#include <vector>

#include "nodes/archive/ArchiveWriter.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class ArchivePacker final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "ArchivePacker";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  ArchivePacker() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  struct Item {
    std::filesystem::path source;
    std::string shown_source;
    std::filesystem::path name;
  };

  const char* DoTask(const std::string& task) override;
  const char* Pack();
  std::vector<Item> Plan(const std::filesystem::path& target, const std::filesystem::path& part);
  std::vector<Item> PlanFolder(const std::string& source, const std::filesystem::path& target,
                               const std::filesystem::path& part);
  bool IsThere(const std::filesystem::path& target) const;
  void WriteAll(const std::filesystem::path& part, const std::string& shown_target, const std::vector<Item>& items);
};

}  // namespace OrvWorkFlow::Nodes
