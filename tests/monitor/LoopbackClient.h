// A client that sends what a test tells it to, well-formed or not.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv_test {

class LoopbackClient {
 public:
  // Throws std::runtime_error when nobody listens there.
  explicit LoopbackClient(std::uint16_t port);
  LoopbackClient(const LoopbackClient&) = delete;
  LoopbackClient& operator=(const LoopbackClient&) = delete;
  ~LoopbackClient();

  // False when the other side takes no more.
  bool Send(std::string_view bytes);

  // What comes until the other side closes the connection, or until `end` is in it; "(no end)" is behind what came
  // when that takes half a minute.
  std::string Read(std::string_view end = {});
  // What came behind that end.
  std::string TakeRest() { return std::move(rest_); }

 private:
  // False at the end, or when nothing came in that time (`timed_out`).
  bool ReadSome(std::string& bytes, std::chrono::milliseconds time, bool* timed_out);

  std::intptr_t socket_;
  std::string rest_;
};

struct HttpAnswer {
  int status = 0;  // 0 for no answer at all
  std::string head;
  std::string body;
};

// Sends the bytes on a connection of their own, which the server is expected to close.
HttpAnswer SendRequest(std::uint16_t port, std::string_view request);
HttpAnswer ParseAnswer(const std::string& text);

}  // namespace orv_test
