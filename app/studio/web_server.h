#pragma once

// Before asio, which misses it under g++ 12.
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace app {

struct WebRequest {
  bool is_post = false;
  std::string path;   // as "/api/state"
  std::string query;  // what follows "?"
  std::string body;
};

struct WebResponse {
  unsigned status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers{};
};

/// To be called once, at any later time.
using Respond = std::function<void(WebResponse)>;

/// A web server for one user's own browser, on the loopback address only. Who does not know the
/// token of its address is refused, and so are pages from elsewhere, other names for this address
/// (which a foreign page could have made), and whoever is slow or sends too much.
class WebServer {
 public:
  using Handler = std::function<void(const WebRequest&, Respond)>;

  /// `port` 0 takes any that is free. Throws FileError when it cannot be had.
  WebServer(boost::asio::io_context& context, unsigned short port, Handler handler);
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  /// With the token: what the user's browser is to open.
  std::string Address() const { return origin_ + "/?token=" + token_; }

 private:
  class Connection;

  void Accept();
  /// Closes the connection that has been silent for longest when there are too many.
  void MakeRoom();

  boost::asio::ip::tcp::acceptor acceptor_;
  Handler handler_;
  std::string token_;
  std::string host_;
  std::string origin_;
  std::string cookie_;  // its name; browsers send cookies to every port of an address
  std::list<std::weak_ptr<Connection>> connections_;
};

}  // namespace app
