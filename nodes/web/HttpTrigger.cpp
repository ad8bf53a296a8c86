#include "nodes/web/HttpTrigger.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <stdexcept>

#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"listen", "begins"},
    {"next", "what was told of is done with: the next request is taken"},
    {"stop", "ends it"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"called", false, "a request has come; Path and Body are its own"},
    {"ended", false, "stop came"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Port", "0", 0,
                       "the port of this machine, 127.0.0.1; 0 is any that is free, which Port says then", 65535),
    TextParameterRow("Path", "/", "the path of the requests; others get 404"),
    TextParameterRow("Token", "", "what a request has to bring, as Authorization: Bearer TOKEN; it may not be empty"),
    NumberParameterRow("MostBytes", "65536", 0, "the largest body", 16777216),
    NumberParameterRow("RequestSeconds", "5", 1, "how long a request may take to come", 60),
};

constexpr char kPending[] = "Pending";
constexpr char kEnd[] = "End";
constexpr std::size_t kMostHead = 16 * 1024;
constexpr std::chrono::milliseconds kLook{20};

const char* WordsOf(int status) {
  switch (status) {
    case 202:
      return "Accepted";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 411:
      return "Length Required";
    case 413:
      return "Content Too Large";
    case 431:
      return "Request Header Fields Too Large";
    default:
      return "Service Unavailable";
  }
}

// In a time that says nothing about where they differ.
bool IsSameSecret(std::string_view left, std::string_view right) {
  unsigned int difference = left.size() == right.size() ? 0 : 1;
  for (std::size_t i = 0; i < left.size() && !right.empty(); ++i) {
    difference |= static_cast<unsigned int>(static_cast<unsigned char>(left[i]) ^
                                            static_cast<unsigned char>(right[i % right.size()]));
  }
  return difference == 0;
}

}  // namespace

constinit const NodeDescription HttpTrigger::kDescription = {
    .sentence = "Waits for HTTP requests from this machine, and fires a signal for each",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool HttpTrigger::OnSignal(std::string_view signal) {
  if (signal != "next" && signal != "stop") return TaskNode::OnSignal(signal);
  if (signal == "next") {
    Record().Remove(kPending);
  } else {
    Record().SetNumber(kEnd, 1);
  }
  return true;
}

const char* HttpTrigger::DoTask(const std::string& /*task*/) {
  const std::string token = TextParameter("Token");
  if (token.empty()) throw std::runtime_error("no Token is given: anybody on this machine could call");
  const std::string path = TextParameter("Path");
  Sdk::NodeRecord record = Record();
  // A resumed one listens where it listened.
  const std::int64_t port = record.Number("Port", NumberParameter("Port"));
  LocalServer server(static_cast<std::uint16_t>(port));
  record.SetNumber("Port", server.port());
  while (!StopWanted()) {
    if (record.Has(kEnd)) return "ended";
    const std::unique_ptr<Connection> connection = server.Accept(kLook);
    if (connection == nullptr) continue;
    const Request request = Receive(*connection);
    const int status = StopWanted() ? 503 : Answer(request, token, path);
    connection->Write("HTTP/1.1 " + std::to_string(status) + " " + WordsOf(status) +
                      "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    // So that the answer is not lost with what the other side still sends.
    char rest[512];
    while (connection->Read(rest, sizeof(rest), kLook).value_or(0) > 0 && !StopWanted() && status != 413) {
    }
  }
  return nullptr;
}

int HttpTrigger::Answer(const Request& request, const std::string& token, const std::string& path) {
  if (request.refusal != 0) return request.refusal;
  if (!IsSameSecret(request.token, token)) return 401;
  if (request.path != path) return 404;
  if (request.method != "POST") return 405;
  if (request.body.find('\0') != std::string::npos) return 400;
  Sdk::NodeRecord record = Record();
  if (record.Has(kPending)) return 503;
  record.SetText("Path", request.path);
  record.SetText("Body", request.body);
  record.SetNumber(kPending, 1);
  FireOutput("called");
  return 202;
}

HttpTrigger::Request HttpTrigger::Receive(Connection& connection) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(NumberParameter("RequestSeconds"));
  const auto most = static_cast<std::size_t>(NumberParameter("MostBytes"));
  Request request;
  std::string text;
  std::size_t head = std::string::npos;
  std::size_t length = 0;
  char piece[4096];
  while (request.refusal == 0) {
    if (head == std::string::npos && (head = text.find("\r\n\r\n")) != std::string::npos) {
      ParseHead(std::string_view(text).substr(0, head), request, length);
      if (request.refusal == 0 && length > most) request.refusal = 413;
      text.erase(0, head + 4);
      continue;
    }
    if (head == std::string::npos && text.size() > kMostHead) request.refusal = 431;
    if (head != std::string::npos && text.size() >= length) break;
    if (StopWanted() || std::chrono::steady_clock::now() > limit) request.refusal = 408;
    const std::optional<std::size_t> count = connection.Read(piece, sizeof(piece), kLook);
    if (count && *count == 0) request.refusal = 400;
    text.append(piece, count.value_or(0));
  }
  request.body = text.substr(0, length);
  return request;
}

void HttpTrigger::ParseHead(std::string_view head, Request& request, std::size_t& length) {
  const std::string_view first = head.substr(0, head.find("\r\n"));
  const std::size_t blank = first.find(' ');
  const std::size_t second = first.find(' ', blank + 1);
  if (blank == std::string_view::npos || second == std::string_view::npos ||
      !first.substr(second + 1).starts_with("HTTP/1.")) {
    request.refusal = 400;
    return;
  }
  request.method = first.substr(0, blank);
  request.path = first.substr(blank + 1, second - blank - 1);
  for (std::size_t at = first.size(); at < head.size();) {
    at += 2;
    const std::size_t end = std::min(head.find("\r\n", at), head.size());
    const std::string_view line = head.substr(at, end - at);
    at = end;
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::string_view name = line.substr(0, colon);
    std::string_view value = line.substr(std::min(colon + 1, line.size()));
    value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
    if (Sdk::Parameters::EqualIgnoringCase(name, "Content-Length")) {
      const auto result = std::from_chars(value.data(), value.data() + value.size(), length);
      if (result.ec != std::errc() || result.ptr != value.data() + value.size()) request.refusal = 400;
    } else if (Sdk::Parameters::EqualIgnoringCase(name, "Transfer-Encoding")) {
      request.refusal = 411;
    } else if (Sdk::Parameters::EqualIgnoringCase(name, "Authorization") && value.starts_with("Bearer ")) {
      request.token = value.substr(7);
    }
  }
}

}  // namespace OrvWorkFlow::Nodes
