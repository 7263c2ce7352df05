#include "node/metrics/http_server.h"

#include <microhttpd.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "node/metrics/exposition.h"

namespace metrics {
namespace {

constexpr unsigned kMostConnections = 16;
constexpr unsigned kPatience = 10;  // seconds without a word from a client

constexpr const char* kType = "application/openmetrics-text; version=1.0.0; charset=utf-8";

MHD_Result answer(MHD_Connection* connection, unsigned status, const char* type,
                  const std::string& body) {
    // The library's own copy; the argument is not written to.
    MHD_Response* const response = MHD_create_response_from_buffer(
        body.size(), const_cast<char*>(body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) return MHD_NO;
    static_cast<void>(MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type));
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result serve(void* text, MHD_Connection* connection, const char* url, const char* method,
                 const char* /*version*/, const char* /*body*/, size_t* /*body_size*/,
                 void** /*request*/) {
    constexpr const char* kPlain = "text/plain; charset=utf-8";
    const std::string_view asked = method;
    if (asked != MHD_HTTP_METHOD_GET && asked != MHD_HTTP_METHOD_HEAD) {
        return answer(connection, MHD_HTTP_METHOD_NOT_ALLOWED, kPlain, "GET alone is served\n");
    }
    if (std::string_view(url) != "/metrics") {
        return answer(connection, MHD_HTTP_NOT_FOUND, kPlain, "the numbers are at /metrics\n");
    }
    const auto& make_text = *static_cast<const std::function<std::string()>*>(text);
    return answer(connection, MHD_HTTP_OK, kType, make_text() + std::string(kEnd));
}

struct HostAndPort {
    std::string host;  // brackets of IPv6 taken off
    std::string port;
};

HostAndPort split(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == address.size()) {
        throw AddressError("'" + address + "' is no address and port, such as 127.0.0.1:9550");
    }
    std::string host = address.substr(0, colon);
    if (host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    return {host, address.substr(colon + 1)};
}

using Resolved = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

Resolved resolve(const std::string& address) {
    const HostAndPort parts = split(address);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(parts.host.c_str(), parts.port.c_str(), &hints, &found);
    if (error != 0) {
        throw AddressError("'" + address + "' is no address and port: " + gai_strerror(error));
    }
    return {found, freeaddrinfo};
}

}  // namespace

HttpServer::HttpServer(const std::string& address, std::function<std::string()> text)
    : text_(std::move(text)) {
    const Resolved resolved = resolve(address);
    unsigned flags = MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_AUTO;
    if (resolved->ai_family == AF_INET6) flags |= MHD_USE_IPv6;
    errno = 0;
    daemon_ = MHD_start_daemon(flags, 0, nullptr, nullptr, serve, &text_, MHD_OPTION_SOCK_ADDR,
                               resolved->ai_addr, MHD_OPTION_CONNECTION_LIMIT, kMostConnections,
                               MHD_OPTION_CONNECTION_TIMEOUT, kPatience, MHD_OPTION_END);
    if (daemon_ == nullptr) {
        const int error = errno;
        throw AddressError("'" + address + "' cannot be served: " + std::strerror(error));
    }
    const MHD_DaemonInfo* const info = MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_BIND_PORT);
    const std::string port = info == nullptr ? split(address).port : std::to_string(info->port);
    url_ = "http://" + address.substr(0, address.rfind(':') + 1) + port + "/metrics";
}

HttpServer::~HttpServer() { MHD_stop_daemon(daemon_); }

}  // namespace metrics
