// What a plug-in library registers, in words of its own: nothing here points into the library.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvWorkFlow::Program {

struct SignalDescription {
  std::string name;
  std::string sentence;
  bool must_be_taken = false;  // of an output signal
};

struct ParameterDescription {
  std::string name;
  std::string type;  // "text", "yes or no", "number", "list of texts"
  std::string fallback;
  std::optional<std::int32_t> minimum;  // of a number that has one
  std::optional<std::int32_t> maximum;
  std::string sentence;
  // By its rule: what else it takes none of, whether it may be left out, and whether a list is one text in parts.
  std::vector<std::string> words;
  bool any_case = false;
  bool may_be_left_out = false;
  bool is_one_text = false;
};

// What a node type says about itself.
struct NodeWords {
  std::string sentence;
  std::vector<SignalDescription> inputs;
  std::vector<SignalDescription> outputs;
  std::vector<ParameterDescription> parameters;
  bool state_in_dictionary = false;
  bool acts_outside = false;
};

struct TypeDescription {
  std::string kind;  // "node", "object"; "" when the type has no creator any more
  std::string name;
  std::string version;
  std::vector<std::string> interfaces;
  bool can_be_made = true;
  std::optional<NodeWords> words;
};

struct LibraryDescription {
  std::string shown_name;
  std::vector<TypeDescription> types;
};

// All types that are registered now, in their order: of one library when it is the only one that is loaded. What a type
// throws while it is made counts as one that cannot be made.
std::vector<TypeDescription> DescribeRegisteredTypes();

}  // namespace OrvWorkFlow::Program
