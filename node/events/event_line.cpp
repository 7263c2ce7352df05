#include "node/events/event_line.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "node/events/json_line.h"

namespace events {
namespace {

using mcore::Address;
using mcore::Family;

const char* protocol(Family family) { return family == Family::kIpv4 ? "IGMP" : "MLD"; }

std::string addresses(Family family, const std::vector<Address>& all) {
    return json_array(
        all, [family](const Address& each) { return json_text(mcore::text(family, each)); });
}

std::string groups_text(Family family, const std::vector<mcore::GroupSaid>& groups) {
    return json_array(groups, [family](const mcore::GroupSaid& said) {
        JsonLine line;
        line.add("group", mcore::text(family, said.group));
        const std::string_view record = mcore::record_type_name(said.record_type);
        if (!record.empty()) line.add("record", record);
        return line.add_raw("sources", addresses(family, said.sources)).text();
    });
}

// What a query asks for; it has one group, of zeros if it asks for all.
const char* query_kind(const mcore::GroupSaid& asked) {
    if (asked.group == Address{}) return "general";
    return asked.sources.empty() ? "group" : "source";
}

std::string hex(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

// One line, from its name to what is said of this kind of event alone.
class Writer {
 public:
    explicit Writer(const mcore::Event& event) : event_(event) {}

    [[nodiscard]] JsonLine& line() { return line_; }

    void operator()(const mcore::MessageReceived& received) {
        begin_at_place("received");
        line_.add("kind", mcore::name(received.kind));
        add_message(received.message);
    }
    void operator()(const mcore::MessageSent& sent) {
        begin_at_place("sent");
        line_.add("kind", mcore::name(sent.kind));
        add_message(sent.message);
    }
    void operator()(const mcore::MessageDropped& dropped) {
        begin_at_place("dropped");
        line_.add("reason", mcore::name(dropped.reason));
        if (dropped.sender != Address{}) add_address("sender", dropped.sender);
    }
    void operator()(const mcore::RecordRefused& refused) {
        begin_with_group("refused", refused.group);
        line_.add("reason", mcore::name(refused.reason));
        line_.add("is_join", refused.is_join).add("is_partly", refused.is_partly);
        add_address("reporter", refused.reporter);
    }
    void operator()(const mcore::MembershipJoined& joined) {
        begin_with_group("joined", joined.group);
        add_state(joined.state);
    }
    void operator()(const mcore::MembershipChanged& changed) {
        begin_with_group("changed", changed.group);
        add_state(changed.state);
    }
    void operator()(const mcore::MembershipLeft& left) {
        begin_with_group("left", left.group);
        line_.add("reason", mcore::name(left.why));
    }
    void operator()(const mcore::EntryChanged& entry) {
        begin_with_group(entry.is_set ? "entry_set" : "entry_removed", entry.group);
        line_.add("is_done", entry.is_done);
    }
    void operator()(const mcore::RouterChanged& changed) {
        begin_at_place(changed.is_found ? "router_found" : "router_lost");
        add_address("router", changed.router);
        const bool is_query = changed.sign == mcore::RouterSign::kQuery;
        line_.add("known_by", is_query ? "query" : "advertisement");
        if (!changed.is_found) line_.add("reason", mcore::name(changed.why));
    }
    void operator()(const mcore::LinkChanged& changed) {
        begin(changed.is_up ? "link_up" : "link_down");
        line_.add("port", event_.port);
    }
    void operator()(const mcore::CommandRun& run) {
        begin("command");
        line_.add("words", run.words);
        if (run.code) line_.add("code", *run.code);
    }

 private:
    void begin(const char* name) { line_.add("event", name).add("time_us", event_.time_us); }

    void begin_at_place(const char* name) {
        begin(name);
        line_.add("protocol", protocol(event_.family));
        line_.add("port", event_.port).add("vlan", event_.vlan);
    }

    void begin_with_group(const char* name, const Address& group) {
        begin_at_place(name);
        add_address("group", group);
    }

    void add_address(const char* name, const Address& address) {
        line_.add(name, mcore::text(event_.family, address));
    }

    void add_message(const mcore::Message& message) {
        add_address("sender", message.sender);
        if (message.version != 0) line_.add("version", message.version);
        const bool is_query = message.max_response_us.has_value();
        if (is_query) {
            line_.add("query", query_kind(message.groups.front()));
            line_.add("max_response_us", *message.max_response_us);
        }
        const bool asks_all = is_query && message.groups.front().group == Address{};
        line_.add_raw("groups", asks_all ? "[]" : groups_text(event_.family, message.groups));
    }

    void add_state(const mcore::MembershipState& state) {
        line_.add("version", state.version);
        line_.add("filter", state.filter.exclude ? "exclude" : "include");
        line_.add_raw("sources", addresses(event_.family, state.filter.sources));
        line_.add_raw("reporters", addresses(event_.family, state.reporters));
    }

    const mcore::Event& event_;
    JsonLine line_;
};

// Of one frame the core says once what it was; all else follows from it.
bool is_frame_itself(const mcore::Event& event) {
    return std::holds_alternative<mcore::MessageReceived>(event.what) ||
           std::holds_alternative<mcore::MessageDropped>(event.what);
}

}  // namespace

Lines lines_of(const mcore::Event& event, FrameSource source, const driver::FrameOrigin* frame) {
    Writer writer(event);
    std::visit(writer, event.what);
    JsonLine& line = writer.line();
    if (frame == nullptr) return {line.text(), line.text()};
    line.add(source == FrameSource::kCapture ? "capture" : "interface", frame->from);
    line.add("frame", frame->number);
    std::string for_file = line.text();
    if (!is_frame_itself(event)) return {for_file, for_file};
    line.add("frame_bytes", frame->length).add("beginning", hex(frame->beginning()));
    return {std::move(for_file), line.text()};
}

}  // namespace events
