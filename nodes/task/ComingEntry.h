// An entry that comes into being piece by piece, beside the one that it is to become: others find the old one or the
// new one, and a node can be stopped in between.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes {

// It stands in the node's record. When it has not become the target it goes with this object, or with the
// next one when the process dies.
class ComingEntry {
 public:
  static constexpr char kName[] = "Coming";  // in the node's record
  enum class Start { Anew, WhereItWas };

  // `target` is what it is to become. Throws std::runtime_error for one that the workflow itself needs.
  ComingEntry(IDictionary& dictionary, const Sdk::NodeRecord& record, std::string target, Start start = Start::Anew);
  ComingEntry(const ComingEntry&) = delete;
  ComingEntry& operator=(const ComingEntry&) = delete;
  ~ComingEntry();

  IDictionary& dictionary() const { return dictionary_; }
  const std::string& path() const { return path_; }
  // A message that may name a path of it, as the user is to read it: of the target.
  std::string Shown(std::string message) const;

  // Leaves it as it is for the next object, which starts where it was.
  void Keep() { is_kept_ = true; }
  // Becomes the target, which is replaced as a whole. Throws std::runtime_error when the dictionary refuses.
  void Become();

 private:
  IDictionary& dictionary_;
  const std::string path_;
  const std::string target_;
  bool is_kept_ = false;
};

// How far something has come, kept in the record over a stop, and true of one source only, such as a file and its time.
// Taking it removes it: it is true of what the stop left, and of nothing later.
void KeepProgress(Sdk::NodeRecord record, std::vector<std::string> source, std::int64_t done);
std::int64_t TakeProgress(Sdk::NodeRecord record, const std::vector<std::string>& source);

// Throws std::runtime_error for an entry without which there is no workflow: the dictionary as a whole, and what is in
// /WorkFlowEngine, but for the parameters of instances.
void ExpectReplaceable(const std::string& entry);
// Throws std::runtime_error for such an entry, and when the dictionary refuses.
void WriteEntry(IDictionary& dictionary, const std::string& entry, const std::string& text);

}  // namespace OrvWorkFlow::Nodes
