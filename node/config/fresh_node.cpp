#include "node/config/fresh_node.h"

#include <fcntl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "node/argument_values.h"
#include "node/config/run_record.h"
#include "node/core/multicast_core.h"
#include "node/driver/driver.h"
#include "node/mld_mode.h"
#include "platform/protocol_core.h"
#include "tools/command_line.h"

namespace {

std::array<std::uint8_t, mc::kStatusSegmentSize> segment;

}  // namespace

// In place of a segment that belongs to the node of this machine.
extern "C" {
int shmget(key_t /*key*/, size_t /*size*/, int /*flags*/) { return 1; }
void* shmat(int /*id*/, const void* /*address*/, int /*flags*/) { return segment.data(); }
}

namespace config {
namespace {

// Takes everything and has nothing.
class NoSwitch : public driver::Driver {
 public:
    explicit NoSwitch(std::uint8_t onu_id) : onu_id_(onu_id) {}

    std::optional<driver::Delivery> read(std::span<std::uint8_t> /*buf*/) override { return {}; }
    bool send(std::int64_t /*port*/, std::span<const std::uint8_t> /*frame*/) override {
        return true;
    }
    bool set_entry(std::int64_t /*port*/, const driver::MacAddress& /*mac*/,
                   std::uint16_t /*vlan*/) override {
        return true;
    }
    bool remove_entry(std::int64_t /*port*/, const driver::MacAddress& /*mac*/,
                      std::uint16_t /*vlan*/) override {
        return true;
    }
    std::uint8_t onu_id() const override { return onu_id_; }
    void set_onu_id(std::uint8_t onu_id) override { onu_id_ = onu_id; }

 private:
    std::uint8_t onu_id_;
};

void start(const FreshNode& node) {
    driver::use(*new NoSwitch(node.onu_id));
    node::let_mld_follow_igmp_proxy();
    static_cast<void>(igmp_data_init());
    static_cast<void>(mld_data_init());
    static_cast<void>(adapt_init());
    if (node.own_ip) {
        static_cast<void>(mcore::replace_proxy_ip(mcore::proxy_ip(), *node.own_ip));
    }
}

void run(const std::string& line) {
    const std::vector<std::string> words = commands::split(line);
    if (words.size() == 2 && words[0] == "mld-mode") {
        node::set_mld_mode(node::parse_mld_mode(words[1]));
    } else {
        run_record(commands::encode(words));
    }
}

bool write_all(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

// The child. What the library prints is nobody's.
[[noreturn]] void answer(int descriptor, const FreshNode& node, const Lines& lines) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    static_cast<void>(dup2(nowhere, STDOUT_FILENO));
    bool is_told = false;
    try {
        start(node);
        for (const std::string& line : lines) run(line);
        is_told = write_all(descriptor, answer_text(take_snapshot({})));
    } catch (const std::exception& error) {
        static_cast<void>(write_all(descriptor, error.what()));
    }
    _exit(is_told ? 0 : 1);
}

std::string read_all(int descriptor) {
    std::string text;
    std::array<char, 65536> piece{};
    for (ssize_t got = 0; (got = read(descriptor, piece.data(), piece.size())) > 0;) {
        text.append(piece.data(), static_cast<std::size_t>(got));
    }
    return text;
}

[[noreturn]] void give_up(const std::string& what) {
    throw std::runtime_error("a fresh node: " + what);
}

}  // namespace

Snapshot fresh_node_after(const FreshNode& node, const Lines& lines) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) give_up(std::strerror(errno));
    const pid_t child = fork();
    if (child < 0) give_up(std::strerror(errno));
    if (child == 0) answer(ends[1], node, lines);
    close(ends[1]);
    const std::string text = read_all(ends[0]);
    close(ends[0]);
    int status = 0;
    static_cast<void>(waitpid(child, &status, 0));
    if (status != 0) give_up(text.empty() ? "it has not answered" : text);
    return read_answer(text);
}

FreshNode started_as(const Snapshot& snapshot) {
    const std::string onu_id = snapshot.option("onu-id");
    FreshNode node;
    if (!onu_id.empty()) node.onu_id = node::parse_onu_id(onu_id);
    node.own_ip = snapshot.own_ip;
    return node;
}

}  // namespace config
