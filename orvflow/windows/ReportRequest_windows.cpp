#include "orvflow/terminal/ReportRequest.h"

namespace OrvWorkFlow::Program {

void WatchForReportRequests() {}

bool TakeReportRequest() { return false; }

}  // namespace OrvWorkFlow::Program
