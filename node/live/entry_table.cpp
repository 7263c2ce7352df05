#include "node/live/entry_table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace live {
namespace {

// Counting the groups of others reads the whole database.
constexpr std::chrono::seconds kCountAtMostEvery{1};

std::string text(const Group& group) { return mcore::text(group.family, group.address); }

}  // namespace

EntryTable::EntryTable(MulticastDatabase& database, Say say)
    : database_(database), say_(std::move(say)) {}

void EntryTable::use_bridge(int index, const std::string& name, std::uint32_t room) {
    bridge_ = index;
    bridge_name_ = name;
    room_ = room;
}

void EntryTable::use_port(std::size_t slot, int index, const std::string& called) {
    ports_[slot] = {index, called};
}

// ---- Asked by the library -----------------------------------------------------------------------

bool EntryTable::set(std::size_t slot, const Group& group, std::uint16_t vlan) {
    const EntryKey key{slot, group};
    const auto found = entries_.find(key);
    EntryState state = found == entries_.end() ? EntryState::kAbsent : found->second.state;
    if (state == EntryState::kAbsent) {
        // Before anything is remembered: a stream waits for it.
        if (const int error = program(key, state); error != 0) {
            leave_out(key, vlan, error);
            return false;
        }
        said_refused_ = false;
    }
    Entry& entry = entries_[key];
    entry.state = state;
    entry.vlans.insert(vlan);
    return true;
}

void EntryTable::leave_out(const EntryKey& key, std::uint16_t vlan, int error) {
    say_refused(key, error);
    const auto found = entries_.find(key);
    if (found == entries_.end()) return;
    found->second.vlans.erase(vlan);
    if (found->second.vlans.empty()) entries_.erase(found);
}

bool EntryTable::remove(std::size_t slot, const Group& group, std::uint16_t vlan) {
    const auto found = entries_.find({slot, group});
    if (found == entries_.end()) return true;
    Entry& entry = found->second;
    entry.vlans.erase(vlan);
    if (!entry.vlans.empty()) return true;
    const bool is_ours = entry.state == EntryState::kOurs;
    entries_.erase(found);
    if (!is_ours) return true;
    if (--groups_[group] == 0) groups_.erase(group);
    const int error = database_.remove(bridge_, ports_[slot].index, group);
    // With its port or its bridge an entry goes too.
    return error == 0 || error == ENOENT || error == ENODEV || error == EINVAL;
}

void EntryTable::say_refused(const EntryKey& key, int error) {
    if (said_refused_) return;
    said_refused_ = true;
    const std::string what = text(key.group) + " on " + ports_[key.slot].called;
    if (error == ENOSPC || error == E2BIG) {
        say_("the multicast database of " + bridge_name_ + " is full at " + std::to_string(room_) +
             " groups (mcast_hash_max); first left out: " + what);
    } else {
        say_("the multicast database of " + bridge_name_ + " does not take " + what + ": " +
             std::strerror(error));
    }
}

// ---- The database -------------------------------------------------------------------------------

// 0, or why not. An entry that the bridge has learnt is replaced; one that somebody has made stays.
int EntryTable::program(const EntryKey& key, EntryState& state) {
    const int port = ports_[key.slot].index;
    if (bridge_ == 0 || port == 0) return ENODEV;
    if (!has_room_for(key.group)) return ENOSPC;
    int error = database_.add(bridge_, port, key.group);
    if (error == EEXIST) {
        if (is_for_good(port, key.group)) {
            state = EntryState::kForeign;
            return 0;
        }
        static_cast<void>(database_.remove(bridge_, port, key.group));
        error = database_.add(bridge_, port, key.group);
    }
    if (error == E2BIG) overflowed_ = true;
    if (error != 0) return error;
    state = EntryState::kOurs;
    ++groups_[key.group];
    return 0;
}

bool EntryTable::is_for_good(int port, const Group& group) {
    const auto entries = database_.entries(bridge_);
    return std::ranges::any_of(entries, [&](const DatabaseEntry& one) {
        return one.port == port && one.group == group && one.permanent && !one.ours;
    });
}

// At its limit the kernel does not refuse one group, it gives up snooping: that must not happen.
bool EntryTable::has_room_for(const Group& group) {
    if (groups_.size() + others_ < room_ || groups_.contains(group)) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - counted_ < kCountAtMostEvery) return false;
    counted_ = now;
    count_others();
    return groups_.size() + others_ < room_;
}

void EntryTable::count_others() {
    std::set<Group> others;
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        if (!groups_.contains(one.group)) others.insert(one.group);
    }
    others_ = others.size();
}

void EntryTable::note_absences() {
    std::set<std::pair<int, Group>> there;
    for (const DatabaseEntry& one : database_.entries(bridge_)) there.insert({one.port, one.group});
    groups_.clear();
    for (auto& [key, entry] : entries_) {
        if (!there.contains({ports_[key.slot].index, key.group})) {
            entry.state = EntryState::kAbsent;
        } else if (entry.state == EntryState::kOurs) {
            ++groups_[key.group];
        }
    }
}

std::size_t EntryTable::put_back() {
    note_absences();
    count_others();
    std::size_t count = 0;
    for (auto& [key, entry] : entries_) {
        if (entry.state != EntryState::kAbsent || ports_[key.slot].index == 0) continue;
        if (program(key, entry.state) == 0) ++count;
    }
    return count;
}

void EntryTable::take_back(bool leftovers) {
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        if (!leftovers || !one.ours) continue;
        static_cast<void>(database_.remove(bridge_, one.port, one.group));
    }
    for (auto& [key, entry] : entries_) {
        if (entry.state != EntryState::kOurs) continue;
        entry.state = EntryState::kAbsent;
        static_cast<void>(database_.remove(bridge_, ports_[key.slot].index, key.group));
    }
    groups_.clear();
}

bool EntryTable::take_overflow() { return std::exchange(overflowed_, false); }

}  // namespace live
