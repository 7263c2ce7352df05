#include "tests/support/neighbours.h"

#include <dlfcn.h>
#include <setjmp.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <span>

#include "igmp/igmp.h"
#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"

uint32_t igmpv3_rcv;
uint32_t igmpv3_snd;

namespace mc_test {

namespace {

struct Script {
    bool always = false;
    std::int32_t status = 0;
    std::map<unsigned, std::int32_t> nth;
    unsigned count = 0;
    std::function<void(const Call&)> action;
};

struct Delivery {
    Bytes frame;
    std::uint8_t port;
    std::uint32_t length;
};

struct State {
    std::vector<Call> calls;
    std::map<std::string, Script> scripts;
    std::deque<Delivery> deliveries;
    unsigned empty_reads = 0;
    unsigned idle_reads = 0;
    std::uint8_t onu_id = 255;
    std::uint32_t now = 0;
    Bytes port_status;
    Bytes group_dump;
};

// The core has tasks of its own, and a test may run the library's two at once.
std::mutex mutex;

State& state() {
    static State the_state;
    return the_state;
}

// Set while nothing is recorded.
std::atomic<FrameTaker> frame_taker = nullptr;

// Where frames are that packets may be looked at in: packets claim lengths that are not theirs.
std::vector<std::span<const std::uint8_t>> readable;
std::span<const std::uint8_t> last_delivery;

thread_local jmp_buf* way_out = nullptr;
thread_local bool leaving = false;

bool holds(std::span<const std::uint8_t> extent, const std::uint8_t* at) {
    return std::less_equal<>()(extent.data(), at) &&
           std::less<>()(at, extent.data() + extent.size());
}

Bytes copy_of(const std::uint8_t* at, std::size_t claimed) {
    std::size_t length = claimed;
    auto cut = [&](std::span<const std::uint8_t> extent) {
        if (!holds(extent, at)) return false;
        length = std::min(length, static_cast<std::size_t>(extent.data() + extent.size() - at));
        return true;
    };
    if (std::none_of(readable.rbegin(), readable.rend(), cut)) cut(last_delivery);
    return {at, at + length};
}

// One argument. Trivial, so that a frame that is left by longjmp owes nothing.
struct Arg {
    enum Kind { kNumber, kPacket, kRecord, kMac, kText, kCode };

    Kind kind;
    std::int64_t number = 0;
    const void* address = nullptr;
    std::size_t size = 0;  // of a packet: bytes; of a record: fields
    std::int64_t field[5] = {};

