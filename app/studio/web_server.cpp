#include "web_server.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <string_view>

#include "errors.h"

namespace app {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;
using std::chrono::seconds;

constexpr std::size_t kMostConnections = 128;
constexpr std::uint32_t kLongestHead = 16 << 10;  // bytes
constexpr std::uint64_t kLongestBody = 8 << 20;
constexpr seconds kRequestTime{10};  // for a whole request, once it has begun
constexpr seconds kIdleTime{60};     // until it begins
constexpr seconds kWriteTime{60};    // for a whole response

constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src "
    "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

/// 128 bits that nobody guesses, in hexadecimal.
std::string MakeToken() {
  std::array<unsigned char, 16> bits{};
  if (getrandom(bits.data(), bits.size(), 0) != static_cast<ssize_t>(bits.size())) {
    throw FileError("there are no random numbers for the address");
  }
  return fmt::format("{:02x}", fmt::join(bits, ""));
}

/// In a time that does not depend on where they differ.
bool AreSame(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
  }
  return difference == 0;
}

/// Of "a=1; b=2".
std::string_view CookieOf(std::string_view cookies, std::string_view name) {
  while (!cookies.empty()) {
    const std::size_t end = cookies.find("; ");
    const std::string_view one = cookies.substr(0, end);
    if (one.starts_with(name) && one.substr(name.size()).starts_with('=')) {
      return one.substr(name.size() + 1);
    }
    cookies.remove_prefix(end == cookies.npos ? cookies.size() : end + 2);
  }
  return {};
}

std::string_view View(const boost::beast::string_view& text) { return {text.data(), text.size()}; }

}  // namespace

/// One of the browser's, from its begin to its end.
class WebServer::Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(asio::ip::tcp::socket socket, WebServer& server)
      : stream_(std::move(socket)), server_(server) {}

  bool is_silent() const { return is_silent_; }
  void Close() { stream_.close(); }

  /// `first` word of a request is waited for so long.
  void Wait(seconds first) {
    is_silent_ = true;
    stream_.expires_after(first);
    if (buffer_.size() > 0) return Read();
    stream_.async_read_some(buffer_.prepare(4096),
                            [self = shared_from_this()](const error_code& error, std::size_t size) {
                              if (error) return;
                              self->buffer_.commit(size);
                              self->Read();
                            });
  }

 private:
  using Parser = http::request_parser<http::string_body>;

  void Read() {
    stream_.expires_after(kRequestTime);
    parser_.emplace();
    parser_->header_limit(kLongestHead);
    parser_->body_limit(kLongestBody);
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](const error_code& error, std::size_t) {
                       if (error) return self->OnBadRequest(error);
                       self->is_silent_ = false;
                       self->stream_.expires_never();
                       self->Obey(self->parser_->get());
                     });
  }

  void OnBadRequest(const error_code& error) {
    if (error == http::error::body_limit) return RespondLast({413, {}, "this is too long\n"});
    if (error == http::error::header_limit) return RespondLast({431, {}, "this is too long\n"});
    if (error.category() == http::make_error_code(http::error::bad_method).category() &&
        error != http::error::end_of_stream && error != http::error::partial_message) {
      RespondLast({400, {}, "this is not HTTP\n"});
    }
  }

  void RespondLast(WebResponse response) {
    keep_alive_ = false;
    Write(std::move(response));
  }

  void Obey(const http::request<http::string_body>& request) {
    keep_alive_ = request.keep_alive();
    const std::string_view target = View(request.target());
    const std::size_t mark = target.find('?');
    WebRequest wanted;
    wanted.is_post = request.method() == http::verb::post;
    wanted.path = target.substr(0, mark);
    if (mark != target.npos) wanted.query = target.substr(mark + 1);
    wanted.body = request.body();
    if (auto refusal = Refusal(request, wanted)) return Write(std::move(*refusal));
    // The connection lives while somebody may yet respond.
    server_.handler_(wanted, [self = shared_from_this()](WebResponse response) {
      self->Write(std::move(response));
    });
  }

  /// What is answered to a request that is not obeyed.
  std::optional<WebResponse> Refusal(const http::request<http::string_body>& request,
                                     const WebRequest& wanted) const {
    if (View(request[http::field::host]) != server_.host_) {
      return WebResponse{421, {}, "this is not the address of this server\n"};
    }
    if (!wanted.is_post && request.method() != http::verb::get) {
      return WebResponse{405, {}, "only GET and POST\n"};
    }
    const std::string_view site = View(request["Sec-Fetch-Site"]);
    const bool is_start = wanted.path == "/" && !wanted.is_post;
    if (!site.empty() && site != "same-origin" && !(is_start && site == "none")) {
      return WebResponse{403, {}, "other pages may not ask this server\n"};
    }
    if (is_start && wanted.query.starts_with("token=") &&
        AreSame(std::string_view(wanted.query).substr(6), server_.token_)) {
      return WebResponse{303,
                         {},
                         {},
                         {{"Location", "/"},
                          {"Set-Cookie", fmt::format("{}={}; HttpOnly; SameSite=Strict; Path=/",
                                                     server_.cookie_, server_.token_)}}};
    }
    const std::string_view cookies = View(request[http::field::cookie]);
    if (!AreSame(CookieOf(cookies, server_.cookie_), server_.token_)) {
      return WebResponse{403, {}, "Open the whole address that the program printed.\n"};
    }
    if (wanted.is_post && View(request[http::field::origin]) != server_.origin_) {
      return WebResponse{403, {}, "other pages may not ask this server\n"};
    }
    return std::nullopt;
  }

  void Write(WebResponse from) {
    response_ = {};
    response_.version(11);
    response_.result(from.status);
    response_.set(http::field::content_type,
                  from.type.empty() ? "text/plain; charset=utf-8" : from.type);
    for (const auto& [name, value] : from.headers) response_.set(name, value);
    response_.set("Content-Security-Policy", kPolicy);
    response_.set("X-Content-Type-Options", "nosniff");
    response_.set("Referrer-Policy", "no-referrer");
    response_.set("Cross-Origin-Resource-Policy", "same-origin");
    response_.set("Cross-Origin-Opener-Policy", "same-origin");
    response_.set(http::field::cache_control, "no-store");
    response_.keep_alive(keep_alive_);
    response_.body() = std::move(from.body);
    response_.prepare_payload();
    stream_.expires_after(kWriteTime);
    http::async_write(
        stream_, response_, [self = shared_from_this()](const error_code& error, std::size_t) {
          self->response_ = {};
          if (error) return;
          if (self->keep_alive_) return self->Wait(kIdleTime);
          error_code ignored;
          self->stream_.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
        });
  }

  beast::tcp_stream stream_;
  WebServer& server_;
  beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
  http::response<http::string_body> response_;
  bool keep_alive_ = true;
  bool is_silent_ = true;
};

