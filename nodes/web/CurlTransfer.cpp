#include "nodes/web/CurlTransfer.h"

#include <mutex>
#include <new>

#include "nodes/web/CurlSockets.h"
#include "nodes/web/HttpClient.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr int kLookEveryMilliseconds = 20;

struct Multi {
  explicit Multi(CURL* added) : handle(curl_multi_init()), easy(added) {
    if (handle == nullptr) throw std::bad_alloc();
    curl_multi_add_handle(handle, easy);
  }
  Multi(const Multi&) = delete;
  Multi& operator=(const Multi&) = delete;
  ~Multi() {
    curl_multi_remove_handle(handle, easy);
    curl_multi_cleanup(handle);
  }
  CURLM* handle;
  CURL* easy;
};

curl_socket_t Open(void* /*context*/, curlsocktype /*purpose*/, curl_sockaddr* address) { return OpenSocket(*address); }

// The thread on which libcurl looks up a name cannot be stopped: it ends later, by itself, and libcurl has to be there
// as long.
void Begin() {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  KeepLoaded(reinterpret_cast<void*>(&curl_easy_init));
}

}  // namespace

CurlTransfer::CurlTransfer() {
  static std::once_flag once;
  std::call_once(once, &Begin);
  easy = curl_easy_init();
  if (easy == nullptr) throw std::bad_alloc();
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error);
  curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &Open);
#if LIBCURL_VERSION_NUM >= 0x075700
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // A name that is being looked up is not waited for.
#endif
  curl_easy_setopt(easy, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1,[::1]");
}

CurlTransfer::~CurlTransfer() {
  curl_easy_cleanup(easy);
  curl_slist_free_all(headers);
}

void CurlTransfer::AddHeader(const std::string& header) {
  curl_slist* const longer = curl_slist_append(headers, header.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  headers = longer;
}

// By the multi interface, so that a stop is seen while it waits for a name or a server.
bool CurlTransfer::Run(const std::function<bool()>& stop_wanted) {
  const Multi multi(easy);
  int running = 1;
  while (running != 0) {
    if (stop_wanted()) return false;
    const CURLMcode code = curl_multi_perform(multi.handle, &running);
    if (code != CURLM_OK) throw HttpProblem(curl_multi_strerror(code));
    if (running != 0) curl_multi_poll(multi.handle, nullptr, 0, kLookEveryMilliseconds, nullptr);
  }
  if (problem != nullptr) std::rethrow_exception(problem);
  if (stopped) return false;
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi.handle, &left);
  const CURLcode result = message == nullptr ? CURLE_OK : message->data.result;
  if (result != CURLE_OK) throw HttpProblem(error[0] != '\0' ? error : curl_easy_strerror(result));
  return true;
}

}  // namespace OrvWorkFlow::Nodes