    template <class Int>
    requires std::is_integral_v<Int> Arg(Int value)
        : kind(kNumber), number(static_cast<std::int64_t>(value)) {}
    explicit Arg(Kind what) : kind(what) {}
};

Arg packet(const std::uint8_t* at, std::size_t size) {
    Arg arg(Arg::kPacket);
    arg.address = at;
    arg.size = size;
    return arg;
}

Arg record(const void* at, std::initializer_list<std::int64_t> values) {
    Arg arg(Arg::kRecord);
    arg.address = at;
    arg.size = values.size();
    std::copy(values.begin(), values.end(), arg.field);
    return arg;
}

Arg null_record() { return Arg(Arg::kRecord); }

Arg tag_record(const IgmpUplinkTag* tag) {
    if (tag == nullptr) return null_record();
    return record(tag, {tag->first, tag->second, tag->third});
}

Arg mac_address(const L2MulticastMac& mac) {
    Arg arg(Arg::kMac);
    arg.address = mac.byte;
    return arg;
}

Arg quoted(const char* text) {
    Arg arg(Arg::kText);
    arg.address = text;
    return arg;
}

template <class Function>
Arg code(Function* function) {
    Arg arg(Arg::kCode);
    arg.address = reinterpret_cast<const void*>(function);
    return arg;
}

std::string name_of_code(const void* address) {
    if (address == nullptr) return "null";
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_saddr != address) return "unknown code";
    return info.dli_sname;
}

std::string text_of(const Arg& arg, Call& call) {
    switch (arg.kind) {
        case Arg::kNumber:
            call.numbers.push_back(arg.number);
            return std::to_string(arg.number);
        case Arg::kPacket:
            call.addresses.push_back(arg.address);
            if (arg.address == nullptr) return "null";
            call.bytes.push_back(copy_of(static_cast<const std::uint8_t*>(arg.address), arg.size));
            return hex(call.bytes.back());
        case Arg::kRecord: {
            call.addresses.push_back(arg.address);
            if (arg.address == nullptr) return "null";
            std::vector<std::string> parts;
            for (std::size_t i = 0; i < arg.size; ++i)
                parts.push_back(std::to_string(arg.field[i]));
            return "{" + detail::join(parts) + "}";
        }
        case Arg::kMac: {
            const auto* at = static_cast<const std::uint8_t*>(arg.address);
            call.bytes.push_back({at, at + sizeof(L2MulticastMac)});
            return mac(call.bytes.back());
        }
        case Arg::kText:
            return "\"" + std::string(static_cast<const char*>(arg.address)) + "\"";
        case Arg::kCode:
            return name_of_code(arg.address);
    }
    return "";
}

std::int32_t write_down(const char* name, std::initializer_list<Arg> args,
                        std::int32_t unscripted) {
    Call call;
    call.name = name;
    std::vector<std::string> parts;
    for (const Arg& arg : args) parts.push_back(text_of(arg, call));
    call.text = call.name + "(" + detail::join(parts) + ")";

    std::int32_t status = unscripted;
    std::function<void(const Call&)> action;
    {
        const std::lock_guard guard(mutex);
        state().calls.push_back(call);
        Script& script = state().scripts[call.name];
        ++script.count;
        if (script.always) status = script.status;
        if (const auto nth = script.nth.find(script.count); nth != script.nth.end()) {
            status = nth->second;
        }
        action = script.action;
    }
    if (action) action(call);
    return status;
}

void leave_if_asked() {
    if (!leaving) return;
    leaving = false;
    longjmp(*way_out, 1);
}

// The body of every neighbour. Nothing with a destructor is alive when it leaves.
std::int32_t called(const char* name, std::initializer_list<Arg> args = {},
                    std::int32_t unscripted = 0) {
    if (frame_taker.load(std::memory_order_relaxed) != nullptr) return unscripted;
    const std::int32_t status = write_down(name, args, unscripted);
    leave_if_asked();
    return status;
}

std::int32_t hand_out(const Bytes& source, std::uint32_t size, std::uint8_t* buf) {
    const auto length = std::min<std::size_t>(source.size(), size);
    std::copy_n(source.begin(), length, buf);
    return static_cast<std::int32_t>(length);
}

// True when a frame was handed over.
bool take_delivery(std::uint8_t* buf, std::uint8_t* port, std::uint32_t* len) {
    constexpr std::size_t kDriverBuffer = 2048;
    const std::lock_guard guard(mutex);
    if (state().deliveries.empty()) return false;
    const Delivery delivery = state().deliveries.front();
    state().deliveries.pop_front();
    const std::size_t size = std::min(delivery.frame.size(), kDriverBuffer);
    std::copy_n(delivery.frame.begin(), size, buf);
    *port = delivery.port;
    *len = delivery.length;
    last_delivery = {buf, size};
    return true;
}

void nothing_to_deliver() {
    constexpr unsigned kForgotten = 100000;
    const unsigned reads = ++state().empty_reads;
    if (way_out != nullptr && reads > state().idle_reads) leaving = true;
    if (reads > kForgotten) {
        std::fputs("the packet task runs without run_packet_task\n", stderr);
        std::abort();
    }
}

template <class Wanted>
std::vector<std::string> texts(Wanted wanted) {
    std::vector<std::string> result;
    for (const Call& call : recorded()) {
        if (wanted(call.name)) result.push_back(call.text);
    }
    return result;
}

bool among(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<Call> recorded() {
    const std::lock_guard guard(mutex);
    return state().calls;
}

std::vector<std::string> calls() {
    return texts([](std::string_view) { return true; });
}

std::vector<std::string> calls_of(std::initializer_list<std::string_view> names) {
    return texts([&](std::string_view name) { return among(name, names); });
}

std::vector<std::string> calls_without(std::initializer_list<std::string_view> names) {
    return texts([&](std::string_view name) { return !among(name, names); });
}

Call last_call(std::string_view name) {
    Call last;
    for (const Call& call : recorded()) {
        if (call.name == name) last = call;
    }
    return last;
}

std::size_t count_of(std::string_view name) { return calls_of({name}).size(); }

std::vector<SentFrame> sent_frames() {
    std::vector<SentFrame> frames;
    for (const Call& call : recorded()) {
        if (call.name != "L2_multicast_send_msg") continue;
        frames.push_back(
            {call.bytes.empty() ? Bytes{} : call.bytes[0], static_cast<unsigned>(call.numbers[0]),
             static_cast<unsigned>(call.numbers[2]), static_cast<std::uint32_t>(call.numbers[3])});
    }
    return frames;
}

void take_frames_unrecorded(FrameTaker taker) { frame_taker = taker; }

std::int32_t written_down(const char* name, std::int32_t unscripted) {
    return called(name, {}, unscripted);
}

void forget_calls() {
    const std::lock_guard guard(mutex);
    state().calls.clear();
    for (auto& [name, script] : state().scripts) script.count = 0;
}

void reset_neighbours() {
    const std::lock_guard guard(mutex);
    state() = State{};
    last_delivery = {};
    frame_taker = nullptr;
    igmpv3_rcv = 0;
    igmpv3_snd = 0;
}

std::string hex(const Bytes& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "[";
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text + "]";
}

std::string mac(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        const std::string digits = hex({byte});
        if (!text.empty()) text += ":";
        text += digits.substr(1, 2);
    }
    return text;
}

namespace detail {

std::string argument(std::int64_t number) { return std::to_string(number); }

std::string join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        if (&part != &parts.front()) text += ", ";
        text += part;
    }
    return text;
}

}  // namespace detail

