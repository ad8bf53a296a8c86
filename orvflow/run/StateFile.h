// The file in which the state of a workflow is saved, so that a later run continues from it.
//
// Besides the workflow's dictionary it holds, at "/Orvflow/FlowChecksum", a checksum of the flow file that the workflow
// began with.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/files/FileLock.h"

namespace OrvWorkFlow::Program {

// As long as it lives no other host uses the file, whatever links name it: "<file>.lock" is locked, beside the file
// that all links lead to. Whoever has the lock removes what saves that were killed have left there.
class StateFile {
 public:
  // `file` "" means the one beside the flow, "<name>.state.xml", beside the file itself when the flow is a link. Throws
  // ProgramError when the file is the flow itself or a folder, is another user's where anybody may write, and when
  // another host uses it. A flow from standard input, "-", has no file beside it, and so no state without a `file`.
  StateFile(const std::string& flow, const std::string& file);

  // How the user knows the state of `flow` when `file` was given.
  static std::string NameFor(const std::string& flow, const std::string& file);

  // As the user knows it, and from the root of the host's file system without links.
  const std::string& shown_name() const { return shown_name_; }
  const std::string& path() const { return path_; }

  // Whether there is a file at all.
  bool IsNamed() const { return !path_.empty(); }
  // Throws ProgramError when the system cannot tell.
  bool Exists() const;
  // False when nothing can be saved, with the system's reason: its folder does not exist or cannot be written.
  bool CanBeWritten() const { return lock_ && lock_->outcome() == FileLock::Outcome::Held; }
  std::string why_not_written() const { return lock_ ? lock_->reason() : "it has no file"; }

  // Reads the state into a dictionary of the caller's. Throws ProgramError, with the file's name, when it cannot be
  // read now, and when it is no state of the workflow `workflow_name`.
  void Read(IDictionary& dictionary, const std::string& workflow_name) const;

  // Has `save` write the state to the file that it is given; true when the state is saved. The first save of a state is
  // for its owner's eyes only; later ones keep the file's permissions. Without memory the state is not saved.
  bool Save(const std::function<bool(const char* file)>& save) const;

  // The system's reason when it is still there, or may come back after a power failure; else "".
  std::string Remove() const;

 private:
  void CheckPlace(const std::string& flow) const;
  void CheckLock() const;
  void RemoveLeftovers() const;

  std::string shown_name_;
  std::string named_path_;  // as it was named, links and all
  std::string path_;
  std::optional<FileLock> lock_;
};

// What tells whether a flow file has changed: a checksum of its bytes, in hexadecimal digits. Throws ProgramError, with
// the name `shown_name`, when the file cannot be read to its end.
std::string ChecksumOfFile(const std::string& path, const std::string& shown_name);
// That of the flow which the workflow of the dictionary began with; "" when it holds none.
std::string ReadFlowChecksum(IDictionary& dictionary);
bool WriteFlowChecksum(IDictionary& dictionary, const std::string& checksum);

}  // namespace OrvWorkFlow::Program
