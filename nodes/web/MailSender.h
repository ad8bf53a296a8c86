// Sends a mail by SMTP.
//
// Below /MailSender/<instance>: Id, the mail's Message-ID. A mail that is sent again after a stop or a kill has the
// same one, so that the receiver's program shows it once.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

struct Mail {
  std::string server;  // smtp://host:port, smtps://host:port
  std::string from;
  std::vector<std::string> to;
  std::string user;
  std::string password;
  bool needs_tls = true;
  int seconds = 60;
  std::string text;  // headers and body, with CRLF
};

class MailSender final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "MailSender";
  static const NodeDescription kDescription;
  MailSender() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
  std::string TextOfMail(const Mail& mail);
};

// False when it was stopped. Throws std::runtime_error with the server's words.
bool SendMail(const Mail& mail, const std::function<bool()>& stop_wanted);

}  // namespace OrvWorkFlow::Nodes