WebServer::WebServer(asio::io_context& context, unsigned short port, Handler handler)
    : acceptor_(context), handler_(std::move(handler)), token_(MakeToken()) {
  const asio::ip::tcp::endpoint here(asio::ip::address_v4::loopback(), port);
  error_code error;
  acceptor_.open(here.protocol(), error);
  fcntl(acceptor_.native_handle(), F_SETFD, FD_CLOEXEC);
  acceptor_.set_option(asio::socket_base::reuse_address(port != 0), error);
  if (!error) acceptor_.bind(here, error);
  if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
  if (error) throw FileError(fmt::format("cannot take port {}: {}", port, error.message()));
  host_ = fmt::format("127.0.0.1:{}", acceptor_.local_endpoint().port());
  origin_ = "http://" + host_;
  cookie_ = fmt::format("vorlin-{}", acceptor_.local_endpoint().port());
  Accept();
}

WebServer::~WebServer() = default;

void WebServer::Accept() {
  acceptor_.async_accept([this](const error_code& error, asio::ip::tcp::socket socket) {
    if (error == asio::error::operation_aborted) return;
    if (!error) {
      fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
      error_code ignored;
      socket.set_option(asio::ip::tcp::no_delay(true), ignored);
      MakeRoom();
      const auto connection = std::make_shared<Connection>(std::move(socket), *this);
      connections_.push_back(connection);
      connection->Wait(kRequestTime);
    }
    Accept();
  });
}

void WebServer::MakeRoom() {
  connections_.remove_if([](const auto& connection) { return connection.expired(); });
  if (connections_.size() < kMostConnections) return;
  for (const auto& weak : connections_) {
    const std::shared_ptr<Connection> connection = weak.lock();
    if (!connection || !connection->is_silent()) continue;
    connection->Close();
    return;
  }
}

}  // namespace app