void answer(std::string name, std::int32_t status) {
    const std::lock_guard guard(mutex);
    Script& script = state().scripts[name];
    script.always = true;
    script.status = status;
}

void fail_call(std::string name, unsigned nth, std::int32_t status) {
    const std::lock_guard guard(mutex);
    state().scripts[name].nth[nth] = status;
}

void during(std::string name, std::function<void(const Call&)> action) {
    const std::lock_guard guard(mutex);
    state().scripts[name].action = std::move(action);
}

void during(std::string name, std::function<void()> action) {
    during(std::move(name), [action = std::move(action)](const Call&) { action(); });
}

void set_onu_id(std::uint8_t onu_id) { state().onu_id = onu_id; }
void set_time(std::uint32_t now) { state().now = now; }
void set_port_status(Bytes status) { state().port_status = std::move(status); }
void set_group_dump(Bytes dump) { state().group_dump = std::move(dump); }

void deliver(Bytes frame, std::uint8_t port) {
    const auto length = static_cast<std::uint32_t>(frame.size());
    deliver(std::move(frame), port, length);
}

void deliver(Bytes frame, std::uint8_t port, std::uint32_t claimed_length) {
    const std::lock_guard guard(mutex);
    state().deliveries.push_back({std::move(frame), port, claimed_length});
}

FrameBuffer::FrameBuffer(Bytes frame)
    : storage_(std::move(frame)), len_(static_cast<std::uint32_t>(storage_.size())) {
    constexpr std::size_t kReadAnyway = 48;
    if (storage_.size() < kReadAnyway) storage_.resize(kReadAnyway);
    storage_.shrink_to_fit();
    readable.emplace_back(storage_.data(), len_);
}

