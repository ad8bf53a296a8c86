// Reads and writes text files.
//
// TextReader: below /TextReader/<instance> stands Size, in bytes.
#pragma once

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class TextReader final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "TextReader";
  static const NodeDescription kDescription;
  TextReader() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

class TextWriter final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "TextWriter";
  static const NodeDescription kDescription;
  TextWriter() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

}  // namespace OrvWorkFlow::Nodes
