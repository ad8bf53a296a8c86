#include <sys/stat.h>

#include "orvflow/files/FileIdentity.h"

namespace OrvWorkFlow::Program {

std::string IdentityOfFile(const std::string& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return {};
  std::string identity;
  for (const auto number : {static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
                            static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
                            static_cast<long long>(status.st_mtim.tv_nsec)}) {
    identity += std::to_string(number) + ' ';
  }
  return identity;
}

}  // namespace OrvWorkFlow::Program
