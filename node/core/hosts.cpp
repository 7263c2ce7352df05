#include "node/core/hosts.h"

#include <algorithm>
#include <utility>

#include "node/core/bounds.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

using NamedHost = Hosts::value_type;  // with its address

bool holds(const Host& host) { return host.exclude || !host.sources.empty(); }

// ---- Books --------------------------------------------------------------------------------------

void count_votes(const Books& books, const Address& source, bool exclude, std::int32_t more) {
    const Votes votes = exclude ? Votes{0, more} : Votes{more, 0};
    add_votes(books.group.tally, source, votes);
    books.group.wants_changed = true;
    if (books.upstream != nullptr) add_votes(*books.upstream, source, votes);
}

void count_excluding(const Books& books, std::int32_t more) {
    books.group.tally.excluding += more;
    books.group.wants_changed = true;
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

bool is_named_besides(const Tally& tally, const Host& host, const Address& source) {
    const Votes votes = votes_for(tally, source);
    return votes.including + votes.excluding > (host.sources.contains(source) ? 1 : 0);
}

// The same once what the host itself names is gone. More than the bound may be left, which was
// higher before.
bool any_fits_in_place(const Tally& tally, const Host& host, const Record& record) {
    const std::size_t most = bounds().sources_per_group;
    const auto alone = std::ranges::count_if(host.sources, [&](const auto& source) {
        return !is_named_besides(tally, host, source.first);
    });
    const bool has_room_then = tally.sources.size() - static_cast<std::size_t>(alone) < most;
    return std::ranges::any_of(record.sources, [&](const Address& source) {
        return tally.sources.size() < most || is_named_besides(tally, host, source) ||
               (has_room_then && host.sources.contains(source));
    });
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

// ---- What is given up ---------------------------------------------------------------------------

std::vector<Address> sorted(const std::vector<Address>& sources) {
    std::vector<Address> all = sources;
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::vector<Address> sources_of(const Host& host) {
    std::vector<Address> all;
    for (const auto& [source, piece] : host.sources) all.push_back(source);
    return all;
}

// The sources that a host wants no more, if it wanted them: only a change of state gives something
// up (RFC 3376, 6.4.2).
std::vector<Address> given_up(const Host& host, const Record& record) {
    std::vector<Address> named = sorted(record.sources);
    const auto is_listed = [&host](const Address& each) { return host.sources.contains(each); };
    switch (record.type) {
        case RecordType::kBlockSources:
        case RecordType::kToExclude:
            std::erase_if(named,
                          [&](const Address& each) { return is_listed(each) == host.exclude; });
            return named;
        case RecordType::kToInclude: {
            if (host.exclude) return {};
            std::vector<Address> dropped = sources_of(host);
            std::erase_if(dropped, [&named](const Address& each) {
                return std::ranges::binary_search(named, each);
            });
            return dropped;
        }
        default:
            return {};
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

Hosts::iterator add_host(const Books& books, const Address& address) {
    count_addresses(books, 1);
    return books.group.hosts.try_emplace(address).first;
}

void end_piece(const Books& books, const Piece& piece) {
    const auto host = books.group.hosts.find(*piece.host);
    if (piece.source != nullptr) {
        const Address source = *piece.source;  // goes with what it points to
        remove_source(books, host->second, source);
        if (holds(host->second)) return;
    }
    remove_host(books, host);
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

bool excludes(const Record& record) {
    return record.type == RecordType::kIsExclude || record.type == RecordType::kToExclude;
}

std::optional<Drop> refuse_for_room(const Port& port, const Group* group, const Reporter& from,
                                    const Record& record) {
    const Host* const host = group == nullptr ? nullptr : find_host(*group, from.host);
    const bool is_new = host == nullptr;
    if (group != nullptr && is_new && group->hosts.size() >= bounds().hosts_per_group) {
        return Drop::kHostBound;
    }
    // A host that keeps what it has holds the group anyhow.
    const bool needs_source =
        !excludes(record) && (is_new || replaces(*host, record, from.version));
    if (needs_source && group != nullptr) {
        const bool fits = is_new ? any_fits_group(group->tally, record)
                                 : any_fits_in_place(group->tally, *host, record);
        if (!fits) return Drop::kGroupSourceBound;
    }
    const std::size_t needed = (is_new ? 1 : 0) + (needs_source ? 1 : 0);
    const std::size_t freed = needs_source && !is_new ? host->sources.size() : 0;
    const bool is_full = port.addresses + needed > bounds().addresses_per_port + freed;
    if (needed > 0 && is_full) return Drop::kAddressBound;
    return std::nullopt;
}

bool is_nearly_full(const Books& books) {
    constexpr std::uint32_t kMostNeeded = 2;  // a host and a source
    return books.port.addresses + kMostNeeded > bounds().addresses_per_port ||
           books.group.tally.sources.size() >= bounds().sources_per_group;
}

Applied apply_record(const Books& books, const Reporter& from, const Record& record) {
    Group& group = books.group;
    const auto found = group.hosts.find(from.host);
    if (found == group.hosts.end()) {
        return {apply(books, *add_host(books, from.host), record, from.version), {}};
    }
    const Host& host = found->second;
    const bool was_excluding = known_excluding(group) > 0;
    const bool changes_mode = host.exclude && !excludes(record);
    Departure departure{false, given_up(host, record), host.version};
    std::vector<Address> excluded;
    if (changes_mode) excluded = sources_of(host);
    std::optional<Drop> refused;
    if (leaves(host, record, from.version)) {
        remove_host(books, found);
    } else {
        refused = apply(books, *found, record, from.version);
    }
    // IS_IN of a host that is back in the newest version tells what it has wanted all the time.
    const bool is_news = record.type != RecordType::kIsInclude || group.hosts.empty();
    if (is_news && was_excluding && known_excluding(group) == 0) {
        return {refused, {true, std::move(excluded), departure.version}};
    }
    std::erase_if(departure.sources,
                  [&group](const Address& each) { return !is_unwanted(group, each); });
    return {refused, std::move(departure)};
}

void count_question(const Books& books, const Question& question, std::int32_t sign) {
    Tally& asked = books.group.last_members->tally;
    const bool excludes = question.is_of_group;
    for (const Address& source : question.sources) {
        count_votes(books, source, excludes, sign);
        add_votes(asked, source, excludes ? Votes{0, sign} : Votes{sign, 0});
    }
    if (excludes) {
        count_excluding(books, sign);
        asked.excluding += sign;
    }
    books.group.tally.of_version[question.version] += sign;
    asked.of_version[question.version] += sign;
    if (sign > 0) {
        count_addresses(books, static_cast<std::uint32_t>(question.sources.size()));
    } else {
        uncount_addresses(books, question.sources.size());
    }
}

std::int32_t known_excluding(const Group& group) {
    const std::int32_t asked = group.last_members ? group.last_members->tally.excluding : 0;
    return group.tally.excluding - asked;
}

bool is_unwanted(const Group& group, const Address& source) {
    Votes known = votes_for(group.tally, source);
    if (group.last_members) {
        const Votes asked = votes_for(group.last_members->tally, source);
        known.including -= asked.including;
        known.excluding -= asked.excluding;
    }
    return known.including == 0 && known.excluding == known_excluding(group);
}

bool is_known(const Group& group, std::uint8_t version) {
    const std::int32_t asked =
        group.last_members ? group.last_members->tally.of_version[version] : 0;
    return group.tally.of_version[version] > asked;
}

void end_oldest_piece(const Books& books) { end_piece(books, books.group.pieces.front()); }

void end_unheard_pieces(const Books& books, const Address& source, std::uint64_t since_us) {
    const Pieces& pieces = books.group.pieces;
    for (auto at = pieces.begin(); at != pieces.end() && at->heard_us <= since_us;) {
        const Piece& piece = *at++;
        const bool is_meant =
            piece.source == nullptr ? source == Address{} : *piece.source == source;
        if (is_meant) end_piece(books, piece);
    }
}

void close_books(const Books& books) {
    books.port.addresses -= books.group.addresses;
    if (books.upstream != nullptr) add_tally(*books.upstream, books.group.tally, -1);
}

}  // namespace mcore
