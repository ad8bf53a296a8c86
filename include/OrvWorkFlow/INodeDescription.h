// What a type of work nodes says about itself: its signals, its parameters, and what a host may rely on. Optional: a
// node without it works like any other, and is checked as far as one can know.
//
// The structures below never change. What else is to be said about a node comes as a further interface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace OrvWorkFlow {

// A table of rows that has static storage in the node's library.
template <class Row>
struct NodeTable {
  constexpr NodeTable() = default;
  template <std::size_t kCount>
  constexpr NodeTable(const Row (&rows)[kCount]) : first(rows), count(kCount) {}
  constexpr const Row* begin() const { return first; }
  constexpr const Row* end() const { return first + count; }

  const Row* first = nullptr;
  std::size_t count = 0;
};

// All texts are zero-terminated UTF-8 and never null. A sentence is one line without a full stop.

struct NodeInput {
  const char* name;
  const char* sentence;
};

struct NodeOutput {
  const char* name;
  // Where nobody takes it, work that was begun is not finished: a workflow without a mapping for it is hardly meant so.
  bool must_be_taken;
  const char* sentence;
};

enum class ParameterType : std::int32_t {
  Text = 0,
  Boolean = 1,
  Number = 2,    // a whole number of 32 bits
  TextList = 3,  // any number of texts; its fallback is the empty list, written ""
};

struct NodeParameter {
  const char* name;
  ParameterType type;
  const char* fallback;  // as a text: what counts when the workflow does not say; "yes" or "no" for a Boolean
  // Numbers beyond the range count as its nearest end.
  std::int32_t minimum;
  std::int32_t maximum;
  const char* sentence;
};

struct NodeDescription {
  const char* sentence = "";
  NodeTable<NodeInput> inputs = {};
  NodeTable<NodeOutput> outputs = {};
  NodeTable<NodeParameter> parameters = {};
  // Everything that the node has to remember between two signals is in the workflow's dictionary.
  bool state_in_dictionary = false;
  // The node changes something that no dictionary holds: files, messages, other programs.
  bool acts_outside = false;
};

// A node answers to "INodeDescription" right after it was made: it need not have been initialised.
class INodeDescription {
 public:
  // The same for all nodes of the type; stays good until the node's library is unloaded. Never null, never throws, any
  // thread.
  virtual const NodeDescription* Describe() = 0;

 protected:
  ~INodeDescription() = default;
};

// Rows of a parameter table.
constexpr NodeParameter TextParameterRow(const char* name, const char* fallback, const char* sentence) {
  return {name, ParameterType::Text, fallback, 0, 0, sentence};
}
constexpr NodeParameter TextListParameterRow(const char* name, const char* sentence) {
  return {name, ParameterType::TextList, "", 0, 0, sentence};
}
constexpr NodeParameter BooleanParameterRow(const char* name, bool fallback, const char* sentence) {
  return {name, ParameterType::Boolean, fallback ? "yes" : "no", 0, 0, sentence};
}
constexpr NodeParameter NumberParameterRow(const char* name, const char* fallback, std::int32_t minimum,
                                           const char* sentence,
                                           std::int32_t maximum = std::numeric_limits<std::int32_t>::max()) {
  return {name, ParameterType::Number, fallback, minimum, maximum, sentence};
}

}  // namespace OrvWorkFlow
