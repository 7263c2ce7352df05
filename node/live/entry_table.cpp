#include "node/live/entry_table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <tuple>
#include <utility>

#include "node/live/source_filter.h"

namespace live {
namespace {

// Counting the groups of others reads the whole database.
constexpr std::chrono::seconds kCountAtMostEvery{1};

using mcore::Filter;

const Filter kAll{true, {}};

bool lists(const Entry& entry, const mcore::Address& source) {
    return entry.state == EntryState::kOurs &&
           std::ranges::binary_search(entry.filter.sources, source);
}

std::string text(const Group& group) { return mcore::text(group.family, group.address); }

}  // namespace

Filter wanted(const Entry& entry) {
    auto vlan = entry.vlans.begin();
    Filter all = vlan->second;
    while (++vlan != entry.vlans.end()) all = merge(all, vlan->second);
    return all;
}

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

bool EntryTable::set(std::size_t slot, const Group& group, std::uint16_t vlan,
                     const Filter& filter) {
    const EntryKey key{slot, group};
    Entry& entry = entries_[key];
    entry.vlans[vlan] = filter;
    if (entry.state == EntryState::kOurs) refit(key, entry);
    if (entry.state != EntryState::kAbsent) return true;
    if (const int error = program(key, entry); error != 0) {
        leave_out(key, vlan, error);
        return false;
    }
    said_refused_ = false;
    return true;
}

void EntryTable::change(std::size_t slot, const Group& group, std::uint16_t vlan,
                        const Filter& filter) {
    const auto found = entries_.find({slot, group});
    if (found == entries_.end()) return;
    Entry& entry = found->second;
    const auto wanted = entry.vlans.find(vlan);
    if (wanted == entry.vlans.end()) return;
    wanted->second = filter;
    if (entry.state == EntryState::kOurs) refit(found->first, entry);
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
    if (!entry.vlans.empty()) {
        if (entry.state == EntryState::kOurs) refit(found->first, entry);
        return true;
    }
    const Entry last = std::move(entry);
    entries_.erase(found);
    if (last.state != EntryState::kOurs) return true;
    give_room_back(group, last.filter);
    const int error = database_.remove(bridge_, ports_[slot].index, group);
    reinstate_others(group, last.filter.sources);
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

void EntryTable::say_no_sources() {
    if (std::exchange(said_no_sources_, true)) return;
    say_("the kernel does not forward by source: a port gets all sources of its groups");
}

// ---- The database -------------------------------------------------------------------------------

// 0, or why not. An entry that the bridge has learnt is replaced; one that somebody has made stays.
int EntryTable::program(const EntryKey& key, Entry& entry) {
    const int port = ports_[key.slot].index;
    if (bridge_ == 0 || port == 0) return ENODEV;
    Filter filter = fitting(key.group, entry);
    if (!has_room_for(key.group, filter)) return ENOSPC;
    int error = add(port, key.group, filter);
    if (error == EEXIST) {
        if (is_for_good(port, key.group)) {
            entry.state = EntryState::kForeign;
            return 0;
        }
        static_cast<void>(database_.remove(bridge_, port, key.group));
        error = add(port, key.group, filter);
        // Somebody has made an entry for one of the sources.
        if (error == EEXIST) {
            filter = kAll;
            error = add(port, key.group, filter);
        }
    }
    if (error != 0) return error;
    entry.state = EntryState::kOurs;
    if (!database_.takes_sources()) filter = kAll;
    entry.filter = std::move(filter);
    take_room(key.group, entry.filter);
    return 0;
}

int EntryTable::add(int port, const Group& group, const Filter& filter) {
    const int error = database_.add(bridge_, port, group, filter);
    if (error == E2BIG) overflowed_ = true;
    if (!database_.takes_sources()) say_no_sources();
    return error;
}

// Makes the filter in the database what is wanted, and leaves it if that fails: the next look at
// the bridge finds out why.
void EntryTable::refit(const EntryKey& key, Entry& entry) {
    const int port = ports_[key.slot].index;
    Filter filter = fitting(key.group, entry);
    if (filter == entry.filter || bridge_ == 0 || port == 0) return;
    const auto replace = [&](const Filter& by) {
        return database_.replace(bridge_, port, key.group, by);
    };
    // The kernel adds sources before it takes others away, and must have room for both.
    const std::size_t more = not_listed(filter.sources, entry.filter).size();
    if (entry.filter.sources.size() + more > kMostSources) static_cast<void>(replace(kAll));
    const int error = replace(filter);
    if (error == E2BIG) overflowed_ = true;
    if (error != 0) {
        filter = kAll;
        if (replace(filter) != 0) return;
    }
    const std::vector<mcore::Address> given_up = not_listed(entry.filter.sources, filter);
    give_room_back(key.group, entry.filter);
    take_room(key.group, filter);
    entry.filter = std::move(filter);
    reinstate_others(key.group, given_up);
}

// The kernel leaves permanent entries out when it looks for who still needs the ports that it has
// added to a source's entry (see the top of the header).
void EntryTable::reinstate_others(const Group& group, const std::vector<mcore::Address>& given_up) {
    const bool is_listed = std::ranges::any_of(given_up, [&](const mcore::Address& source) {
        return taken_.contains({group, source});
    });
    if (!is_listed) return;
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const auto found = entries_.find({slot, group});
        if (found == entries_.end()) continue;
        const Entry& entry = found->second;
        if (entry.state != EntryState::kOurs || !entry.filter.exclude) continue;
        static_cast<void>(database_.replace(bridge_, ports_[slot].index, group, entry.filter));
    }
    // Those that somebody has made have lost the source too.
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        const bool is_for_all = one.source == mcore::Address{} && !one.lists_sources;
        if (one.group != group || one.ours || !one.permanent || !is_for_all) continue;
        static_cast<void>(database_.renew(bridge_, one));
    }
}

