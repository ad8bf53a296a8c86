// Writes a line to a log file: the time, in UTC, and a text.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class LogLineNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "LogLine";
  static const NodeDescription kDescription;
  LogLineNode() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
