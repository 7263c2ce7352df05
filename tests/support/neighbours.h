// The library's neighbours as the tests know them: every function of the protocol core, the L2
// driver and the platform layer is defined here, writes down how it was called, and answers what
// the test asked for. Without a script every call succeeds with 0.
//
// All calls stand in one list, in the order in which they were made, as readable text:
//
//     igmp_vlan_add(100)
//     pal_task_create(0, "tMCCmd", 40, 0, 40000, recv_igmp_interface_msg)
//     igmp_if_snp_uplinkvlan_set(29, {4007, 100, 0}, {33024, 65535, 0})
//     L2_multicast_set_port_iptv_entry(3, 01:00:5e:7f:01:01, 100)
//     L2_multicast_send_msg([01005e7f0101...], 29, 60, 3, 100)
//
// Numbers are decimal, a record is {its fields}, a packet or frame is [its bytes] as they were at
// the moment of the call, a call-back or a task body is its name.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace mc_test {

using Bytes = std::vector<std::uint8_t>;

// ---- What was called ---------------------------------------------------------------------------

struct Call {
    std::string name;
    std::string text;                    // the whole call, as shown above
    std::vector<std::int64_t> numbers;   // the plain numbers among its arguments, in order
    std::vector<Bytes> bytes;            // its packets and frames
    std::vector<const void*> addresses;  // where its records, packets and frames were
};

// Everything since the test began or forget_calls ran.
std::vector<Call> recorded();
std::vector<std::string> calls();
// Only the calls of some functions, and all but those of some functions.
std::vector<std::string> calls_of(std::initializer_list<std::string_view> names);
std::vector<std::string> calls_without(std::initializer_list<std::string_view> names);
// The last call of a function; a call with an empty name when there was none.
Call last_call(std::string_view name);
std::size_t count_of(std::string_view name);

struct SentFrame {
    Bytes frame;
    unsigned port;
    unsigned src_port;
    std::uint32_t vlan;
    bool operator==(const SentFrame&) const = default;
};
// The frames that went to L2_multicast_send_msg.
std::vector<SentFrame> sent_frames();

// For tasks at full speed: until reset_neighbours no call is written down, every one succeeds, and
// frames that are sent go here, on the thread that sends them.
using FrameTaker = void (*)(const std::uint8_t* frame, std::size_t len, unsigned port);
void take_frames_unrecorded(FrameTaker taker);

// For a neighbour that a test defines itself, such as a function of the C library: the call joins
// the list, without its arguments, and the status is the one that the script has for it.
std::int32_t written_down(const char* name, std::int32_t unscripted = 0);

void forget_calls();      // empties the list; what is scripted stays
void reset_neighbours();  // empties the list and the script

// ---- How an expectation is written -------------------------------------------------------------

std::string hex(const Bytes& bytes);  // "[01005e...]"
std::string mac(const Bytes& bytes);  // "01:00:5e:..."

namespace detail {
std::string argument(std::int64_t number);
inline std::string argument(const Bytes& bytes) { return hex(bytes); }
inline std::string argument(std::string text) { return text; }
inline std::string argument(const char* text) { return text; }
template <class Int>
requires std::is_integral_v<Int> || std::is_enum_v<Int> std::string argument(Int number) {
    return argument(static_cast<std::int64_t>(number));
}
std::string join(const std::vector<std::string>& parts);
}  // namespace detail

// call("igmp_vlan_add", 100) is the text of that call. Numbers and bytes are rendered as above,
// strings stand for themselves.
template <class... Args>
std::string call(std::string_view name, const Args&... args) {
    return std::string(name) + "(" + detail::join({detail::argument(args)...}) + ")";
}

// A record among the arguments of call().
template <class... Fields>
std::string fields(const Fields&... values) {
    return "{" + detail::join({detail::argument(values)...}) + "}";
}

// ---- What the neighbours answer ----------------------------------------------------------------

constexpr std::int32_t kFailure = 77;  // a status that no library function makes up by itself

// Every call of the function returns the status from now on.
void answer(std::string name, std::int32_t status);
// Only its nth call, from 1, does; calls are counted from the start of the list.
void fail_call(std::string name, unsigned nth, std::int32_t status = kFailure);

// Runs inside every call of the function, after it was written down and before it returns: to look
// at the library's records at that moment, or to call back as the core does.
void during(std::string name, std::function<void(const Call&)> action);
void during(std::string name, std::function<void()> action);

void set_onu_id(std::uint8_t onu_id);  // L2_multicast_get_onu_id; 255 without it
void set_time(std::uint32_t now);      // igmp_time_now; 0 without it
void set_port_status(Bytes status);    // igmp_if_gather_if_status; nothing without it
void set_group_dump(Bytes dump);       // igmp_gather_grp_info; nothing without it

// ---- Frames ------------------------------------------------------------------------------------

// Queues a frame for L2_multicast_read_msg, which takes the port and, if given, another length than
// the frame's own. While the queue is empty the driver has "nothing now". A read that is scripted
// to fail leaves the frame for the next one.
void deliver(Bytes frame, std::uint8_t port);
void deliver(Bytes frame, std::uint8_t port, std::uint32_t claimed_length);

// A frame in a buffer of its own, for functions that take a pointer. The buffer is as long as the
// frame, but at least the 48 bytes that reception reads whatever the length says, and zero behind
// the frame: an address sanitizer sees any read past that. A packet in it is written down up to the
// end of the frame even when it claims to be longer.
class FrameBuffer {
 public:
    explicit FrameBuffer(Bytes frame);
    ~FrameBuffer();
    FrameBuffer(const FrameBuffer&) = delete;
    FrameBuffer& operator=(const FrameBuffer&) = delete;

    std::uint8_t* data() { return storage_.data(); }
    std::uint32_t len() const { return len_; }
    Bytes bytes() const { return {storage_.begin(), storage_.begin() + len_}; }

 private:
    Bytes storage_;
    std::uint32_t len_;
};

// ---- Leaving an endless loop -------------------------------------------------------------------

// Runs the body until it returns (false) or leave_library is called from an action inside a
// neighbour (true): the library's frames are then dropped, on the thread that asked.
bool run_until_left(const std::function<void()>& body);
void leave_library();

// Runs the packet task over all queued frames. It is left when the driver has had nothing for
// idle_reads times and is asked once more.
void run_packet_task(unsigned idle_reads = 0);

}  // namespace mc_test
