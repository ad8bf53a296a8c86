#include "orvflow/watch/ServiceNotice.h"

namespace OrvWorkFlow::Program {

ServiceNotice::ServiceNotice() = default;
ServiceNotice::~ServiceNotice() = default;
void ServiceNotice::Send(const std::string& /*text*/) noexcept {}

}  // namespace OrvWorkFlow::Program
