// The file in which the state of a workflow is saved, so that a later run continues from it.
//
// Besides the workflow's dictionary it holds, at "/Orvflow/FlowChecksum", a checksum of the flow file that the workflow
// began with.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Host {

class FileLock;

// Is given one line for the user, without a line break. Any thread.
using LineReceiver = std::function<void(const std::string& line)>;

// A name or a literal that outlives the state file: how its user is told what to do. The texts end sentences.
struct StateWords {
  std::string_view argument = {};                           // before the name, where it cannot be used at all
  std::string_view option = {};                             // " with --state": how a state is named
  std::string_view begin_anew = "remove it to begin anew";  // how a workflow begins anew
  std::string_view key = "the key";                         // where the key comes from
};

// As long as it lives no other host uses the file, in this process or another one, whatever links name it:
// "<file>.lock" is locked, beside the file that all links lead to. The lock ends with the process, however that ends.
// Whoever has it removes what saves that were killed have left there. One thread at a time.
class StateFile {
 public:
  // No file: nothing is saved.
  StateFile();
  // `file` "" is the one beside the flow, "<name>.state.xml", beside the file itself when the flow is a link. `tell`
  // gets what is doubtful. Throws HostError: Misplaced when the file is the flow itself or a folder, Failed when it is
  // another user's where anybody may write, InUse when another host uses it. A place where nothing can be written is no
  // error yet, see CanBeWritten.
  StateFile(const std::string& flow, const std::string& file, LineReceiver tell = {}, StateWords words = {});
  StateFile(const StateFile&) = delete;
  StateFile& operator=(const StateFile&) = delete;
  // Gives the lock back.
  ~StateFile();

  // How the user knows the state of `flow` when `file` was given.
  static std::string NameFor(const std::string& flow, const std::string& file);

  // As the user knows it, and from the root of the host's file system without links.
  const std::string& shown_name() const { return shown_name_; }
  const std::string& path() const { return path_; }
  const StateWords& words() const { return words_; }

  // Whether there is a file at all.
  bool IsNamed() const { return !path_.empty(); }
  // Whether a state was saved there. Throws HostError when the system cannot tell.
  bool Exists() const;
  // False when nothing can be saved, with the system's reason: its folder does not exist or cannot be written.
  bool CanBeWritten() const;
  std::string why_not_written() const;

  // Reads the state into a dictionary of the caller's. Throws HostError, with the file's name, when it cannot be read
  // now, and when it is no state of the workflow `workflow_name`.
  void Read(IDictionary& dictionary, const std::string& workflow_name) const;

  // Has `save` write the state to the file that it is given; true when the state is saved. The first save of a state is
  // for its owner's eyes only; later ones keep the file's permissions. Without memory the state is not saved. A failure
  // leaves the file as it was.
  bool Save(const std::function<bool(const char* file)>& save) const;

  // The workflow begins anew. The system's reason when the file is still there, or may come back after a power failure;
  // else "".
  std::string Remove() const;

 private:
  void CheckPlace(const std::string& flow) const;
  void CheckLock() const;
  void RemoveLeftovers() const;

  LineReceiver tell_;
  StateWords words_;
  std::string shown_name_;
  std::string named_path_;  // as it was named, links and all
  std::string path_;
  std::unique_ptr<FileLock> lock_;
};

}  // namespace OrvWorkFlow::Host
