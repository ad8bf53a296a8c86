// Watches a folder and tells of each file that is new, changed or gone, one after the other. A file counts once it is
// complete: unchanged in size and time for as long as Settle says, which an older file that was renamed into the folder
// is at once, and open for writing nowhere that can be seen.
//
// Below /FolderWatcher/<instance>: File and Name, the file that was told of last; Event, "new", "changed" or "gone",
// until "next" comes; Told, when it was told; Known, what the folder held, an item a file. Nothing is told twice when
// it is stopped, and nothing is lost when it is killed; what happens meanwhile is seen afterwards.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <string>

#include "nodes/files/LocalFile.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class FolderWatcher final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "FolderWatcher";
  static const NodeDescription kDescription;
  FolderWatcher() : TaskNode(kTypeName, kDescription) {}
  std::int32_t MostSignalsFired() override { return kAnyNumber; }

 private:
  using Clock = std::chrono::steady_clock;
  using States = std::map<std::string, FileState>;
  struct Event {
    std::string kind;
    std::string name;
    FileState state;
  };
  struct Unsettled {
    FileState state;
    Clock::time_point since;
  };

  bool OnSignal(std::string_view signal) override;
  const char* DoTask(const std::string& task) override;
  // False when it was stopped.
  bool Begin();
  bool Look();
  bool IsComplete(const std::string& name, const FileState& state);
  void Take(const Event& event);
  // False when the next one has to wait.
  bool Tell();
  void WriteKnown();
  void ReadKnown();

  std::string folder_;
  States known_;
  std::deque<Event> events_;
  std::map<std::string, Unsettled> unsettled_;
};

}  // namespace OrvWorkFlow::Nodes
