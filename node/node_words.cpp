#include "node/node_words.h"

#include "node/argument_values.h"
#include "node/driver/driver.h"
#include "node/mld_mode.h"
#include "node/usage_error.h"

namespace node {
namespace {

std::function<void()> register_as(const std::string& id) {
    return [onu_id = parse_onu_id(id)] { driver::chosen().set_onu_id(onu_id); };
}

std::function<void()> change_mld_mode(const std::string& name) {
    return [mode = parse_mld_mode(name)] { set_mld_mode(mode); };
}

}  // namespace

std::function<void()> parse_node_words(const std::vector<std::string>& words) {
    const std::string& name = words.front();
    if (name != "onu-id" && name != "mld-mode") return {};
    if (words.size() != 2) throw UsageError(name + ": one value is needed");
    return name == "onu-id" ? register_as(words[1]) : change_mld_mode(words[1]);
}

}  // namespace node
