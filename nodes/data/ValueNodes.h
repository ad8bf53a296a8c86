// Sets, copies, removes and computes values of the workflow's dictionary.
#pragma once

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class ValueSetter final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "ValueSetter";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  ValueSetter() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
};

// Below /ValueComputer/<instance>: Result, as a text.
class ValueComputer final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "ValueComputer";
  static const NodeDescription kDescription;
  ValueComputer() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

}  // namespace OrvWorkFlow::Nodes
