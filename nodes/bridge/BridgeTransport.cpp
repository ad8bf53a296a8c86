#include "nodes/bridge/BridgeTransport.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "nodes/bridge/FolderNetwork.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr const char* kNames[] = {"user", "password", "tls", "ca", "certificate", "key"};

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

}  // namespace

std::unique_ptr<Transport> MakeTransport(const TransportSettings& settings) {
  if (settings.kind == "mqtt") {
    if (!settings.faults.empty()) throw std::runtime_error("the parameter Faults needs the transport \"folder\"");
    return MakeMqtt(settings);
  }
  if (settings.kind != "folder") {
    throw std::runtime_error("the parameter Transport is \"" + settings.kind + "\"; it takes mqtt or folder");
  }
  if (settings.folder.empty()) throw std::runtime_error("the transport \"folder\" needs the parameter Folder");
  return std::make_unique<FolderNetwork>(settings.folder, settings.faults);
}

std::map<std::string, std::string> ReadSecrets(const std::filesystem::path& file, const std::string& shown_name) {
  errno = 0;
  std::ifstream stream(file);
  const auto check = [&](bool is_read) {
    if (is_read) return;
    throw std::runtime_error(shown_name + ": cannot be read: " + std::generic_category().message(errno));
  };
  check(stream.is_open());
  std::map<std::string, std::string> secrets;
  int number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    line = Trimmed(line);
    if (line.empty() || line.front() == '#') continue;
    const std::size_t sign = std::min(line.find('='), line.size());
    const std::string name = Trimmed(line.substr(0, sign));
    const bool is_known =
        std::any_of(std::begin(kNames), std::end(kNames), [&](const char* one) { return name == one; });
    if (!is_known || sign == line.size()) {
      // The line may hold a password: it is not shown.
      throw std::runtime_error(shown_name + ", line " + std::to_string(number) +
                               ": it takes user, password, tls, ca, certificate and key, each with = and its value");
    }
    secrets[name] = Trimmed(line.substr(sign + 1));
  }
  check(!stream.bad());  // A folder can be opened, and not be read.
  return secrets;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
