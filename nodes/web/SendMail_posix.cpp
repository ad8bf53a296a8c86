#include <algorithm>
#include <cstring>

#include "nodes/web/CurlTransfer_posix.h"
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
  return transfer.Run(stop_wanted);
}

}  // namespace OrvWorkFlow::Nodes
