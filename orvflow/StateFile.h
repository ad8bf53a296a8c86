// The file in which the state of a workflow is saved, so that a later run continues from it.
//
// Besides the workflow's dictionary it holds, at "/Orvflow/FlowChecksum", a checksum of the flow file that the workflow
// began with.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/FileLock.h"

namespace OrvWorkFlow::Program {

// As long as it lives no other host uses the file: "<file>.lock" is locked.
class StateFile {
 public:
  // `file` "" means the one beside the flow, "<name>.state.xml". Throws ProgramError when the file is the flow itself
  // or a folder, and when another host uses it.
  StateFile(const std::string& flow, const std::string& file);

  // As the user knows it, and from the root of the host's file system.
  const std::string& shown_name() const { return shown_name_; }
  const std::string& path() const { return path_; }

  bool Exists() const;
  // False when nothing can be saved: its folder does not exist or cannot be written.
  bool CanBeWritten() const { return lock_.outcome() == FileLock::Outcome::Held; }

  // Reads the state into a dictionary of the caller's. Throws ProgramError, with the file's name, when it is no state
  // of the workflow `workflow_name`.
  void Read(IDictionary& dictionary, const std::string& workflow_name) const;

  // False when it is still there.
  bool Remove() const;

 private:
  std::string shown_name_;
  std::string path_;
  FileLock lock_;
};

// What tells whether a flow file has changed: a checksum of its bytes, in hexadecimal digits.
std::string ChecksumOfFile(const std::string& path);
// That of the flow which the workflow of the dictionary began with; "" when it holds none.
std::string ReadFlowChecksum(IDictionary& dictionary);
bool WriteFlowChecksum(IDictionary& dictionary, const std::string& checksum);

}  // namespace OrvWorkFlow::Program
