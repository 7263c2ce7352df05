#include "node/bound_arguments.h"

#include <cstdint>

#include "node/usage_error.h"
#include "tools/values.h"

namespace node {
namespace {

void take(const BoundOption& option, const BoundWords& words, mcore::Bounds& bounds) {
    const std::string& text = words.*option.word;
    if (text.empty()) return;
    try {
        bounds.*option.bound = parse_bound(text);
    } catch (const UsageError& error) {
        throw UsageError(std::string("--") + option.name + ": " + error.what());
    }
}

}  // namespace

std::uint32_t parse_bound(const std::string& text) {
    constexpr std::uint32_t kMost = 100'000'000;  // sums of it still fit
    std::uint32_t bound = 0;
    if (!commands::read_number(text, bound) || bound == 0 || bound > kMost) {
        throw UsageError("'" + text + "' is no bound: a number from 1 to 100000000 is needed");
    }
    return bound;
}

std::string fresh_bound(const std::string& name) {
    constexpr mcore::Bounds kFresh;
    for (const BoundOption& option : kBoundOptions) {
        if (name == option.name) return std::to_string(kFresh.*option.bound);
    }
    return "";
}

mcore::Bounds meaning_of(const BoundWords& words) {
    mcore::Bounds bounds;
    for (const BoundOption& option : kBoundOptions) take(option, words, bounds);
    return bounds;
}

}  // namespace node
