// A folder beside the one that an archive is extracted to, which gets all that comes out and then becomes that one. It
// begins empty, holds plain files and folders alone, and nothing is written outside of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "nodes/archive/ByteSource.h"

namespace OrvWorkFlow::Nodes {

class StagingFolder {
 public:
  // Makes the folder. What had its name is deleted first, without following links. Throws FileProblem, as all the
  // others, and ArchiveStopped.
  StagingFolder(std::filesystem::path path, std::string shown_name, StopCheck stop_wanted);

  // Makes a folder and those that it lies in; how many were made. `name` is a path below this one.
  std::uint64_t MakeFolders(const std::string& name);
  // Where a new file goes, whose folder is made; nothing has the name.
  std::filesystem::path PlaceFor(const std::string& name, std::uint64_t& folders_made);
  // What is there already.
  std::filesystem::path PlaceOf(const std::string& name) const;
  std::filesystem::path PlainFile(const std::string& name) const;
  std::string Shown(const std::string& name) const;

  // What it holds is at the target then. The target is not there, or an empty folder.
  void BecomeFolder(const std::filesystem::path& target, const std::string& shown_target);
  void Remove() { RemoveTree(path_, shown_name_, stop_wanted_); }

  // What is not there is no problem.
  static void RemoveTree(const std::filesystem::path& top, const std::string& shown_name, const StopCheck& stop_wanted);

 private:
  std::filesystem::path path_;
  std::string shown_name_;
  StopCheck stop_wanted_;
  std::string last_made_;  // the folder that is there, as most entries follow one of the same folder
};

}  // namespace OrvWorkFlow::Nodes
