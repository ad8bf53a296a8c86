#include "tests/monitor/LoopbackClient.h"

#include <cstdlib>

namespace orv_test {

std::string LoopbackClient::Read(std::string_view end) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  std::string all = TakeRest();
  bool timed_out = false;
  for (;;) {
    const std::size_t found = end.empty() ? std::string::npos : all.find(end);
    if (found != std::string::npos) {
      rest_ = all.substr(found + end.size());
      all.resize(found + end.size());
      return all;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now());
    if (left.count() <= 0 || !ReadSome(all, left, &timed_out)) return timed_out ? all + "(no end)" : all;
  }
}

HttpAnswer ParseAnswer(const std::string& text) {
  HttpAnswer answer;
  const std::size_t end = text.find("\r\n\r\n");
  if (text.substr(0, 7) != "HTTP/1." || end == std::string::npos) return answer;
  answer.status = std::atoi(text.c_str() + 9);
  answer.head = text.substr(0, end + 2);
  answer.body = text.substr(end + 4);
  return answer;
}

HttpAnswer SendRequest(std::uint16_t port, std::string_view request) {
  LoopbackClient client(port);
  client.Send(request);
  return ParseAnswer(client.Read());
}

}  // namespace orv_test