FrameBuffer::~FrameBuffer() {
    std::erase_if(readable, [this](auto extent) { return extent.data() == storage_.data(); });
}

bool run_until_left(const std::function<void()>& body) {
    jmp_buf here;
    jmp_buf* const volatile outer = way_out;
    if (setjmp(here) != 0) {
        way_out = outer;
        return true;
    }
    way_out = &here;
    body();
    way_out = outer;
    return false;
}

void leave_library() {
    if (way_out == nullptr) {
        std::fputs("leave_library outside run_until_left\n", stderr);
        std::abort();
    }
    leaving = true;
}

void run_packet_task(unsigned idle_reads) {
    state().idle_reads = idle_reads;
    state().empty_reads = 0;
    run_until_left([] { igmp_adapt_pkt_recv_task(); });
}

}  // namespace mc_test

using mc_test::called;
using mc_test::code;
using mc_test::packet;
using mc_test::record;

extern "C" {

// ---- C library: it is the packet task that asks, and it must not wait in a test. ----------------

// NOLINTNEXTLINE(readability-identifier-naming)
unsigned int sleep(unsigned int seconds) {
    called(__func__, {seconds});
    return 0;
}

// ---- Protocol core -------------------------------------------------------------------

int32_t igmp_data_init() { return called(__func__); }
int32_t igmp_task_init(uint32_t first, uint32_t second) {
    return called(__func__, {first, second});
}
int32_t mld_data_init() { return called(__func__); }
int32_t mld_task_init(uint32_t first) { return called(__func__, {first}); }
int32_t igmp_register_switch_send_pkt(IgmpSendPacket send) {
    return called(__func__, {code(send)});
}
int32_t igmp_register_switch_add_table(IgmpTableChange add) {
    return called(__func__, {code(add)});
}
int32_t igmp_register_switch_del_table(IgmpTableChange del) {
    return called(__func__, {code(del)});
}
int32_t mld_register_switch_send_pkt(MldSendPacket send) { return called(__func__, {code(send)}); }
int32_t mld_register_switch_add_table(MldTableChange add) { return called(__func__, {code(add)}); }
int32_t mld_register_switch_del_table(MldTableChange del) { return called(__func__, {code(del)}); }
int32_t igmp_time_now(uint32_t* now) {
    *now = mc_test::state().now;
    return called(__func__);
}
int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* data) {
    return called(__func__, {packet(ip_packet, ip_total_length), ip_total_length, port, group_vlan,
                             record(data, {})});
}
int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* data) {
    return called(__func__, {packet(ip_packet, length), length, port, group_vlan,
                             data == nullptr ? mc_test::null_record()
                                             : record(data, {data->frame_word, data->time_stamp})});
}
int32_t igmp_mode_switch_globle(uint32_t mode) { return called(__func__, {mode}); }
int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval) {
    return called(__func__,
                  {robustness, query_interval, query_max_resp_time, last_member_query_interval,
                   last_member_query_count, general_member_interval});
}
int32_t igmp_para_rv_globle_set(uint8_t robustness) { return called(__func__, {robustness}); }
int32_t igmp_para_qi_globle_set(uint16_t query_interval) {
    return called(__func__, {query_interval});
}
int32_t igmp_para_qri_globle_set(uint16_t query_max_resp_time) {
    return called(__func__, {query_max_resp_time});
}
int32_t igmp_para_lmqi_globle_set(uint16_t last_member_query_interval) {
    return called(__func__, {last_member_query_interval});
}
int32_t igmp_para_lmqc_globle_set(uint16_t last_member_query_count) {
    return called(__func__, {last_member_query_count});
}
int32_t igmp_version_globle_set(uint8_t version) { return called(__func__, {version}); }
int32_t igmp_ssm_ip_globle_set(uint32_t start, uint32_t end) {
    return called(__func__, {start, end});
}
int32_t igmp_ssm_map_change(uint32_t* words) {
    return called(__func__, {record(words, {words[0], words[1], words[2], words[3], words[4]})});
}
int32_t igmp_vlan_learning_set(uint8_t enable) { return called(__func__, {enable}); }
int32_t igmp_fast_leave_enable_globle(uint8_t mode) { return called(__func__, {mode}); }
int32_t igmp_default_vid_set(uint16_t vlan) { return called(__func__, {vlan}); }
int32_t igmp_globle_proxyip_set(uint32_t address) { return called(__func__, {address}); }
int32_t igmp_aging_function_set(uint8_t enable) { return called(__func__, {enable}); }
int32_t igmp_del_all_group() { return called(__func__); }
int32_t mld_api_set_default_vlan(uint16_t vlan) { return called(__func__, {vlan}); }
int32_t mld_proxy_snoop_set_globle(uint16_t mode) { return called(__func__, {mode}); }
int32_t mld_pack_set_age_switch(uint8_t enable) { return called(__func__, {enable}); }
int32_t igmp_vlan_add(uint16_t vlan) { return called(__func__, {vlan}); }
int32_t igmp_vlan_del(uint16_t vlan) { return called(__func__, {vlan}); }
int32_t igmp_vlan_del_all() { return called(__func__); }
int32_t igmp_port_add_all_vlan(uint32_t port) { return called(__func__, {port}); }
int32_t mld_port_conf_set(uint32_t port, uint32_t port_type) {
    return called(__func__, {port, port_type});
}
int32_t igmp_if_fast_leave_enable(uint8_t port, uint8_t mode) {
    return called(__func__, {port, mode});
}
int32_t igmp_if_max_group_num_set(uint8_t port, uint16_t limit) {
    return called(__func__, {port, limit});
}
int32_t igmp_if_max_bandwidth_set(uint8_t port, uint8_t enable, uint32_t bandwidth,
                                  uint16_t extra) {
    return called(__func__, {port, enable, bandwidth, extra});
}
int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner) {
    return called(__func__, {port, mc_test::tag_record(outer), mc_test::tag_record(inner)});
}
int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan) {
    return called(__func__, {port, start, end, bandwidth, vlan});
}
int32_t igmp_if_delete_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end,
                                      uint32_t bandwidth, uint16_t vlan) {
    return called(__func__, {port, start, end, bandwidth, vlan});
}
int32_t igmp_if_delete_auth_group_cfg_all(uint8_t port, uint16_t vlan) {
    return called(__func__, {port, vlan});
}
int32_t igmp_if_grp_range_auth_enable(uint8_t port, uint8_t enable) {
    return called(__func__, {port, enable});
}
int32_t add_to_auth_group_api(uint32_t group, uint16_t vlan) {
    return called(__func__, {group, vlan});
}
int32_t auth_group_delete_api(uint32_t group, uint16_t vlan) {
    return called(__func__, {group, vlan});
}
int32_t auth_group_delete_all_api() { return called(__func__); }
int32_t igmp_set_multicast_control(uint16_t port, uint32_t action, int16_t vlan, uint32_t group) {
    return called(__func__, {port, action, vlan, group});
}
int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest) {
    return called(__func__,
                  {add_delete, port, vlan, record(rest, {rest->word, rest->byte_a, rest->byte_b})});
}
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    return called(__func__, {port, size},
                  mc_test::hand_out(mc_test::state().port_status, size, buf));
}
int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    return called(__func__, {port, size},
                  mc_test::hand_out(mc_test::state().group_dump, size, buf));
}
int32_t igmp_display_all_group() { return called(__func__); }
int32_t igmp_display_special_group(uint32_t group) { return called(__func__, {group}); }
int32_t igmp_show_vlan_config(uint32_t port, uint16_t vlan, uint16_t flag) {
    return called(__func__, {port, vlan, flag});
}
int32_t show_igmp_all_proxy_group() { return called(__func__); }
int32_t show_igmp_special_proxy_group(uint32_t group) { return called(__func__, {group}); }
int32_t igmp_show_vlan_instance() { return called(__func__); }
int32_t show_igmpv3_globle() { return called(__func__); }
int32_t show_igmp_packet_statistic() { return called(__func__); }
int32_t show_igmp_if_list() { return called(__func__); }
int32_t igmp_timer_show_api() { return called(__func__); }
int32_t igmp_auth_group_show_api() { return called(__func__); }
int32_t igmp_if_show_if_cfg(uint8_t port) { return called(__func__, {port}); }
int32_t igmp_if_show_if_status(uint8_t port) { return called(__func__, {port}); }
int32_t igmp_if_show_auth_group_cfg(uint8_t port, uint32_t group) {
    return called(__func__, {port, group});
}
int32_t mld_unpack_show_mld_sys(uint32_t option) { return called(__func__, {option}); }
int32_t mld_unpack_show_mld_thread(uint32_t option) { return called(__func__, {option}); }
int32_t mld_unpack_show_vlan_global(uint32_t option) { return called(__func__, {option}); }
int32_t mld_show_if_list() { return called(__func__); }
int32_t igmp_warn_printf_set(uint8_t enable) { return called(__func__, {enable}); }
int32_t igmp_dbg_set(uint16_t vlan, uint8_t selector) { return called(__func__, {vlan, selector}); }
int32_t igmp_dbg_unset(uint16_t vlan, uint8_t selector) {
    return called(__func__, {vlan, selector});
}
int32_t igmp_set_debug_level(uint32_t level, uint32_t on) { return called(__func__, {level, on}); }
int32_t igmp_set_debug_pkt_port(uint16_t port) { return called(__func__, {port}); }
int32_t igmp_set_debug_switch(uint32_t which, uint32_t on) { return called(__func__, {which, on}); }
int32_t igmp_no_debug_all() { return called(__func__); }
int32_t mld_set_mld_debug_port(uint32_t port) { return called(__func__, {port}); }
int32_t mld_set_mld_debug(uint32_t mask, uint32_t port) { return called(__func__, {mask, port}); }
int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan) {
    return called(__func__, {port, vlan});
}
int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan) {
    return called(__func__, {port, vlan});
}

