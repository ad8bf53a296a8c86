#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "nodes/web/CurlTransfer.h"
#include "nodes/web/MailSender.h"

namespace OrvWorkFlow::Nodes {

namespace {

struct Rest {
  std::string_view text;
};

std::size_t GiveText(char* buffer, std::size_t one, std::size_t count, void* context) {
  Rest& rest = *static_cast<Rest*>(context);
  const std::size_t size = std::min(one * count, rest.text.size());
  std::memcpy(buffer, rest.text.data(), size);
  rest.text.remove_prefix(size);
  return size;
}

struct Receivers {
  Receivers() = default;
  Receivers(const Receivers&) = delete;
  Receivers& operator=(const Receivers&) = delete;
  ~Receivers() { curl_slist_free_all(list); }
  curl_slist* list = nullptr;
};

// When libcurl waits for an answer by itself, as for that to the mail's end, it asks once a second whether to go on.
// The answer to the farewell is not waited for: the mail is taken by then.
struct Patience {
  CurlTransfer& transfer;
  const std::function<bool()>& stop_wanted;
  bool is_over = false;
};

int HearFarewell(CURL* /*easy*/, curl_infotype kind, char* text, std::size_t size, void* context) {
  if (kind != CURLINFO_HEADER_OUT || !std::string_view(text, size).starts_with("QUIT")) return 0;
  static_cast<Patience*>(context)->is_over = true;
  return 0;
}

int EndsNow(void* context, curl_off_t /*to_come*/, curl_off_t /*come*/, curl_off_t /*to_go*/, curl_off_t /*gone*/) {
  Patience& patience = *static_cast<Patience*>(context);
  if (patience.is_over) return 1;
  if (patience.stop_wanted()) patience.transfer.stopped = true;
  return patience.transfer.stopped ? 1 : 0;
}

void WaitNoLonger(CURL* easy, Patience& patience) {
  curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
  curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, &HearFarewell);
  curl_easy_setopt(easy, CURLOPT_DEBUGDATA, &patience);
  curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &EndsNow);
  curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &patience);
}

}  // namespace

bool SendMail(const Mail& mail, const std::function<bool()>& stop_wanted) {
  Receivers receivers;
  CurlTransfer transfer;
  CURL* const easy = transfer.easy;
  Rest rest{mail.text};
  const std::string from = "<" + mail.from + ">";
  for (const std::string& to : mail.to) {
    curl_slist* const longer = curl_slist_append(receivers.list, ("<" + to + ">").c_str());
    if (longer == nullptr) throw std::bad_alloc();
    receivers.list = longer;
  }
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  curl_easy_setopt(easy, CURLOPT_URL, mail.server.c_str());
  curl_easy_setopt(easy, CURLOPT_MAIL_FROM, from.c_str());
  curl_easy_setopt(easy, CURLOPT_MAIL_RCPT, receivers.list);
  curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(easy, CURLOPT_READFUNCTION, &GiveText);
  curl_easy_setopt(easy, CURLOPT_READDATA, &rest);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT, static_cast<long>(mail.seconds));
  curl_easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(mail.needs_tls ? CURLUSESSL_ALL : CURLUSESSL_TRY));
  if (!mail.user.empty()) {
    curl_easy_setopt(easy, CURLOPT_USERNAME, mail.user.c_str());
    curl_easy_setopt(easy, CURLOPT_PASSWORD, mail.password.c_str());
  }
  Patience patience{transfer, stop_wanted};
  WaitNoLonger(easy, patience);
  return transfer.Run([&] {
    if (!stop_wanted()) return false;
    // Of a mail with receivers libcurl would send the end, and wait for the answer.
    curl_easy_setopt(easy, CURLOPT_MAIL_RCPT, static_cast<curl_slist*>(nullptr));
    return true;
  });
}

}  // namespace OrvWorkFlow::Nodes
