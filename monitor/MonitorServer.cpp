#include "monitor/MonitorServer.h"

#include <algorithm>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include "monitor/ListenOption.h"
#include "monitor/RequestRules.h"

namespace OrvWorkFlow::Monitor {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using Tcp = asio::ip::tcp;
using Milliseconds = std::chrono::milliseconds;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;
using Text = std::shared_ptr<const std::string>;

constexpr Milliseconds kBetweenUpdates{100};
constexpr std::size_t kBytesAMillisecond = 1000;  // of updates: those of a large run are fewer
constexpr Milliseconds kFarewell{1000};
constexpr std::size_t kMostDrained = 256 * 1024;

std::string_view View(beast::string_view text) { return {text.data(), text.size()}; }

// What makes a browser keep the answer to itself.
void AddPolicies(Response& response, bool is_page) {
  response.set(http::field::cache_control, "no-store");
  response.set("X-Content-Type-Options", "nosniff");
  response.set("Referrer-Policy", "no-referrer");
  response.set("X-Frame-Options", "DENY");
  response.set("Cross-Origin-Opener-Policy", "same-origin");
  response.set("Cross-Origin-Resource-Policy", "same-origin");
  const std::string everywhere = "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
  response.set("Content-Security-Policy", (is_page ? "" : "default-src 'none'; ") + everywhere);
}

RequestView ViewOf(const Request& request) {
  RequestView view;
  view.method = View(request.method_string());
  view.target = View(request.target());
  const auto value = [&](http::field field) {
    if (request.count(field) > 1) view.repeats_header = true;
    return View(request[field]);
  };
  view.host = value(http::field::host);
  view.origin = value(http::field::origin);
  view.content_type = value(http::field::content_type);
  view.authorization = value(http::field::authorization);
  view.cookie = value(http::field::cookie);
  const beast::string_view site = "Sec-Fetch-Site";
  if (request.count(site) > 1) view.repeats_header = true;
  view.fetch_site = View(request[site]);
  return view;
}

unsigned StatusOf(const beast::error_code& error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow) return 431;
  return error == http::error::body_limit ? 413 : 400;
}

}  // namespace

// One thread runs all of it, but for the constructor, Start and Stop.
class MonitorServer::Engine {
 public:
  Engine(std::uint16_t port, std::string token, Patience patience, bool takes_commands);
  ~Engine();

  std::uint16_t port() const { return port_; }
  void Start(LiveSource& source);
  void Stop(const std::string& last_update) noexcept;

 private:
  class Connection;
  class Tab;

  static Tcp::acceptor Listen(asio::io_context& io, std::uint16_t port);
  void Work();
  void Accept();
  void Take(Tcp::socket socket);
  Content Ask(const Request& request);
  Text AskWhole();
  void AddTab(Tab& tab);
  void WaitForTick(Milliseconds time);
  void Tick();
  void BeginEnd(const std::string& last_update);
  void AbandonTabs();
  void EndIfAlone();

  const Patience patience_;
  LiveSource* source_ = nullptr;
  std::size_t connections_ = 0;  // This and the next are there when the last connections go, with the context.
  std::set<Tab*> tabs_;
  bool is_ending_ = false;
  asio::io_context io_{1};
  Tcp::acceptor acceptor_;
  const std::uint16_t port_;
  const RequestRules rules_;
  asio::steady_timer tick_{io_};
  asio::steady_timer pause_{io_};  // of accepting, where the system has no more sockets
  asio::steady_timer end_{io_};
  bool is_ticking_ = false;
  std::thread thread_;
};

// A browser's tab, from its handshake to its end. Kept by what it waits for.
class MonitorServer::Engine::Tab : public std::enable_shared_from_this<Tab> {
 public:
  Tab(Engine& engine, Tcp::socket socket, Request request)
      : engine_(engine), request_(std::move(request)), stream_(std::move(socket)) {
    ++engine_.connections_;
    engine_.tabs_.insert(this);
  }
  Tab(const Tab&) = delete;
  Tab& operator=(const Tab&) = delete;
  ~Tab() {
    --engine_.connections_;
    engine_.tabs_.erase(this);
    engine_.EndIfAlone();
  }

