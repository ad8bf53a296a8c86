// What a type of work nodes says of its parameters beyond their rows: the words that one takes, and that it may be left
// out. Optional, beside INodeDescription: parameters of a node without it take any text.
#pragma once

#include "OrvWorkFlow/INodeDescription.h"

namespace OrvWorkFlow {

// Of a parameter that is a text or a list of texts. Has static storage in the node's library, as its texts do.
struct ParameterRule {
  const char* name;  // of the parameter
  // The texts that it takes beside its fallback, and in a list each of its texts; none: any text.
  NodeTable<const char*> words = {};
  bool any_case = false;  // small and capital letters (A to Z) of the words are the same
  // Of a text without a fallback: that it is not set, and so is empty, is no oversight.
  bool may_be_left_out = false;
  // Of a list: null where each of its texts stands for itself. Else it is one text that may be left out; a workflow may
  // also write a list of its parts, and this is put between them.
  const char* between = nullptr;
};

// A node answers to "INodeParameterRules" right after it was made: it need not have been initialised.
class INodeParameterRules {
 public:
  // The rule of the parameter of that name; null where there is none. The same for all nodes of the type; stays good
  // until the node's library is unloaded. Never throws, any thread.
  virtual const ParameterRule* FindRule(const char* parameter_name) = 0;

 protected:
  ~INodeParameterRules() = default;
};

}  // namespace OrvWorkFlow
