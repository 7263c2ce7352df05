// The forwarding entries that the library has asked for, and what has become of each in the
// bridge's multicast database. The library asks by port, VLAN and group; an entry of the database
// is for a port and a group and holds for every VLAN, so it stands for as long as one VLAN needs
// it.
//
// An entry has a source filter, which is what its VLANs want together. The kernel forwards a source
// that any port lists by an entry for (group, source), to which it adds the ports that want all
// others. When a port gives such a source up while another one lists it still, the kernel takes the
// ports that it has added out again: they are put back.
//
// What cannot stand in the database at the moment, because the bridge or the port is not there, is
// remembered and put back later.
#pragma once

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "node/driver/ports.h"
#include "node/live/multicast_database.h"
#include "node/live/say.h"

namespace live {

struct EntryKey {
    std::size_t slot = 0;  // of the port
    Group group;

    auto operator<=>(const EntryKey&) const = default;
};

enum class EntryState : std::uint8_t {
    kAbsent,
    kOurs,     // to be taken back
    kForeign,  // somebody had made it before, for good: left alone
};

struct Entry {
    std::map<std::uint16_t, mcore::Filter> vlans;  // that need it; never empty
    EntryState state = EntryState::kAbsent;
    mcore::Filter filter;  // in the database, while the entry is ours
};

using Entries = std::map<EntryKey, Entry>;

// What the VLANs want together.
[[nodiscard]] mcore::Filter wanted(const Entry& entry);

class EntryTable {
 public:
    EntryTable(MulticastDatabase& database, Say say);

    // The bridge whose database it is, 0 for none now, and how many groups it has room for.
    void use_bridge(int index, const std::string& name, std::uint32_t room);

    // The interface index of a port that is in the bridge, else 0; called is its name in lines.
    void use_port(std::size_t slot, int index, const std::string& called);

    // True when the database has the entry, or has it no more.
    [[nodiscard]] bool set(std::size_t slot, const Group& group, std::uint16_t vlan,
                           const mcore::Filter& filter);
    [[nodiscard]] bool remove(std::size_t slot, const Group& group, std::uint16_t vlan);

    // The VLAN of an entry wants something else now.
    void change(std::size_t slot, const Group& group, std::uint16_t vlan,
                const mcore::Filter& filter);

    // Whether an entry that is gone from the database is one of those that should stand there, or
    // belongs to one.
    [[nodiscard]] bool is_needed(const DatabaseEntry& gone) const;

    // Compares with the database and puts back what is missing there; how many entries that were.
    std::size_t put_back();

    // Takes out of the database what is ours; leftovers: what an earlier run has left in it, too.
    void take_back(bool leftovers);

    [[nodiscard]] const Entries& entries() const { return entries_; }

    // True once after the kernel has switched snooping off because the database overflowed.
    [[nodiscard]] bool take_overflow();

 private:
    struct Port {
        int index = 0;
        std::string called;
    };

    // What takes room in the database: a group, or with a source (not all 0) a source of a group.
    using Taken = std::pair<Group, mcore::Address>;

    [[nodiscard]] int program(const EntryKey& key, Entry& entry);
    [[nodiscard]] int add(int port, const Group& group, const mcore::Filter& filter);
    void refit(const EntryKey& key, Entry& entry);
    void reinstate_others(const Group& group, const std::vector<mcore::Address>& given_up);
    void leave_out(const EntryKey& key, std::uint16_t vlan, int error);
    [[nodiscard]] mcore::Filter fitting(const Group& group, const Entry& entry);
    [[nodiscard]] bool is_for_good(int port, const Group& group);
    [[nodiscard]] bool has_room_for(const Group& group, const mcore::Filter& filter);
    [[nodiscard]] std::size_t room_needed(const Group& group, const mcore::Filter& filter) const;
    void take_room(const Group& group, const mcore::Filter& filter);
    void give_room_back(const Group& group, const mcore::Filter& filter);
    void count_others();
    void say_no_sources();
    void say_refused(const EntryKey& key, int error);
    [[nodiscard]] std::vector<EntryKey> note_absences();
    [[nodiscard]] bool put_sources_back(const EntryKey& key, Entry& entry);

    MulticastDatabase& database_;
    Say say_;
    int bridge_ = 0;
    std::string bridge_name_;
    std::uint32_t room_ = 0;
    driver::PerPort<Port> ports_;
    Entries entries_;
    std::map<Taken, std::size_t> taken_;  // by ours in the database, with the number of ports
    std::size_t others_ = 0;              // what others take, when it was last counted
    std::chrono::steady_clock::time_point counted_;
    bool said_no_sources_ = false;
    bool said_refused_ = false;  // until the database takes an entry again
    bool overflowed_ = false;
};

}  // namespace live
