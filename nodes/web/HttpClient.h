// HTTP and HTTPS by the platform's library: libcurl, and WinHTTP on Windows.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OrvWorkFlow::Nodes {

struct HttpOrder {
  std::string method = "GET";
  std::string url;
  std::vector<std::string> headers;  // "Name: value"
  std::string body;
  std::uint64_t from = 0;  // asks for the bytes from there on
  std::string if_range;    // only if it still is the one with this tag
  int most_redirects = 10;
  std::chrono::seconds connect_limit{30};
  std::chrono::seconds idle_limit{60};  // without a byte
  std::chrono::seconds whole_limit{0};  // 0: none

  // Called with each answer's status and headers (names in small letters) before its body; not for redirects that are
  // followed.
  std::function<void(int status, const std::vector<std::pair<std::string, std::string>>& headers)> begin;
  // A piece of the body. False ends it as a stop.
  std::function<bool(std::string_view piece)> take;
  std::function<bool()> stop_wanted;
};

class HttpProblem : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// All headers of an answer are this large at most.
inline constexpr std::size_t kMostHeaderBytes = 256 * 1024;

// Returns when the answer is whole: true; false when it was stopped, within 50 ms. Throws HttpProblem when there is no
// answer, it is cut off, or a limit is over; what `begin` and `take` throw comes through. A server of this machine is
// reached without a proxy.
bool DoHttp(const HttpOrder& order);

// Throws HttpProblem for anything but http and https.
void CheckUrl(const std::string& url);

}  // namespace OrvWorkFlow::Nodes
