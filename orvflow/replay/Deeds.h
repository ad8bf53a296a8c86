// What a node did with a signal: as a record tells it, or as it was seen when the signal was delivered again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "journal/RecordReader.h"

namespace OrvWorkFlow::Program {

// One way that an output signal took, or why it took none.
struct Firing {
  Journal::Kind kind = Journal::Kind::SignalQueued;  // or SignalIgnored, MappingNotRead, SignalLost
  Journal::Route route;
  std::string path;  // of a mapping that is none
  std::string text;  // of such a mapping
};
bool AreSame(const Firing& one, const Firing& other);

struct Deeds {
  IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted;
  std::string text;  // of a failure
  std::vector<Firing> fired;
  std::vector<Journal::Event> changes;  // of the dictionary
};
bool AreSameAnswers(const Deeds& one, const Deeds& other);
bool AreSameFirings(const Deeds& one, const Deeds& other);
bool AreSameChanges(const Deeds& one, const Deeds& other);
bool IsSameChange(const Journal::Event& one, const Journal::Event& other);

// Nothing that a record cuts is compared behind the cut.
std::string CutAsInRecord(std::string text);

}  // namespace OrvWorkFlow::Program
