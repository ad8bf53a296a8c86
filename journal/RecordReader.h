// Reads the record of runs, entry by entry, while it is written or afterwards.
#pragma once

#include <cstdint>
#include <deque>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionaryObserver.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "journal/RecordFormat.h"
#include "journal/StateArchive.h"

namespace OrvWorkFlow::Journal {

// A signal's way; of what nothing takes the receiver is empty.
struct Route {
  std::string sender_type;
  std::string sender_instance;
  std::string sender_signal;
  std::string receiver_type;
  std::string receiver_instance;
  std::string receiver_signal;

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.sender_type, self.sender_instance, self.sender_signal, self.receiver_type, self.receiver_instance,
            self.receiver_signal);
  }
};

// What ends later, and counts when it has ended.
struct Unit {
  enum class Kind { None, Delivery, Held } kind = Kind::None;
  std::uint64_t number = 0;

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.kind, self.number);
  }
};

// An entry. Members that its kind does not have are 0 and empty.
struct Event {
  Kind kind = Kind::RunBegun;
  std::uint64_t time = 0;    // nanoseconds since the run began; of RunBegun since 1970
  std::uint64_t number = 0;  // of the signal, see IRunObserver.h
  std::uint64_t cause = 0;
  std::uint64_t count = 0;  // of signals dropped; of mappings reached
  const Route* route = nullptr;
  bool is_marked = false;  // restored; has a key for its mappings; has a text; continued
  IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted;
  IRunObserver::LossReason loss = IRunObserver::LossReason::NoMemory;
  int exit_code = 0;
  std::string text;               // of a failure, of a mapping
  std::string type, instance;     // of a node
  std::string path;               // of a mapping; the flow's file
  std::string program, platform;  // of a run
  std::string name, before;       // of a run; an absorbed flow's name is `name`, its file `path`
  std::uint64_t during = 0;       // the delivery to its sender that had not ended
  bool has_more = false;          // signals of the same firing follow
  bool has_continuation = false;
  std::string continuation;
  // What the entry counts with: a change, a flow absorbed. Of a signal: the held changes that it ends, 0 for none.
  Unit unit;
  std::uint64_t held = 0;
  bool describes_itself = false, state_in_dictionary = false, acts_outside = false, says_continuation = false;
  // Of a change; a snapshot's dictionary is its only text.
  DictionaryChange::Operation operation = DictionaryChange::Operation::SetValue;
  ValueType value_type = ValueType::Nil;
  std::string other;
  std::vector<std::string> texts;
};

// What it reads may be anything: an entry is whole and of the chain, or there is none. One thread.
class RecordReader {
 public:
  enum class State {
    Reading,
    AtEnd,       // of all that is there; more may be read when more is written
    Damaged,     // something else follows
    Unreadable,  // the file cannot be read, or is no record
  };

  // What becomes of a run that was recorded before the machine was started last, and whose record something follows
  // that is not of it: the disk may lack any of what the process wrote last.
  enum class Torn {
    IsDamage,
    IsTheEnd,
  };

  explicit RecordReader(const std::string& path, Torn torn = Torn::IsDamage);

  // False at the end, and when no more can be read. `event`'s route is valid until the next run in the record begins.
  bool Next(Event* event);

  State state() const { return state_; }
  // What is wrong, for a user.
  const std::string& problem() const { return problem_; }
  // It is at an end behind which something is lost.
  bool is_torn() const { return is_torn_; }
  // Behind the last whole entry, and the checksum there.
  std::uint64_t offset() const { return offset_; }
  std::uint64_t chain() const { return chain_; }

  // What it takes to go on from here, for another reader of the same record.
  void SaveTo(StateSaver& saver) const { PassMembers(*this, saver); }
  // Goes on from there, before anything was read. False when the record is not the same up to there; then it is read
  // from its begin.
  bool ResumeFrom(StateLoader& loader);

 private:
  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.last_entry_.offset, self.last_entry_.chain, self.offset_, self.chain_, self.time_, self.numbers_,
            self.last_begun_, self.routes_);
  }
  bool IsLastEntryThere();
  bool Fill(std::size_t wanted);
  bool ReadHead();
  bool Stop(State state, const std::string& problem);
  std::size_t LengthHere() const;
  bool IsAtGap();
  bool StopAtDamage();
  bool StopTorn();
  bool FindEntry(std::string_view* values, std::uint64_t* chain);
  bool IsZeroBehind(std::uint64_t begin);
  bool Decode(std::string_view record, Event* event);
  static void DecodeEnd(Decoder& values, Event* event);
  bool DecodeChange(Decoder& values, Event* event);
  const Route* RouteAt(std::uint64_t number) const;

  std::ifstream file_;
  std::string buffer_;     // of the file from buffer_begin_
  std::size_t taken_ = 0;  // of the buffer
  std::uint64_t offset_ = 0;
  std::uint64_t chain_ = 0;
  // Before the entry that was read last.
  struct {
    std::uint64_t offset = 0;
    std::uint64_t chain = 0;
  } last_entry_;
  std::uint64_t time_ = 0;
  SignalNumbers numbers_;
  std::deque<Route> routes_;
  std::string parts_;             // of the entry to come
  std::uint64_t last_begun_ = 0;  // the delivery
  State state_ = State::Reading;
  bool has_head_ = false;
  const Torn torn_;
  std::string boot_;  // the machine's start in which the run was recorded; "" where an older program did that
  bool is_torn_ = false;
  std::string problem_;
};

}  // namespace OrvWorkFlow::Journal
