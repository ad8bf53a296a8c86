#include "flow/model/FlowBeside.h"

namespace OrvWorkFlow::Flow {

std::vector<FlowBeside> WithoutOne(std::vector<FlowBeside> company, std::size_t one) {
  if (one >= company.size()) return {};
  for (std::size_t i = 0; i < one; ++i) company[i].comes_first = true;
  company.erase(company.begin() + static_cast<std::ptrdiff_t>(one));
  return company;
}

}  // namespace OrvWorkFlow::Flow
