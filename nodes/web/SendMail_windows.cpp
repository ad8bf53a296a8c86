#include <stdexcept>

#include "nodes/web/MailSender.h"

namespace OrvWorkFlow::Nodes {

bool SendMail(const Mail& /*mail*/, const std::function<bool()>& /*stop_wanted*/) {
  throw std::runtime_error("mails are sent on Linux only; run a program that sends them instead");
}

}  // namespace OrvWorkFlow::Nodes