// What is wanted, as far as the kernel and the room in the database allow.
Filter EntryTable::fitting(const Group& group, const Entry& entry) {
    if (!database_.takes_sources()) return kAll;
    Filter filter = acceptable(group.family, wanted(entry));
    return has_room_for(group, filter) ? filter : kAll;
}

bool EntryTable::is_for_good(int port, const Group& group) {
    const auto entries = database_.entries(bridge_);
    return std::ranges::any_of(entries, [&](const DatabaseEntry& one) {
        return one.port == port && one.group == group && one.source == mcore::Address{} &&
               one.permanent && !one.ours;
    });
}

// At its limit the kernel does not refuse one group, it gives up snooping: that must not happen.
bool EntryTable::has_room_for(const Group& group, const Filter& filter) {
    const std::size_t needed = room_needed(group, filter);
    const auto fits = [&] { return needed == 0 || taken_.size() + others_ + needed <= room_; };
    if (fits()) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - counted_ < kCountAtMostEvery) return false;
    counted_ = now;
    count_others();
    return fits();
}

std::size_t EntryTable::room_needed(const Group& group, const Filter& filter) const {
    const auto sources = std::ranges::count_if(filter.sources, [&](const mcore::Address& source) {
        return !taken_.contains({group, source});
    });
    return static_cast<std::size_t>(sources) + (taken_.contains({group, {}}) ? 0 : 1);
}

void EntryTable::take_room(const Group& group, const Filter& filter) {
    ++taken_[{group, {}}];
    for (const mcore::Address& source : filter.sources) ++taken_[{group, source}];
}

void EntryTable::give_room_back(const Group& group, const Filter& filter) {
    const auto give_back = [&](const mcore::Address& source) {
        const auto found = taken_.find({group, source});
        if (--found->second == 0) taken_.erase(found);
    };
    give_back({});
    for (const mcore::Address& source : filter.sources) give_back(source);
}

void EntryTable::count_others() {
    std::set<Taken> others;
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        if (!taken_.contains({one.group, one.source})) others.insert({one.group, one.source});
    }
    others_ = others.size();
}

bool EntryTable::is_needed(const DatabaseEntry& gone) const {
    return std::ranges::any_of(entries_, [&](const auto& one) {
        const auto& [key, entry] = one;
        if (entry.state == EntryState::kAbsent || key.group != gone.group) return false;
        if (ports_[key.slot].index != gone.port) return false;
        return gone.source == mcore::Address{} || lists(entry, gone.source);
    });
}

// Those whose sources are not all there are what comes back.
std::vector<EntryKey> EntryTable::note_absences() {
    using Place = std::tuple<int, Group, mcore::Address>;
    std::set<Place> there;
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        there.insert({one.port, one.group, one.source});
    }
    std::vector<EntryKey> incomplete;
    taken_.clear();
    for (auto& [key, entry] : entries_) {
        const auto is_there = [&, port = ports_[key.slot].index,
                               group = key.group](const mcore::Address& source) {
            return there.contains({port, group, source});
        };
        if (!is_there({})) {
            entry.state = EntryState::kAbsent;
        } else if (entry.state == EntryState::kOurs) {
            take_room(key.group, entry.filter);
            if (!std::ranges::all_of(entry.filter.sources, is_there)) incomplete.push_back(key);
        }
    }
    return incomplete;
}

// Told the same filter again the kernel does nothing: it keeps the list, and only the entries that
// it had made of it are gone.
bool EntryTable::put_sources_back(const EntryKey& key, Entry& entry) {
    const int port = ports_[key.slot].index;
    if (database_.replace(bridge_, port, key.group, kAll) != 0) return false;
    give_room_back(key.group, entry.filter);
    take_room(key.group, kAll);
    entry.filter = kAll;
    refit(key, entry);
    return true;
}

std::size_t EntryTable::put_back() {
    const std::vector<EntryKey> incomplete = note_absences();
    count_others();
    std::size_t count = 0;
    for (auto& [key, entry] : entries_) {
        if (entry.state != EntryState::kAbsent || ports_[key.slot].index == 0) continue;
        if (program(key, entry) == 0) ++count;
    }
    for (const EntryKey& key : incomplete) {
        if (put_sources_back(key, entries_.at(key))) ++count;
    }
    return count;
}

void EntryTable::take_back(bool leftovers) {
    for (const DatabaseEntry& one : database_.entries(bridge_)) {
        // Those for a source go with the group's.
        if (!leftovers || !one.ours || one.source != mcore::Address{}) continue;
        static_cast<void>(database_.remove(bridge_, one.port, one.group));
    }
    for (auto& [key, entry] : entries_) {
        if (entry.state != EntryState::kOurs) continue;
        entry.state = EntryState::kAbsent;
        static_cast<void>(database_.remove(bridge_, ports_[key.slot].index, key.group));
    }
    taken_.clear();
}

bool EntryTable::take_overflow() { return std::exchange(overflowed_, false); }

}  // namespace live
