#include "node/core/hosts.h"

#include <algorithm>
#include <utility>

#include "node/core/bounds.h"
#include "node/core/upstream.h"

namespace devcore {
namespace {

using NamedHost = Hosts::value_type;  // with its address

bool holds(const Host& host) { return host.exclude || !host.sources.empty(); }

// ---- Books --------------------------------------------------------------------------------------

void count_votes(const Books& books, const Address& source, bool exclude, std::int32_t more) {
    const Votes votes = exclude ? Votes{0, more} : Votes{more, 0};
    add_votes(books.group.tally, source, votes);
    if (books.upstream != nullptr) add_votes(*books.upstream, source, votes);
}

void count_excluding(const Books& books, std::int32_t more) {
    books.group.tally.excluding += more;
    if (books.upstream != nullptr) books.upstream->tally.excluding += more;
}

void count_addresses(const Books& books, std::uint32_t more) {
    books.group.addresses += more;
    books.port.addresses += more;
}

void uncount_addresses(const Books& books, std::size_t fewer) {
    books.group.addresses -= static_cast<std::uint32_t>(fewer);
    books.port.addresses -= static_cast<std::uint32_t>(fewer);
}

void set_version(const Books& books, Host& host, std::uint8_t version) {
    auto& of_version = books.group.tally.of_version;
    if (host.version != 0) --of_version[host.version];
    host.version = version;
    if (version != 0) ++of_version[version];
}

// ---- Ageing order -------------------------------------------------------------------------------

Pieces::iterator new_piece(Group& group, const Address& host, const Address* source) {
    return group.pieces.insert(group.pieces.end(), {core().now_us, &host, source});
}

void hear_again(Group& group, Pieces::iterator piece) {
    piece->heard_us = core().now_us;
    group.pieces.splice(group.pieces.end(), group.pieces, piece);
}

// ---- One host -----------------------------------------------------------------------------------

void add_source(const Books& books, NamedHost& named, const Address& source) {
    auto& [address, host] = named;
    const auto added = host.sources.try_emplace(source).first;
    if (!host.exclude) added->second = new_piece(books.group, address, &added->first);
    count_votes(books, source, host.exclude, 1);
    count_addresses(books, 1);
}

void remove_source(const Books& books, Host& host, const Address& source) {
    const auto found = host.sources.find(source);
    if (found == host.sources.end()) return;
    if (!host.exclude) books.group.pieces.erase(found->second);
    count_votes(books, source, host.exclude, -1);
    uncount_addresses(books, 1);
    host.sources.erase(found);
}

// The first one of a group that has none yet always fits.
bool fits_group(const Tally& tally, const Address& source) {
    return tally.sources.size() < bounds().sources_per_group || tally.sources.contains(source);
}

std::optional<Drop> refuse_source(const Books& books, const Host& host, const Address& source) {
    const Port& port = books.port;
    if (host.sources.size() >= bounds().sources_per_host) return Drop::kSourceBound;
    if (!fits_group(books.group.tally, source)) return Drop::kGroupSourceBound;
    if (port.addresses >= bounds().addresses_per_port) return Drop::kAddressBound;
    return std::nullopt;
}

bool any_fits_group(const Tally& tally, const Record& record) {
    return std::ranges::any_of(record.sources,
                               [&](const Address& source) { return fits_group(tally, source); });
}

std::optional<Drop> name_sources(const Books& books, NamedHost& named, const Record& record) {
    Host& host = named.second;
    std::optional<Drop> refused;
    for (const Address& source : record.sources) {
        const auto known = host.sources.find(source);
        if (known != host.sources.end()) {
            if (!host.exclude) hear_again(books.group, known->second);
        } else if (const auto full = refuse_source(books, host, source)) {
            refused = full;
        } else {
            add_source(books, named, source);
        }
    }
    return refused;
}

void forget_sources(const Books& books, Host& host, const Record& record) {
    for (const Address& source : record.sources) remove_source(books, host, source);
}

void forget_all_sources(const Books& books, Host& host) {
    for (const auto& [source, piece] : host.sources) {
        if (!host.exclude) books.group.pieces.erase(piece);
        count_votes(books, source, host.exclude, -1);
    }
    uncount_addresses(books, host.sources.size());
    host.sources.clear();
}

// Without sources, so that none has to change sides.
void begin_exclude(const Books& books, NamedHost& named) {
    auto& [address, host] = named;
    forget_all_sources(books, host);
    if (host.exclude) {
        hear_again(books.group, host.piece);
        return;
    }
    host.exclude = true;
    host.piece = new_piece(books.group, address, nullptr);
    count_excluding(books, 1);
}

void begin_include(const Books& books, Host& host) {
    forget_all_sources(books, host);
    if (!host.exclude) return;
    host.exclude = false;
    books.group.pieces.erase(host.piece);
    count_excluding(books, -1);
}

// IS_IN adds only, because it may answer a query that named some of the sources. What a message of
// an older version has put into EXCLUDE() is no such answer: IS_IN then says all there is.
bool says_all(const Host& host, const Record& record, std::uint8_t version) {
    return record.type == RecordType::kIsInclude && host.version < version;
}

bool excludes(const Record& record) {
    return record.type == RecordType::kIsExclude || record.type == RecordType::kToExclude;
}

// Whether the record takes the place of all sources, or adds to them.
bool replaces(const Host& host, const Record& record, std::uint8_t version) {
    return record.type == RecordType::kToInclude || says_all(host, record, version);
}

// The state of a host and what a record makes of it. INCLUDE lists the sources wanted, EXCLUDE
// those not wanted.
//
//   state       IS_EX, TO_EX (A)  TO_IN (A)   IS_IN, ALLOW (A)  BLOCK (A)
//   INCLUDE(B)  EXCLUDE(A)        INCLUDE(A)  INCLUDE(B+A)      INCLUDE(B-A)
//   EXCLUDE(B)  EXCLUDE(A)        INCLUDE(A)  EXCLUDE(B-A)      EXCLUDE(B+A)
std::optional<Drop> apply(const Books& books, NamedHost& named, const Record& record,
                          std::uint8_t version) {
    Host& host = named.second;
    if (says_all(host, record, version)) begin_include(books, host);
    set_version(books, host, version);
    bool is_named = true;
    switch (record.type) {
        case RecordType::kIsExclude:
        case RecordType::kToExclude:
            begin_exclude(books, named);
            break;
        case RecordType::kToInclude:
            begin_include(books, host);
            break;
        case RecordType::kIsInclude:
        case RecordType::kAllowSources:
            is_named = !host.exclude;
            break;
        case RecordType::kBlockSources:
            is_named = host.exclude;
            break;
    }
    if (is_named) return name_sources(books, named, record);
    forget_sources(books, host, record);
    return std::nullopt;
}

// Looked at only if the record is as long as what is stored.
bool blocks_all(const Host& host, const Record& record) {
    if (host.exclude || host.sources.size() > record.sources.size()) return false;
    std::vector<Address> blocked = record.sources;
    std::ranges::sort(blocked);
    return std::ranges::all_of(host.sources, [&blocked](const auto& source) {
        return std::ranges::binary_search(blocked, source.first);
    });
}

bool leaves(const Host& host, const Record& record, std::uint8_t version) {
    switch (record.type) {
        case RecordType::kToInclude:
            return record.sources.empty();
        case RecordType::kIsInclude:
            return record.sources.empty() && says_all(host, record, version);
        case RecordType::kBlockSources:
            return blocks_all(host, record);
        default:
            return false;
    }
}

// ---- All hosts ----------------------------------------------------------------------------------

const Host* find_host(const Group& group, const Address& address) {
    const auto found = group.hosts.find(address);
    return found == group.hosts.end() ? nullptr : &found->second;
}

void remove_host(const Books& books, Hosts::iterator found) {
    Host& host = found->second;
    begin_include(books, host);
    set_version(books, host, 0);
    uncount_addresses(books, 1);
    books.group.hosts.erase(found);
}

// It goes on being counted, but does not age: the leave timer runs.
void keep_last_host(Group& group) {
    group.last_left = group.hosts.extract(group.hosts.begin());
    group.pieces.clear();
}

void forget_last_host(const Books& books) {
    Group& group = books.group;
    if (group.last_left.empty()) return;
    Host& host = group.last_left.mapped();
    for (const auto& [source, piece] : host.sources) {
        count_votes(books, source, host.exclude, -1);
    }
    if (host.exclude) count_excluding(books, -1);
    set_version(books, host, 0);
    uncount_addresses(books, group.addresses);
    group.last_left = {};
}

Hosts::iterator add_host(const Books& books, const Address& address) {
    forget_last_host(books);
    count_addresses(books, 1);
    return books.group.hosts.try_emplace(address).first;
}

}  // namespace

Books books_of(const GroupKey& key, Group& group) {
    return {group, *find_port(key.port), find_upstream(upstream_key(key))};
}

bool joins(const Record& record) {
    switch (record.type) {
        case RecordType::kIsExclude:
        case RecordType::kToExclude:
            return true;
        case RecordType::kIsInclude:
        case RecordType::kToInclude:
        case RecordType::kAllowSources:
            return !record.sources.empty();
        case RecordType::kBlockSources:
            return false;
    }
    return false;
}

std::optional<Drop> refuse_for_room(const Port& port, const Group* group, const Reporter& from,
                                    const Record& record) {
    const Host* const host = group == nullptr ? nullptr : find_host(*group, from.host);
    const bool is_new = host == nullptr;
    const bool is_first = group == nullptr || group->hosts.empty();
    if (!is_first && is_new && group->hosts.size() >= bounds().hosts_per_group) {
        return Drop::kHostBound;
    }
    // A host that keeps what it has holds the group anyhow.
    const bool needs_source =
        !excludes(record) && (is_new || replaces(*host, record, from.version));
    if (needs_source && !is_first && !any_fits_group(group->tally, record)) {
        return Drop::kGroupSourceBound;
    }
    const std::size_t needed = (is_new ? 1 : 0) + (needs_source ? 1 : 0);
    std::size_t freed = 0;
    if (group != nullptr && is_first) freed = group->addresses;  // of the last one that left
    if (needs_source && !is_new) freed = host->sources.size();
    const bool is_full = port.addresses + needed > bounds().addresses_per_port + freed;
    if (needed > 0 && is_full) return Drop::kAddressBound;
    return std::nullopt;
}

std::optional<Drop> apply_record(const Books& books, const Reporter& from, const Record& record) {
    Hosts& hosts = books.group.hosts;
    auto host = hosts.find(from.host);
    if (host == hosts.end()) {
        host = add_host(books, from.host);
    } else if (leaves(host->second, record, from.version)) {
        if (hosts.size() > 1) {
            remove_host(books, host);
        } else {
            keep_last_host(books.group);
        }
        return std::nullopt;
    }
    return apply(books, *host, record, from.version);
}

void end_oldest_piece(const Books& books) {
    const Piece oldest = books.group.pieces.front();
    const auto host = books.group.hosts.find(*oldest.host);
    if (oldest.source != nullptr) {
        const Address source = *oldest.source;  // goes with what it points to
        remove_source(books, host->second, source);
        if (holds(host->second)) return;
    }
    remove_host(books, host);
}

void close_books(const Books& books) {
    books.port.addresses -= books.group.addresses;
    if (books.upstream != nullptr) add_tally(*books.upstream, books.group.tally, -1);
}

}  // namespace devcore
