// Where the paths that a workflow names lead before anything of it is loaded.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "flow/model/FlowBeside.h"

namespace OrvWorkFlow::Flow {

// "" for a path without a folder.
std::string FolderOf(const std::string& path);

// The items of a list of texts; none where there is no such list.
std::vector<std::string> TextsAt(IDictionary& dictionary, const std::string& path);

// The location macro that a name begins with ("WINTEMP"), which a path then means: "$WINTEMPO/x" is "$WINTEMP" and
// "O/x". "" for none.
std::string MacroAtBeginOf(const std::string& name);

class FlowPaths {
 public:
  // Of a workflow called `name`, whose own file is `file`, and of those beside it.
  FlowPaths(const std::string& name, const std::string& file, const std::vector<FlowBeside>& beside);

  // The name of the workflow in which the path begins; "" for a path that begins with none.
  static std::string WorkflowIn(const std::string& path);

  bool Knows(const std::string& workflow) const { return folders_.count(workflow) != 0; }
  std::vector<std::string> Names() const;

  // The path as the library's file system takes it while it knows no workflow; nothing where it begins with a workflow
  // that is not here.
  std::optional<std::string> Translate(const std::string& path) const;

  // Whether it leads somewhere whatever the current folder is.
  static bool IsWhole(const std::string& path);

 private:
  std::map<std::string, std::string> folders_;  // by workflow
};

// Whether something is there, as the library's file system sees it.
class FileLook {
 public:
  FileLook();
  FileLook(const FileLook&) = delete;
  FileLook& operator=(const FileLook&) = delete;
  ~FileLook();

  // False when there is no file system to ask.
  bool CanLook() const { return files_ != nullptr; }
  bool IsFile(const std::string& path) const;
  bool IsFolder(const std::string& path) const;

 private:
  IBaseWorkFlowObject* object_ = nullptr;
  IFileSystemA* files_ = nullptr;
};

}  // namespace OrvWorkFlow::Flow
