#include "monitor/RequestRules.h"

#include <algorithm>
#include <random>
#include <utility>

namespace OrvWorkFlow::Monitor {

namespace {

constexpr std::string_view kHealthPath = "/health";
constexpr std::string_view kBearer = "Bearer ";
constexpr std::string_view kJson = "application/json";

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool IsSameName(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char one, char other) { return Lower(one) == Lower(other); });
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// What stands in front of `mark`, which goes with it.
std::string_view TakeUpTo(std::string_view& text, char mark) {
  const std::size_t end = std::min(text.find(mark), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = Lower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// "" for what is not well-formed.
std::string Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i] == '+' ? ' ' : text[i];
      continue;
    }
    const int high = i + 2 < text.size() ? DigitOf(text[i + 1]) : -1;
    const int low = high < 0 ? -1 : DigitOf(text[i + 2]);
    if (low < 0) return {};
    const char c = static_cast<char>(high * 16 + low);
    if (c == '\0') return {};
    decoded += c;
    i += 2;
  }
  return decoded;
}

bool IsJson(std::string_view content_type) { return IsSameName(Trimmed(TakeUpTo(content_type, ';')), kJson); }

}  // namespace

RequestRules::RequestRules(std::uint16_t port, std::string token, bool takes_commands)
    : port_(std::to_string(port)),
      token_(std::move(token)),
      cookie_name_("orvflow_" + port_),
      takes_commands_(takes_commands) {}

// By these names alone: a name that somebody else's server resolves to this machine is not among them.
bool RequestRules::IsOwnHost(std::string_view host) const {
  const std::string_view name = TakeUpTo(host, ':');
  return host == port_ && (name == "127.0.0.1" || IsSameName(name, "localhost"));
}

bool RequestRules::IsOwnOrigin(std::string_view origin, std::string_view host) const {
  constexpr std::string_view kScheme = "http://";
  return origin.substr(0, kScheme.size()) == kScheme && IsSameName(origin.substr(kScheme.size()), host);
}

bool RequestRules::HasToken(const RequestView& request) const {
  if (request.authorization.substr(0, kBearer.size()) == kBearer) {
    return IsSameText(request.authorization.substr(kBearer.size()), token_);
  }
  for (std::string_view cookies = request.cookie; !cookies.empty();) {
    std::string_view value = Trimmed(TakeUpTo(cookies, ';'));
    if (TakeUpTo(value, '=') == cookie_name_ && IsSameText(value, token_)) return true;
  }
  return false;
}

Verdict RequestRules::Judge(const RequestView& request) const {
  if (request.repeats_header) return {400, "a header came twice"};
  if (!IsOwnHost(request.host)) return {421, "not a name of this server"};
  if (!request.origin.empty() && !IsOwnOrigin(request.origin, request.host)) return {403, "asked by another page"};
  const std::string_view site = request.fetch_site;
  if (!site.empty() && site != "same-origin" && site != "none") return {403, "asked by another page"};
  const bool changes_nothing = request.method == "GET" || request.method == "HEAD";
  const std::string_view path = PathOf(request.target);
  if (changes_nothing && path == kHealthPath) return {};
  if (changes_nothing && path == "/" && IsSameText(QueryValue(request.target, "token"), token_)) {
    return {303, "", true};
  }
  if (!HasToken(request)) return {401, "without the token of this run: open the address that the run has printed"};
  if (changes_nothing) return {};
  if (request.method != "POST") return {405, "there is no such method here"};
  return JudgeCommand(request);
}

// A cookie comes by itself with what a browser sends: then the browser also has to say that the page itself asked.
Verdict RequestRules::JudgeCommand(const RequestView& request) const {
  if (!IsJson(request.content_type)) return {415, "a command has to be application/json"};
  if (!takes_commands_) return {405, "this run takes no commands: it was started without --ui=control"};
  if (!request.fetch_site.empty() && request.fetch_site != "same-origin") return {403, "asked by another page"};
  if (request.authorization.empty() && request.origin.empty())
    return {403, "a command of a page has to name its origin"};
  return {};
}

std::string RequestRules::CookieHeader() const {
  return cookie_name_ + "=" + token_ + "; Path=/; HttpOnly; SameSite=Strict";
}

std::string_view PathOf(std::string_view target) { return target.substr(0, target.find('?')); }

std::string QueryValue(std::string_view target, std::string_view name) {
  const std::size_t mark = target.find('?');
  if (mark == std::string_view::npos) return {};
  for (std::string_view query = target.substr(mark + 1); !query.empty();) {
    std::string_view value = TakeUpTo(query, '&');
    if (TakeUpTo(value, '=') == name) return Decoded(value);
  }
  return {};
}

bool IsSameText(std::string_view left, std::string_view right) {
  unsigned difference = left.size() == right.size() ? 0 : 1;
  for (std::size_t i = 0; i < left.size() && !right.empty(); ++i) {
    difference |= static_cast<unsigned>(left[i] ^ right[i % right.size()]);
  }
  return difference == 0;
}

std::string MakeToken() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::random_device random;
  std::string token;
  for (int word = 0; word < 4; ++word) {
    std::uint32_t bits = static_cast<std::uint32_t>(random());
    for (int digit = 0; digit < 8; ++digit, bits >>= 4) token += kDigits[bits & 15];
  }
  return token;
}

}  // namespace OrvWorkFlow::Monitor
