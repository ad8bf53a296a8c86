// Records of several runs that sent each other signals, looked at as one.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "journal/DeliveryHistory.h"
#include "orvflow/history/BridgeWays.h"

namespace OrvWorkFlow::Program {

class RecordSet {
 public:
  enum class Keeps { Ways, Deliveries };
  // A delivery of one of them.
  struct Where {
    std::size_t record = 0;
    DeliveryPlace place;
    auto operator<=>(const Where&) const = default;
  };

  // Reads each as it is now. A record is called by the file of its workflow, "south" for south.xml, or by its own where
  // two would have the same name. Throws ProgramError for a file that is no record, and for two that are of the same
  // run; one that is damaged counts as far as it can be read.
  RecordSet(const std::vector<std::string>& files, Keeps keeps);
  RecordSet(const RecordSet&) = delete;
  RecordSet& operator=(const RecordSet&) = delete;

  std::size_t size() const { return records_.size(); }
  const std::string& file(std::size_t record) const { return records_[record].file; }
  const std::string& name(std::size_t record) const { return records_[record].name; }
  const BridgeWays& ways(std::size_t record) const { return records_[record].ways; }
  // Lines of a record, with its name before each.
  std::string Named(std::size_t record, const std::string& lines) const;

  std::optional<Where> FindSend(const LetterKey& key) const;
  // Where the other end told of it.
  std::vector<Where> FindArrivals(const LetterKey& key) const;
  // Null when there is none, or they are not kept.
  const Journal::Delivery* Find(const Where& where) const;
  // "south 12", "south 12 of run 2".
  std::string NameOf(const Where& where) const;
  // What stands in for the delivery that sent it, which FindSend does not find.
  std::string WhyNotSent(const LetterKey& key) const;
  // Says on standard error which record has nothing to do with the others.
  void WarnOfStrangers() const;
  // Throws ProgramError for the first one that could not be read to its end.
  void ThrowIfDamaged() const;

 private:
  struct Record {
    std::string file;
    std::string path;
    std::string name;
    BridgeWays ways;
    std::map<DeliveryPlace, Journal::Delivery> deliveries;
    std::vector<std::string> runs;  // their names
    std::string problem;
  };

  void Read(const std::string& file, Keeps keeps);
  void ExpectOthers(const Record& added) const;
  void NameThem();
  bool IsStranger(std::size_t record) const;

  std::deque<Record> records_;
  std::size_t width_ = 0;
};

}  // namespace OrvWorkFlow::Program
