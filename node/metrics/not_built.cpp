// In place of the server where its library is not to be had.
#include <utility>

#include "node/metrics/http_server.h"

namespace metrics {

HttpServer::HttpServer(const std::string& /*address*/, std::function<std::string()> text)
    : text_(std::move(text)) {
    throw AddressError("'--metrics' was left out when this mc_node was built (MC_NODE_METRICS)");
}

HttpServer::~HttpServer() { static_cast<void>(daemon_); }

}  // namespace metrics
