#include "orvflow/page/PageAccess.h"

#include <fstream>
#include <iterator>
#include <string_view>

#include "host/files/HostFiles.h"
#include "monitor/RequestRules.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// web/live, made into one compressed file; empty in a build without it.
extern const std::string_view kRunPage;

namespace {

constexpr std::size_t kShortestToken = 16;
constexpr std::size_t kLongestToken = 200;

bool IsTokenText(const std::string& text) {
  return text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~") ==
         std::string::npos;
}

}  // namespace

std::string TokenFrom(const std::string& name) {
  if (name.empty()) return Monitor::MakeToken();
  std::ifstream file(Host::MakeAbsolutePath(name), std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file.is_open() || file.bad()) throw FileError(ExitCode::Failed, name, "", "the token cannot be read");
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (!text.empty() && text.back() == '\r') text.pop_back();
  if (text.size() >= kShortestToken && text.size() <= kLongestToken && IsTokenText(text)) return text;
  throw FileError(ExitCode::Failed, name, "", "holds no token: 16 to 200 letters, digits and -_.~ in one line are one");
}

// A token that stays the same does not get into logs.
std::string AddressOf(std::uint16_t port, const std::string& token, const std::string& token_file) {
  return "http://127.0.0.1:" + std::to_string(port) +
         "/?token=" + (token_file.empty() ? token : " and the token in " + token_file);
}

Monitor::Content PageContent() {
  if (!kRunPage.empty()) return {200, "text/html; charset=utf-8", std::string(kRunPage), true};
  return TextContent(404, "this program was built without the page, which npm makes; what it shows is below /api");
}

Monitor::Content JsonContent(const Json& json) { return {200, "application/json", Written(json) + "\n"}; }

Monitor::Content TextContent(unsigned status, const std::string& text) {
  return {status, "text/plain; charset=utf-8", text + "\n"};
}

}  // namespace OrvWorkFlow::Program
