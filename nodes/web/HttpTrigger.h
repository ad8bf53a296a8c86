// Waits for HTTP requests from this machine, and fires a signal for each, one after the other.
//
// Below /HttpTrigger/<instance>: Port, on which it listens; Path and Body, of the request that was told of last;
// Pending, until "next" comes: requests get 503 meanwhile.
#pragma once

#include <cstdint>

#include "nodes/task/TaskNode.h"
#include "nodes/web/LocalServer.h"

namespace OrvWorkFlow::Nodes {

class HttpTrigger final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "HttpTrigger";
  static const NodeDescription kDescription;
  HttpTrigger() : TaskNode(kTypeName, kDescription) {}
  std::int32_t MostSignalsFired() override { return kAnyNumber; }

 private:
  struct Request {
    std::string method;
    std::string path;
    std::string token;
    std::string body;
    int refusal = 0;  // the status when it is none
  };

  bool OnSignal(std::string_view signal) override;
  const char* DoTask(const std::string& task) override;
  Request Receive(Connection& connection);
  int Answer(const Request& request, const std::string& token, const std::string& path);
  void ParseHead(std::string_view head, Request& request, std::size_t& length);
};

}  // namespace OrvWorkFlow::Nodes
