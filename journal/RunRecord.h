// The record of a run: what happens in it, in its order, in a file that loses nothing when the process is killed.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "OrvWorkFlow/IDictionaryObserver.h"
#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/host/RunObserver.h"
#include "journal/BootName.h"
#include "journal/GrowingFile.h"
#include "journal/RecordFormat.h"

namespace OrvWorkFlow::Journal {

// What the head of a run says.
struct RunNote {
  std::string program;   // its version
  std::string platform;  // "linux", "windows"
  std::string flow;      // the workflow's file, by its whole path
  bool continued = false;
  std::string name = {};  // of the run, which is in its state, too; "" for none
  std::string boot = NameOfBoot();
};

// Registered with the host as an observer; outlives the run. Each operation costs some hundred nanoseconds at most and
// calls nothing of the system but once a megabyte. Where the disk has no more room the record ends, and the run does
// not: `problem` says so. Level of durability: what was told is in the file when the process dies, however; not
// promised when the machine does.
class RunRecord final : public Host::RunObserver, public IDictionaryObserver {
 public:
  enum class Earlier {
    Kept,     // continued behind its last whole entry
    Replaced  // emptied
  };
  // Opens the file, or makes it; what becomes of the record of earlier runs in it says `earlier`.
  // `path` is what MakeAbsolutePath gave. Throws HostError: InUse when another process writes it, Damaged when it is
  // something else, Failed when the system refuses.
  RunRecord(const std::string& path, const std::string& shown_name, Earlier earlier = Earlier::Kept);
  ~RunRecord();

  // The machine went down during an earlier run of the file, and the end of its record was lost.
  bool is_torn() const { return is_torn_; }

  // Before anything is told.
  void Begin(const RunNote& note);
  // From here on the dictionary's changes are told too; until then `text`, a dictionary's, is what it holds, and
  // `before` the name of the run whose state it was, "" for none. While nothing else changes it.
  void Snapshot(std::string_view text, std::string_view before);
  // The run goes on, as a new one of the same name: what the file holds goes. `waiting` are the signals that wait, in
  // their order; nothing is being delivered.
  void BeginAnew(const RunNote& note, const std::vector<IRunReport::Waiting>& waiting);
  // What is written now is enough to know where the run stands, if it was all told: no node keeps state of its own.
  bool IsExact() const;
  // Bytes, of all runs in the file.
  std::uint64_t Size() const;
  // How far it is, since the object was made. Any thread.
  struct Mark {
    std::uint64_t bytes = 0;
    std::uint64_t deliveries = 0;  // that have ended
    bool is_on = false;
  };
  Mark GetMark() const;
  // Returns when the disk has all that was recorded before. False with the system's reason. Any thread, until Remove.
  bool Sync(std::string* reason) { return file_.Sync(reason); }
  // See GrowingFile.
  bool KeepRoom() { return file_.KeepRoom(GrowingFile::kWindow); }

  // The state was saved. Any thread.
  void NoteSave();
  // The last entry; nothing is recorded after it.
  void End(int exit_code);
  // The file goes, and nothing more is recorded. Where the system keeps the file it is as long as it was, with zeros.
  void Remove();

  // Why, and after which moment, nothing was recorded any more; "" when all was. Any thread.
  std::string problem() const;

  void SignalQueued(const QueuedSignal& signal) override;
  void SignalsDropped(std::uint64_t first, std::uint64_t count) override;
  void SignalIgnored(const IgnoredSignal& signal) override;
  void MappingNotRead(const UnreadMapping& mapping) override;
  void SignalLost(const LostSignal& signal) override;
  void DeliveryBegun(const Delivery& delivery) override;
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override;
  void RebootSignalFired(std::uint64_t number, const Receiver& receiver) override;
  void NodeMade(const char* type, const char* instance) override;
  void NodeDescribed(const NodeFacts& node) override;
  void ChangesHeld() override;
  void FlowAbsorbed(const char* name, const char* file_path) override;
  void DictionaryChanged(const DictionaryChange& change) override;
  void DictionaryLost() override;

 private:
  using Clock = std::chrono::steady_clock;

  void Continue(const std::string& path, const std::string& shown_name, std::uint64_t size);
  void WriteHead();
  bool MakeRoom();
  void GiveUp(const char* problem);
  // All that is recorded goes through here: one at a time, and no exception gets out.
  template <class Entries>
  void Record(const Entries& entries) noexcept;
  template <class Values>
  void Append(Kind kind, const Values& values);
  void AppendNode(std::string_view type, std::string_view instance, std::uint8_t facts);
  void AppendParts(std::string_view texts);
  void AppendChange(const DictionaryChange& change, std::uint64_t unit);
  std::uint64_t TimePassed();
  std::uint32_t RouteOf(const Sender& sender, const Receiver& receiver);

  mutable std::mutex mutex_;  // A leaf; guards all.
  GrowingFile file_;
  std::uint64_t offset_ = 0;  // of what follows in the file
  unsigned char* at_ = nullptr;
  std::size_t room_ = 0;
  std::uint64_t chain_ = 0;
  Clock::time_point last_ = Clock::now();
  SignalNumbers numbers_;
  std::string route_;  // The key that is looked up; kept for its memory.
  std::unordered_map<std::string, std::uint32_t> routes_;
  std::string texts_;             // of a change; kept for its memory
  std::uint64_t last_begun_ = 0;  // the delivery
  std::uint64_t last_held_ = 0;   // held changes are numbered 1, 2, 3...
  bool has_snapshot_ = false;
  bool is_exact_ = true;
  std::vector<std::array<std::string, 2>> private_nodes_;  // type and instance
  const Earlier earlier_;
  bool is_torn_ = false;
  bool is_on_ = false;
  std::uint64_t gone_ = 0;         // bytes, of what the file held before it was begun anew
  std::uint64_t ended_ = 0;        // deliveries
  const char* problem_ = nullptr;  // a literal; what the system says is the file's reason
};

}  // namespace OrvWorkFlow::Journal
