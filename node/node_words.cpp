#include "node/node_words.h"

#include <cstdint>

#include "mld/record.h"
#include "node/argument_values.h"
#include "node/driver/driver.h"
#include "node/usage_error.h"
#include "platform/protocol_core.h"

namespace node {
namespace {

std::function<void()> register_as(const std::string& id) {
    return [onu_id = parse_onu_id(id)] { driver::chosen().set_onu_id(onu_id); };
}

// The record and the core, in the order in which start-up sets them.
std::function<void()> set_mld_mode(const std::string& name) {
    if (name != "snooping" && name != "control") {
        throw UsageError("'" + name + "' is no mode of MLD: snooping or control");
    }
    const std::uint16_t mode = name == "control" ? MLD_MODE_CONTROL : MLD_MODE_SNOOPING;
    return [mode] {
        mldInitParams.multiMode = mode;
        static_cast<void>(mld_proxy_snoop_set_globle(mode));  // takes both
    };
}

}  // namespace

std::function<void()> parse_node_words(const std::vector<std::string>& words) {
    const std::string& name = words.front();
    if (name != "onu-id" && name != "mld-mode") return {};
    if (words.size() != 2) throw UsageError(name + ": one value is needed");
    return name == "onu-id" ? register_as(words[1]) : set_mld_mode(words[1]);
}

}  // namespace node
