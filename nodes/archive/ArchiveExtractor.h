// Extracts an archive into a folder. All that comes out is in TARGET.part until the last entry is there; then that
// becomes TARGET. So a task that failed, or that goes on after a stop or a kill, has left nothing at the target.
//
// Below /ArchiveExtractor/<instance>: Count and Bytes, of the files; LeftOut, links that were; Whole, when only the
// name is missing.
#pragma once

#include "nodes/archive/ArchiveReader.h"
#include "nodes/archive/StagingFolder.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class ArchiveExtractor final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "ArchiveExtractor";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  ArchiveExtractor() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  struct Progress;
  class EntryFile;

  const char* DoTask(const std::string& task) override;
  const char* Extract();
  void ExtractAll(ArchiveReader& reader, StagingFolder& folder);
  void Take(const ArchiveEntry& entry, Progress& progress);
  void TakeFolder(const ArchiveEntry& entry, Progress& progress);
  void TakeFile(const ArchiveEntry& entry, Progress& progress);
  void CopyLinked(const ArchiveEntry& entry, Progress& progress, EntryFile& file);
};

}  // namespace OrvWorkFlow::Nodes
