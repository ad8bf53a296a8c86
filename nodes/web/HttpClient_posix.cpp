#include "nodes/web/HttpClient.h"

#include <algorithm>

#include "nodes/web/CurlTransfer.h"

namespace OrvWorkFlow::Nodes {

namespace {

// What the callbacks of a transfer share.
struct Answer {
  const HttpOrder& order;
  CurlTransfer& transfer;
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::size_t header_bytes = 0;
  bool has_begun = false;
};

// The answer is one that is passed on, not a redirect or "100 Continue".
void Begin(Answer& answer) {
  if (answer.has_begun) return;
  answer.has_begun = true;
  long status = 0;
  curl_easy_getinfo(answer.transfer.easy, CURLINFO_RESPONSE_CODE, &status);
  answer.order.begin(static_cast<int>(status), answer.headers);
}

template <class Operation>
std::size_t Guarded(Answer& answer, std::size_t size, Operation&& operation) {
  try {
    if (operation()) return size;
    answer.transfer.stopped = true;
  } catch (...) {
    answer.transfer.problem = std::current_exception();
  }
  return size + 1;  // Ends the transfer.
}

std::size_t TakeHeader(char* text, std::size_t one, std::size_t count, void* context) {
  Answer& answer = *static_cast<Answer*>(context);
  const std::size_t size = one * count;
  return Guarded(answer, size, [&] {
    std::string line(text, size);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    if (line.starts_with("HTTP/")) {
      answer.headers.clear();
      answer.header_bytes = 0;
    }
    answer.header_bytes += size;
    if (answer.header_bytes > kMostHeaderBytes) throw HttpProblem("the server's headers are larger than 256 KiB");
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) return true;
    std::string name = line.substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const std::size_t value = line.find_first_not_of(" \t", colon + 1);
    answer.headers.emplace_back(std::move(name), value == std::string::npos ? "" : line.substr(value));
    return true;
  });
}

std::size_t TakeBody(char* text, std::size_t one, std::size_t count, void* context) {
  Answer& answer = *static_cast<Answer*>(context);
  return Guarded(answer, one * count, [&] {
    Begin(answer);
    return answer.order.take({text, one * count});
  });
}

void SetLimits(CURL* easy, const HttpOrder& order) {
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, order.most_redirects > 0 ? 1L : 0L);
  curl_easy_setopt(easy, CURLOPT_MAXREDIRS, static_cast<long>(order.most_redirects));
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, static_cast<long>(order.connect_limit.count()));
  curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(order.idle_limit.count()));
  curl_easy_setopt(easy, CURLOPT_TIMEOUT, static_cast<long>(order.whole_limit.count()));
}

}  // namespace

bool DoHttp(const HttpOrder& order) {
  CheckUrl(order.url);
  CurlTransfer transfer;
  Answer answer{order, transfer};
  CURL* const easy = transfer.easy;
  SetLimits(easy, order);
  curl_easy_setopt(easy, CURLOPT_URL, order.url.c_str());
  for (const std::string& header : order.headers) transfer.AddHeader(header);
  if (!order.if_range.empty()) transfer.AddHeader("If-Range: " + order.if_range);
  transfer.AddHeader("Expect:");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer.headers);
  const std::string range = std::to_string(order.from) + "-";
  if (order.from != 0) curl_easy_setopt(easy, CURLOPT_RANGE, range.c_str());
  if (!order.body.empty() || order.method == "POST") {
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, order.body.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(order.body.size()));
  }
  if (order.method == "HEAD") {
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
  } else if (order.method != "GET" || !order.body.empty()) {
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, order.method.c_str());
  }
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &TakeHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, &answer);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &TakeBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
  if (!transfer.Run(order.stop_wanted)) return false;
  Begin(answer);
  return true;
}

}  // namespace OrvWorkFlow::Nodes