  void Open() {
    websocket::stream_base::timeout limits{};
    limits.handshake_timeout = Milliseconds(engine_.patience_.request);
    limits.idle_timeout = Milliseconds(engine_.patience_.tab);
    limits.keep_alive_pings = true;
    stream_.set_option(limits);
    stream_.read_message_max(kMostFrameBytes);
    stream_.text(true);
    stream_.async_accept(request_, [self = shared_from_this()](const beast::error_code& error) {
      if (error) return;
      self->is_open_ = true;
      self->Listen();
      self->engine_.AddTab(*self);
    });
  }

  // A tab that still takes the last one misses this one, and gets everything after it.
  void Send(const Text& text) {
    if (!is_open_) return;
    if (is_writing_) {
      is_behind_ = true;
    } else {
      Write(text);
    }
  }
  bool is_behind() const { return is_open_ && is_behind_ && !is_writing_; }
  void CatchUp(const Text& text) {
    is_behind_ = false;
    Send(text);
  }

  void End(const Text& last) {
    last_ = last;
    if (!is_open_) {
      beast::get_lowest_layer(stream_).close();
    } else if (!is_writing_) {
      WriteLast();
    }
  }

  // What it still takes is not waited for. A system may keep an operation that is not cancelled beyond the socket's
  // end.
  void Abandon() {
    is_open_ = false;
    beast::error_code ignored;
    Tcp::socket& socket = beast::get_lowest_layer(stream_).socket();
    socket.cancel(ignored);
    socket.close(ignored);
  }

 private:
  // A page has nothing to say yet: a message is none of its own. It also gets to know that the tab is gone.
  void Listen() {
    stream_.async_read(buffer_, [self = shared_from_this()](const beast::error_code& error, std::size_t) {
      if (error) {
        self->is_open_ = false;
        return;
      }
      self->Close(websocket::close_code::policy_error);
    });
  }

  void Write(const Text& text) {
    is_writing_ = true;
    sent_ = text;
    stream_.async_write(asio::buffer(*sent_), [self = shared_from_this()](const beast::error_code& error, std::size_t) {
      self->is_writing_ = false;
      if (error) {
        self->is_open_ = false;
      } else if (self->last_ && self->is_open_) {
        self->WriteLast();
      }
    });
  }

  void WriteLast() {
    if (sent_ == last_) {
      Close(websocket::close_code::going_away);
    } else {
      Write(last_);
    }
  }

  void Close(websocket::close_code code) {
    if (!std::exchange(is_open_, false)) return;
    stream_.async_close(code, [self = shared_from_this()](const beast::error_code&) {});
  }

  Engine& engine_;
  const Request request_;
  websocket::stream<beast::tcp_stream> stream_;
  beast::flat_buffer buffer_{kMostFrameBytes};
  Text sent_;
  Text last_;
  bool is_open_ = false;
  bool is_writing_ = false;
  bool is_behind_ = true;
};

// A connection of HTTP: request after request. Kept by what it waits for.
class MonitorServer::Engine::Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Engine& engine, Tcp::socket socket) : engine_(engine), stream_(std::move(socket)) {
    ++engine_.connections_;
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { --engine_.connections_; }

