// A small HTTP server for whoever collects numbers: GET /metrics, and nothing else.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

struct MHD_Daemon;

namespace metrics {

// The address is of no use; what() says why, and repeats it as it was given.
struct AddressError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// libmicrohttpd does it, on a thread of its own that has the signals of its maker blocked.
class HttpServer {
 public:
    // text is called on the server's thread, one request after the other. address is
    // "127.0.0.1:9550" or "[::1]:9550"; with port 0 the system chooses one. Throws AddressError.
    HttpServer(const std::string& address, std::function<std::string()> text);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // "http://127.0.0.1:9550/metrics"
    [[nodiscard]] const std::string& url() const { return url_; }

 private:
    std::function<std::string()> text_;
    MHD_Daemon* daemon_ = nullptr;
    std::string url_;
};

}  // namespace metrics
