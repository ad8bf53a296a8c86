#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>
// After windows.h.
#include <winhttp.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

#include "nodes/web/HttpClient.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr DWORD kPiece = 64 * 1024;

std::wstring Wide(const std::string& text) {
  const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(size, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

std::string Narrow(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(std::max(size, 0)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

std::string ReasonOfCode(DWORD code) {
  switch (code) {
    case ERROR_WINHTTP_TIMEOUT:
      return "the server does not answer in time";
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
      return "there is no such server";
    case ERROR_WINHTTP_CANNOT_CONNECT:
      return "the server takes no connection";
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
      return "the connection was cut off, or the answer is no HTTP";
    case ERROR_WINHTTP_SECURE_FAILURE:
      return "the server's certificate is not to be trusted";
    case ERROR_WINHTTP_REDIRECT_FAILED:
      return "there are too many redirects";
    case ERROR_WINHTTP_HEADER_SIZE_OVERFLOW:
      return "the server's headers are too large";
    default:
      return "the request failed (system error " + std::to_string(code) + ")";
  }
}

// Handles that are closed when they go, or from another thread to end what waits on them.
class Handle {
 public:
  explicit Handle(HINTERNET handle) : handle_(handle) {
    if (handle == nullptr) throw HttpProblem(ReasonOfCode(GetLastError()));
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }
  void Close() {
    if (HINTERNET handle = handle_.exchange(nullptr)) WinHttpCloseHandle(handle);
  }
  HINTERNET get() const { return handle_; }

 private:
  std::atomic<HINTERNET> handle_;
};

// Closes a request when a stop is wanted, or its time is over.
class Watch {
 public:
  Watch(Handle& request, const HttpOrder& order)
      : thread_([this, &request, &order] {
          const auto begin = std::chrono::steady_clock::now();
          while (!ended_) {
            const bool over =
                order.whole_limit.count() > 0 && std::chrono::steady_clock::now() - begin > order.whole_limit;
            if (order.stop_wanted() || over) {
              (over ? is_over_ : is_stopped_) = true;
              request.Close();
              return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
          }
        }) {}
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() { End(); }

  void End() {
    ended_ = true;
    if (thread_.joinable()) thread_.join();
  }
  bool is_stopped() const { return is_stopped_; }
  bool is_over() const { return is_over_; }

 private:
  std::atomic<bool> ended_ = false;
  std::atomic<bool> is_stopped_ = false;
  std::atomic<bool> is_over_ = false;
  std::thread thread_;
};

void Expect(BOOL done) {
  if (done == FALSE) throw HttpProblem(ReasonOfCode(GetLastError()));
}

std::vector<std::pair<std::string, std::string>> HeadersOf(HINTERNET request) {
  DWORD size = 0;
  WinHttpQueryHeaders(request, WINHTTP_QUERY_RAW_HEADERS_CRLF, nullptr, nullptr, &size, nullptr);
  if (size > kMostHeaderBytes * sizeof(wchar_t)) throw HttpProblem("the server's headers are larger than 256 KiB");
  std::wstring wide(size / sizeof(wchar_t), L'\0');
  Expect(WinHttpQueryHeaders(request, WINHTTP_QUERY_RAW_HEADERS_CRLF, nullptr, wide.data(), &size, nullptr));
  wide.resize(size / sizeof(wchar_t));
  const std::string text = Narrow(wide);
  std::vector<std::pair<std::string, std::string>> headers;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", at), text.size());
    const std::string line = text.substr(at, end - at);
    at = end + 2;
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string name = line.substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const std::size_t value = line.find_first_not_of(" \t", colon + 1);
    headers.emplace_back(std::move(name), value == std::string::npos ? "" : line.substr(value));
  }
  return headers;
}

struct Address {
  std::wstring host;
  std::wstring object;
  INTERNET_PORT port = 0;
  bool is_secure = false;
};

Address AddressOf(const std::string& url) {
  const std::wstring wide = Wide(url);
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof(parts);
  parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<DWORD>(-1);
  if (WinHttpCrackUrl(wide.c_str(), 0, 0, &parts) == FALSE) throw HttpProblem("\"" + url + "\" is no address");
  Address address;
  address.host.assign(parts.lpszHostName, parts.dwHostNameLength);
  address.object.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
  address.object.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
  address.port = parts.nPort;
  address.is_secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  return address;
}

bool IsOfThisMachine(const std::wstring& host) {
  return host == L"localhost" || host == L"127.0.0.1" || host == L"::1" || host == L"[::1]";
}

void AddHeaders(HINTERNET request, const HttpOrder& order) {
  std::string all;
  for (const std::string& header : order.headers) all += header + "\r\n";
  if (order.from != 0) all += "Range: bytes=" + std::to_string(order.from) + "-\r\n";
  if (!order.if_range.empty()) all += "If-Range: " + order.if_range + "\r\n";
  if (all.empty()) return;
  const std::wstring wide = Wide(all);
  Expect(WinHttpAddRequestHeaders(request, wide.c_str(), static_cast<DWORD>(wide.size()),
                                  WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE));
}

// False when what takes it stopped it.
bool Exchange(HINTERNET request, const HttpOrder& order) {
  AddHeaders(request, order);
  void* const body = order.body.empty() ? nullptr : const_cast<char*>(order.body.data());  // it is not written to
  const auto size = static_cast<DWORD>(order.body.size());
  Expect(WinHttpSendRequest(request, nullptr, 0, body, size, size, 0));
  Expect(WinHttpReceiveResponse(request, nullptr));
  DWORD status = 0;
  DWORD status_size = sizeof(status);
  Expect(WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr, &status,
                             &status_size, nullptr));
  const auto headers = HeadersOf(request);
  order.begin(static_cast<int>(status), headers);
  std::uint64_t got = 0;
  std::vector<char> piece(kPiece);
  while (true) {
    DWORD count = 0;
    Expect(WinHttpReadData(request, piece.data(), kPiece, &count));
    if (count == 0) break;
    got += count;
    if (!order.take({piece.data(), count})) return false;
  }
  // A connection that ends early looks like the end.
  for (const auto& [name, value] : headers) {
    if (name == "content-length" && order.method != "HEAD" && value != std::to_string(got)) {
      throw HttpProblem("the connection was cut off: " + std::to_string(got) + " of " + value + " bytes came");
    }
  }
  return true;
}

}  // namespace

bool DoHttp(const HttpOrder& order) {
  CheckUrl(order.url);
  const Address address = AddressOf(order.url);
  const DWORD proxy = IsOfThisMachine(address.host) ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_DEFAULT_PROXY;
  Handle session(WinHttpOpen(L"orvflow", proxy, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
  const auto idle = static_cast<int>(std::chrono::milliseconds(order.idle_limit).count());
  const auto connect = static_cast<int>(std::chrono::milliseconds(order.connect_limit).count());
  Expect(WinHttpSetTimeouts(session.get(), connect, connect, idle, idle));
  Handle connection(WinHttpConnect(session.get(), address.host.c_str(), address.port, 0));
  Handle request(WinHttpOpenRequest(connection.get(), Wide(order.method).c_str(), address.object.c_str(), nullptr,
                                    WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                    address.is_secure ? WINHTTP_FLAG_SECURE : 0));
  DWORD redirects = static_cast<DWORD>(std::max(order.most_redirects, 0));
  if (redirects == 0) {
    DWORD never = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
    WinHttpSetOption(request.get(), WINHTTP_OPTION_REDIRECT_POLICY, &never, sizeof(never));
  } else {
    WinHttpSetOption(request.get(), WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, &redirects, sizeof(redirects));
  }
  Watch watch(request, order);
  try {
    const bool is_whole = Exchange(request.get(), order);
    watch.End();
    return is_whole;
  } catch (const HttpProblem&) {
    watch.End();
    if (watch.is_stopped()) return false;
    if (watch.is_over())
      throw HttpProblem("the request took longer than " + std::to_string(order.whole_limit.count()) + " s");
    throw;
  }
}

}  // namespace OrvWorkFlow::Nodes
