// HTTP requests and downloads.
#pragma once

#include <memory>

#include "nodes/files/LocalFile.h"
#include "nodes/task/TaskNode.h"
#include "nodes/web/HttpClient.h"

namespace OrvWorkFlow::Nodes {

// Below /HttpRequest/<instance>: Status, and H1 and so on, the answer's headers.
class HttpRequest final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "HttpRequest";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  HttpRequest() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
};

// Below /Downloader/<instance>: Bytes, how many are in the part, and Tag and Of, which say of what; Status. A download
// that failed goes on where it was, too, as long as address and file are the same.
class Downloader final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "Downloader";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  Downloader() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
  void ClearRecord() override;
  // False when it was stopped.
  bool Fetch(LocalFile& part);
  void Verify(const std::filesystem::path& part);
};

}  // namespace OrvWorkFlow::Nodes
