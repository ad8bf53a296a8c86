// Which requests the page's server takes. It listens on this machine alone, but every page that a browser shows can
// send requests there: what is not asked for by the page itself, or by whoever knows the token, is refused.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Monitor {

// What of a request decides; "" for a header that is not there.
struct RequestView {
  std::string_view method;
  std::string_view target;
  std::string_view host;
  std::string_view origin;
  std::string_view fetch_site;
  std::string_view content_type;
  std::string_view authorization;
  std::string_view cookie;
  bool repeats_header = false;  // one of these came more than once
};

struct Verdict {
  unsigned status = 200;      // anything else refuses
  std::string_view why;       // a literal, for the answer
  bool gives_cookie = false;  // the token stood in the address of the page: it moves into a cookie
};

class RequestRules {
 public:
  // `token` is not empty. Commands are taken with `takes_commands` alone.
  RequestRules(std::uint16_t port, std::string token, bool takes_commands = false);

  Verdict Judge(const RequestView& request) const;

  // For the header of an answer of status 405.
  std::string_view AllowedMethods() const { return takes_commands_ ? "GET, HEAD, POST" : "GET, HEAD"; }

  // What sets the cookie. Its name has the port in it: browsers send cookies to all ports of a host.
  std::string CookieHeader() const;

 private:
  bool IsOwnHost(std::string_view host) const;
  bool IsOwnOrigin(std::string_view origin, std::string_view host) const;
  bool HasToken(const RequestView& request) const;
  Verdict JudgeCommand(const RequestView& request) const;

  const std::string port_;
  const std::string token_;
  const std::string cookie_name_;
  const bool takes_commands_;
};

// "/api/node?x=1" without what follows the "?".
std::string_view PathOf(std::string_view target);
// A value of the query, decoded; "" where it is not there or is not well-formed.
std::string QueryValue(std::string_view target, std::string_view name);

// The same time for all texts of a length, so that nobody measures how much of a token is right.
bool IsSameText(std::string_view left, std::string_view right);

// 128 bits of the system's randomness, in hexadecimal digits.
std::string MakeToken();

}  // namespace OrvWorkFlow::Monitor