  void Read() {
    parser_.emplace();
    parser_->header_limit(kMostHeaderBytes);
    parser_->body_limit(kMostBodyBytes);
    stream_.expires_after(Milliseconds(engine_.patience_.request));
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](const beast::error_code& error, std::size_t) {
                       if (!error) {
                         self->Judge();
                       } else if (error.category() == http::make_error_code(http::error::bad_method).category() &&
                                  error != http::error::end_of_stream && error != http::error::partial_message) {
                         self->Refuse(StatusOf(error), "not understood");
                       }
                     });
  }

 private:
  void Judge() {
    const Request& request = parser_->get();
    is_head_ = request.method() == http::verb::head;
    const Verdict verdict = engine_.rules_.Judge(ViewOf(request));
    keeps_ = request.keep_alive() && verdict.status < 400 && !engine_.is_ending_;
    if (verdict.gives_cookie) return GiveCookie();
    if (verdict.status != 200) return Refuse(verdict.status, verdict.why);
    const std::string_view target = View(request.target());
    if (PathOf(target) == kLivePath && request.method() != http::verb::post) return Upgrade();
    Answer(engine_.Ask(request));
  }

  void Upgrade() {
    if (!websocket::is_upgrade(parser_->get())) return Refuse(426, "this is for a WebSocket");
    if (engine_.is_ending_ || engine_.tabs_.size() >= kMostTabs) return Refuse(503, "too many tabs show this run");
    stream_.expires_never();
    std::make_shared<Tab>(engine_, stream_.release_socket(), parser_->release())->Open();
  }

  void GiveCookie() {
    Response response(http::status::see_other, 11);
    response.set(http::field::location, "/");
    response.set(http::field::set_cookie, engine_.rules_.CookieHeader());
    Write(std::move(response), false);
  }

  void Refuse(unsigned status, std::string_view why) {
    keeps_ = false;
    Answer({status, "text/plain; charset=utf-8", std::string(why) + "\n"});
  }

  void Answer(Content content) {
    Response response(http::int_to_status(content.status), 11);
    response.set(http::field::content_type, content.type);
    if (content.is_page) response.set(http::field::content_encoding, "gzip");
    if (content.status == 405) response.set(http::field::allow, std::string(engine_.rules_.AllowedMethods()));
    if (content.status == 401) response.set(http::field::www_authenticate, "Bearer");
    response.body() = std::move(content.body);
    Write(std::move(response), content.is_page);
  }

  void Write(Response response, bool is_page) {
    AddPolicies(response, is_page);
    response.keep_alive(keeps_);
    response.content_length(response.body().size());
    if (is_head_) response.body().clear();
    response_ = std::move(response);
    stream_.expires_after(Milliseconds(engine_.patience_.request));
    http::async_write(stream_, response_, [self = shared_from_this()](const beast::error_code& error, std::size_t) {
      if (!error && self->keeps_) return self->Read();
      beast::error_code ignored;
      self->stream_.socket().shutdown(Tcp::socket::shutdown_send, ignored);
      self->stream_.expires_after(kFarewell);
      self->Drain(0);
    });
  }

  // What still comes is read for a moment: a system throws an answer away with a connection that is closed over it.
  void Drain(std::size_t size) {
    stream_.async_read_some(asio::buffer(drained_),
                            [self = shared_from_this(), size](const beast::error_code& error, std::size_t more) {
                              if (!error && size + more < kMostDrained) self->Drain(size + more);
                            });
  }

  Engine& engine_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_{kMostHeaderBytes + kMostBodyBytes};
  std::optional<http::request_parser<http::string_body>> parser_;
  Response response_;
  std::array<char, 4096> drained_{};
  bool keeps_ = false;
  bool is_head_ = false;
};

Tcp::acceptor MonitorServer::Engine::Listen(asio::io_context& io, std::uint16_t port) {
  const Tcp::endpoint place(asio::ip::address_v4::loopback(), port);
  Tcp::acceptor acceptor(io);
  beast::error_code error;
  acceptor.open(place.protocol(), error);
  if (!error) {
    TakePortAlone(static_cast<std::intptr_t>(acceptor.native_handle()));
    acceptor.bind(place, error);
  }
  if (!error) acceptor.listen(16, error);
  if (error) throw ServerProblem(error.message());
  return acceptor;
}

MonitorServer::Engine::Engine(std::uint16_t port, std::string token, Patience patience, bool takes_commands)
    : patience_(patience),
      acceptor_(Listen(io_, port)),
      port_(acceptor_.local_endpoint().port()),
      rules_(port_, std::move(token), takes_commands) {}

MonitorServer::Engine::~Engine() {
  io_.stop();
  if (thread_.joinable()) thread_.join();
}

void MonitorServer::Engine::Start(LiveSource& source) {
  source_ = &source;
  Accept();
  thread_ = std::thread([this] { Work(); });
}

// Without memory an answer is lost, and the others are not.
void MonitorServer::Engine::Work() {
  while (!io_.stopped()) {
    try {
      io_.run();
    } catch (const std::exception&) {
    }
  }
}