// ---- L2 multicast driver -------------------------------------------------------------

int32_t L2_multicast_init() { return called(__func__); }
int32_t L2_multicast_set_filter_method(uint32_t method) { return called(__func__, {method}); }
int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    const bool delivered = mc_test::take_delivery(buf, port, len);
    if (!delivered) mc_test::nothing_to_deliver();
    return called(__func__, {}, delivered ? 0 : 1);
}
int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t src_port,
                              uint32_t vlan) {
    const auto taker = mc_test::frame_taker.load(std::memory_order_relaxed);
    if (taker != nullptr) {
        taker(frame, len, port);
        return 0;
    }
    return called(__func__, {packet(frame, len), port, len, src_port, vlan});
}
int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return called(__func__, {port, mc_test::mac_address(mac), vlan});
}
int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return called(__func__, {port, mc_test::mac_address(mac), vlan});
}
int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    *onu_id = mc_test::state().onu_id;
    return called(__func__);
}

// ---- Platform layer ------------------------------------------------------------------

int32_t pal_task_create(uint32_t* task_id, const char* name, uint32_t priority, uint32_t option,
                        uint32_t stack_size, PalTaskEntry entry) {
    return called(__func__,
                  {*task_id, mc_test::quoted(name), priority, option, stack_size, code(entry)});
}
int32_t pal_mem_show() { return called(__func__); }
int32_t pal_mem_reset() { return called(__func__); }
int32_t pal_mtype_show(uint32_t type) { return called(__func__, {type}); }
int32_t pal_mrecord_range_set(uint32_t first, uint32_t second) {
    return called(__func__, {first, second});
}

}  // extern "C"
