#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>
// After windows.h.
#include <process.h>
#include <winhttp.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>

#include "nodes/web/HttpClient.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr DWORD kPiece = 64 * 1024;
constexpr char kTooManyHeaders[] = "the server's headers are larger than 256 KiB";

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
    case WSAETIMEDOUT:
      return "the server does not answer in time";
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
      return "there is no such server";
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case WSAECONNREFUSED:
      return "the server takes no connection";
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case WSAECONNRESET:
    case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
      return "the connection was cut off, or the answer is no HTTP";
    case ERROR_WINHTTP_SECURE_FAILURE:
      return "the server's certificate is not to be trusted";
    case ERROR_WINHTTP_REDIRECT_FAILED:
      return "there are too many redirects, or one leads elsewhere than to http and https";
    case ERROR_WINHTTP_HEADER_SIZE_OVERFLOW:
      return kTooManyHeaders;
    default:
      return "the request failed (system error " + std::to_string(code) + ")";
  }
}

// It is closed when it goes, or before that from another thread.
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

void Expect(BOOL done) {
  if (done == FALSE) throw HttpProblem(ReasonOfCode(GetLastError()));
}

std::vector<std::pair<std::string, std::string>> HeadersOf(HINTERNET request) {
  DWORD size = 0;
  WinHttpQueryHeaders(request, WINHTTP_QUERY_RAW_HEADERS_CRLF, nullptr, nullptr, &size, nullptr);
  if (size > kMostHeaderBytes * sizeof(wchar_t)) throw HttpProblem(kTooManyHeaders);
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

void SetLimits(HINTERNET session, const HttpOrder& order) {
  const auto idle = static_cast<int>(std::chrono::milliseconds(order.idle_limit).count());
  const auto connect = static_cast<int>(std::chrono::milliseconds(order.connect_limit).count());
  Expect(WinHttpSetTimeouts(session, connect, connect, idle, idle));
  // Until the answer begins.
  auto response = static_cast<DWORD>(idle);
  Expect(WinHttpSetOption(session, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &response, sizeof(response)));
}

void SetRequestLimits(HINTERNET request, const HttpOrder& order) {
  DWORD headers = kMostHeaderBytes;
  WinHttpSetOption(request, WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, &headers, sizeof(headers));
  DWORD redirects = static_cast<DWORD>(std::max(order.most_redirects, 0));
  DWORD never = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
  if (redirects == 0) {
    WinHttpSetOption(request, WINHTTP_OPTION_REDIRECT_POLICY, &never, sizeof(never));
  } else {
    WinHttpSetOption(request, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, &redirects, sizeof(redirects));
  }
}

// A request on a thread of its own, which can be left: closing its handle ends most calls that wait on it, but not all.
// What is left ends by its limits at the latest, and touches nothing of the order's any more.
class Transfer {
 public:
  explicit Transfer(const HttpOrder& order) : order_(order), address_(AddressOf(order.url)) {
    order_.begin = [this, &order](int status, const auto& headers) {
      const std::lock_guard lock(mutex_);
      if (!is_left_) order.begin(status, headers);
    };
    order_.take = [this, &order](std::string_view piece) {
      const std::lock_guard lock(mutex_);
      return !is_left_ && order.take(piece);
    };
  }

  static bool Do(const HttpOrder& order) {
    const auto transfer = std::make_shared<Transfer>(order);
    StartThread(transfer);
    return transfer->Wait(order);
  }

 private:
  struct Started {
    std::shared_ptr<Transfer> transfer;
    HMODULE module;
  };

  // The library stays loaded as long as the thread is in it.
  static void StartThread(const std::shared_ptr<Transfer>& transfer) {
    auto started = std::make_unique<Started>(Started{transfer, nullptr});
    const void* const here = reinterpret_cast<const void*>(&Main);
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, static_cast<LPCWSTR>(here), &started->module);
    const std::uintptr_t thread = _beginthreadex(nullptr, 0, &Main, started.get(), 0, nullptr);
    if (thread == 0) {
      FreeLibrary(started->module);
      throw HttpProblem("there is no thread to be had for the request");
    }
    static_cast<void>(started.release());  // The thread's.
    void* const handle = reinterpret_cast<void*>(thread);
    CloseHandle(handle);
  }

  static unsigned __stdcall Main(void* argument) {
    HMODULE module = nullptr;
    {
      const std::unique_ptr<Started> started(static_cast<Started*>(argument));
      module = started->module;
      started->transfer->Run();
    }
    FreeLibraryAndExitThread(module, 0);
  }

  void Run() {
    bool is_whole = false;
    std::exception_ptr problem;
    try {
      is_whole = Request();
    } catch (...) {
      problem = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    is_whole_ = is_whole;
    problem_ = problem;
    is_done_ = true;
    changed_.notify_all();
  }

  bool Request() {
    const DWORD proxy =
        IsOfThisMachine(address_.host) ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_DEFAULT_PROXY;
    const Handle session(WinHttpOpen(L"orvflow", proxy, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    SetLimits(session.get(), order_);
    const Handle connection(WinHttpConnect(session.get(), address_.host.c_str(), address_.port, 0));
    const auto request = std::make_shared<Handle>(WinHttpOpenRequest(
        connection.get(), Wide(order_.method).c_str(), address_.object.c_str(), nullptr, WINHTTP_NO_REFERER,
        WINHTTP_DEFAULT_ACCEPT_TYPES, address_.is_secure ? WINHTTP_FLAG_SECURE : 0));
    SetRequestLimits(request->get(), order_);
    {
      const std::lock_guard lock(mutex_);
      if (is_left_) return false;
      request_ = request;
    }
    return Exchange(request->get(), order_);
  }

  bool Wait(const HttpOrder& order) {
    const auto begin = std::chrono::steady_clock::now();
    std::unique_lock lock(mutex_);
    while (!is_done_) {
      changed_.wait_for(lock, std::chrono::milliseconds(20));
      if (is_done_) break;
      const bool is_over =
          order.whole_limit.count() > 0 && std::chrono::steady_clock::now() - begin > order.whole_limit;
      is_left_ = is_over || order.stop_wanted();
      if (is_left_ && request_ != nullptr) request_->Close();
      if (is_over) {
        throw HttpProblem("the request took longer than " + std::to_string(order.whole_limit.count()) + " s");
      }
      if (is_left_) return false;
    }
    if (problem_) std::rethrow_exception(problem_);
    return is_whole_;
  }

  HttpOrder order_;  // its callbacks ask whether the transfer was left
  const Address address_;
  std::mutex mutex_;
  std::shared_ptr<Handle> request_;
  std::condition_variable changed_;
  bool is_left_ = false;
  bool is_done_ = false;
  bool is_whole_ = false;
  std::exception_ptr problem_;
};

}  // namespace

bool DoHttp(const HttpOrder& order) {
  CheckUrl(order.url);
  return Transfer::Do(order);
}

}  // namespace OrvWorkFlow::Nodes
