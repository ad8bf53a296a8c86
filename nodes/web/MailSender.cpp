#include "nodes/web/MailSender.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <random>
#include <stdexcept>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"send", "sends it"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"sent", false, "the server has it"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Server", "", "smtp://host:port, or smtps://host:port for TLS from the beginning"),
    BooleanParameterRow("Tls", true, "whether the connection has to become one of TLS; without, it may stay plain"),
    TextListParameterRow("Login", "user and password, such as {env:NAME}, so that it is in no file; nothing: without"),
    TextParameterRow("From", "", "the sender's address"),
    TextListParameterRow("To", "the receivers' addresses"),
    TextParameterRow("Subject", "", "one line"),
    TextListParameterRow("Text", "the text, or its lines"),
    NumberParameterRow("Seconds", "60", 1, "how long it may take", 3600),
};

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64(std::string_view bytes, std::size_t line_length) {
  std::string text;
  std::size_t in_line = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t at) {
      return at < bytes.size() ? static_cast<unsigned int>(static_cast<unsigned char>(bytes[at])) : 0U;
    };
    const unsigned int bits = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
    text += kBase64[bits >> 18 & 63];
    text += kBase64[bits >> 12 & 63];
    text += i + 1 < bytes.size() ? kBase64[bits >> 6 & 63] : '=';
    text += i + 2 < bytes.size() ? kBase64[bits & 63] : '=';
    in_line += 4;
    if (line_length != 0 && in_line >= line_length) {
      text += "\r\n";
      in_line = 0;
    }
  }
  return text;
}

bool IsPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c >= ' ' && c < 127) || c == '\n' || c == '\t'; });
}

// What goes into a header cannot begin another one.
const std::string& OneLine(const std::string& text, const char* what) {
  const bool has_control = std::any_of(text.begin(), text.end(), [](char c) { return c >= 0 && c < ' '; });
  if (has_control) throw std::runtime_error(std::string(what) + " has more than one line");
  return text;
}

const std::string& Address(const std::string& text) {
  if (OneLine(text, "an address").find_first_of(" <>,;") != std::string::npos || text.find('@') == std::string::npos) {
    throw std::runtime_error("\"" + text + "\" is no address; write name@host");
  }
  return text;
}

// A word of RFC 2047 for each 45 bytes, without cutting a character of UTF-8 in two.
std::string Subject(const std::string& text) {
  if (IsPlain(text) && text.size() < 900) return text;
  std::string header;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = std::min(at + 45, text.size());
    while (end < text.size() && end > at + 1 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    header +=
        (at == 0 ? "=?UTF-8?B?" : "\r\n =?UTF-8?B?") + Base64(std::string_view(text).substr(at, end - at), 0) + "?=";
    at = end;
  }
  return header;
}

std::string DateNow() {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(now - day);
  const auto two = [](long long number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  return std::string(kDays[std::chrono::weekday(day).c_encoding()]) + ", " +
         std::to_string(static_cast<unsigned int>(date.day())) + " " +
         kMonths[static_cast<unsigned int>(date.month()) - 1] + " " + std::to_string(static_cast<int>(date.year())) +
         " " + two(time.hours().count()) + ":" + two(time.minutes().count()) + ":" + two(time.seconds().count()) +
         " +0000";
}

std::string NewId() {
  std::random_device device;
  std::string id = "orvflow";
  for (int i = 0; i < 4; ++i) id += "." + std::to_string(device());
  return id + "@localhost";
}

}  // namespace

constinit const NodeDescription MailSender::kDescription = {
    .sentence = "Sends a mail by SMTP",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* MailSender::DoTask(const std::string& /*task*/) {
  Mail mail;
  mail.server = TextParameter("Server");
  if (!mail.server.starts_with("smtp://") && !mail.server.starts_with("smtps://")) {
    throw std::runtime_error("\"" + mail.server + "\" is no server; write smtp://host:port or smtps://host:port");
  }
  mail.from = Address(TextParameter("From"));
  mail.to = TextListParameter("To");
  if (mail.to.empty()) throw std::runtime_error("To names nobody");
  const std::vector<std::string> login = TextListParameter("Login");
  if (!login.empty() && login.size() != 2) throw std::runtime_error("Login is not two texts, user and password");
  if (login.size() == 2) {
    mail.user = login[0];
    mail.password = login[1];
  }
  mail.needs_tls = BooleanParameter("Tls");
  mail.seconds = NumberParameter("Seconds");
  mail.text = TextOfMail(mail);
  try {
    return SendMail(mail, [this] { return StopWanted(); }) ? "sent" : nullptr;
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(mail.server + ": " + error.what());
  }
}

std::string MailSender::TextOfMail(const Mail& mail) {
  Sdk::NodeRecord record = Record();
  if (!record.Has("Id")) record.SetText("Id", NewId());
  std::string body;
  for (const std::string& line : TextListParameter("Text")) body += line + "\n";
  std::string lines;
  std::size_t longest = 0;
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t end = body.find('\n', at);
    longest = std::max(longest, end - at);
    lines += body.substr(at, end - at) + "\r\n";
    at = end + 1;
  }
  const bool is_plain = IsPlain(body) && longest < 900;
  std::string text = "Date: " + DateNow() + "\r\nFrom: <" + mail.from + ">\r\nTo: ";
  for (const std::string& to : mail.to) text += (&to == &mail.to.front() ? "<" : ",\r\n <") + Address(to) + ">";
  text += "\r\nSubject: " + Subject(OneLine(TextParameter("Subject"), "Subject")) + "\r\nMessage-ID: <" +
          record.Text("Id") + ">\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n" +
          "Content-Transfer-Encoding: " + (is_plain ? "7bit" : "base64") + "\r\n\r\n";
  return text + (is_plain ? lines : Base64(lines, 76) + "\r\n");
}

}  // namespace OrvWorkFlow::Nodes
