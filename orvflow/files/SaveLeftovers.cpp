#include "orvflow/files/SaveLeftovers.h"

#include <string_view>

#include "host/files/HostFiles.h"

namespace OrvWorkFlow::Program {

namespace {

// The numbers that saves take: small ones first, then some of nine digits.
bool IsNumberOfASave(std::string_view text) {
  if (text.find_first_not_of("0123456789") != std::string_view::npos) return false;
  return text.size() == 9 || (text.size() == 1 && text.front() < '8');
}

}  // namespace

void RemoveSaveLeftovers(const std::string& file) {
  constexpr std::string_view kTemporary = ".tmp";
  const std::string path = Host::ResolveLinks(file);
  for (const std::string& found : Host::FilesNamedAfter(path)) {
    const std::string_view ending = std::string_view(found).substr(path.size());
    if (ending.starts_with(kTemporary) && IsNumberOfASave(ending.substr(kTemporary.size()))) RemoveSaveLeftover(found);
  }
}

}  // namespace OrvWorkFlow::Program