void MonitorServer::Engine::Accept() {
  acceptor_.async_accept([this](const beast::error_code& error, Tcp::socket socket) {
    if (!acceptor_.is_open()) return;
    if (!error) {
      Take(std::move(socket));
      return Accept();
    }
    pause_.expires_after(kBetweenUpdates);
    pause_.async_wait([this](const beast::error_code& ended) {
      if (!ended && acceptor_.is_open()) Accept();
    });
  });
}

// One too many is closed at once.
void MonitorServer::Engine::Take(Tcp::socket socket) {
  if (connections_ >= kMostConnections) return;
  try {
    std::make_shared<Connection>(*this, std::move(socket))->Read();
  } catch (const std::exception&) {  // It is closed.
  }
}

Content MonitorServer::Engine::Ask(const Request& request) {
  const std::string_view target = View(request.target());
  try {
    return request.method() == http::verb::post ? source_->Post(target, request.body()) : source_->Get(target);
  } catch (const std::exception&) {
    return {500, "text/plain; charset=utf-8", "this could not be read now\n"};
  }
}

Text MonitorServer::Engine::AskWhole() { return std::make_shared<const std::string>(source_->WholeUpdate()); }

void MonitorServer::Engine::AddTab(Tab& tab) {
  if (is_ending_) return tab.End(std::make_shared<const std::string>());
  if (!std::exchange(is_ticking_, true)) WaitForTick(kBetweenUpdates);
  tab.CatchUp(AskWhole());
}

void MonitorServer::Engine::WaitForTick(Milliseconds time) {
  tick_.expires_after(time);
  tick_.async_wait([this](const beast::error_code& error) {
    if (!error) Tick();
  });
}

void MonitorServer::Engine::Tick() {
  if (is_ending_ || tabs_.empty()) {
    is_ticking_ = false;
    return;
  }
  WaitForTick(kBetweenUpdates);
  const Text text = std::make_shared<const std::string>(source_->Update());
  const Milliseconds size(text->size() / kBytesAMillisecond);
  if (size > kBetweenUpdates) WaitForTick(size);
  Text whole;
  for (Tab* const tab : tabs_) {
    if (tab->is_behind()) {
      if (!whole) whole = AskWhole();
      tab->CatchUp(whole);
    } else if (!text->empty()) {
      tab->Send(text);
    }
  }
}

void MonitorServer::Engine::BeginEnd(const std::string& last_update) {
  is_ending_ = true;
  beast::error_code ignored;
  acceptor_.close(ignored);
  const Text last = std::make_shared<const std::string>(last_update);
  const std::set<Tab*> tabs = tabs_;
  for (Tab* const tab : tabs) tab->End(last);
  EndIfAlone();
}

void MonitorServer::Engine::AbandonTabs() {
  const std::set<Tab*> tabs = tabs_;
  for (Tab* const tab : tabs) tab->Abandon();
  end_.expires_after(kFarewell);
  end_.async_wait([this](const beast::error_code&) { io_.stop(); });
}

void MonitorServer::Engine::EndIfAlone() {
  if (is_ending_ && tabs_.empty()) io_.stop();
}

void MonitorServer::Engine::Stop(const std::string& last_update) noexcept {
  if (!thread_.joinable()) return;
  try {
    asio::post(io_, [this, last_update] {
      end_.expires_after(Milliseconds(patience_.end));
      end_.async_wait([this](const beast::error_code&) { AbandonTabs(); });
      BeginEnd(last_update);
    });
  } catch (const std::exception&) {  // Without a last word.
    io_.stop();
  }
  thread_.join();
}

MonitorServer::MonitorServer(std::uint16_t port, std::string token, Patience patience, bool takes_commands)
    : engine_(std::make_unique<Engine>(port, std::move(token), patience, takes_commands)), port_(engine_->port()) {}

MonitorServer::~MonitorServer() = default;

void MonitorServer::Start(LiveSource& source) { engine_->Start(source); }

void MonitorServer::Stop(const std::string& last_update) noexcept {
  if (!engine_) return;
  engine_->Stop(last_update);
  engine_.reset();
}

}  // namespace OrvWorkFlow::Monitor
