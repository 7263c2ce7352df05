// Gives the library one frame of a load between two marks, for who counts instructions:
//
//     paths_count LOAD [--rules N] [--port N] [--templates N] [--length N] [--by WHO]
//                             runs paths_counted, then paths_over, behind a run that is not counted
//     paths_count             lists the loads
//     paths_count --by        lists who can have the frame in place of the library
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>

#include "adapt/records.h"
#include "bench/paths/cases.h"
#include "bench/paths/contenders.h"
#include "bench/paths/own_ipc.h"

extern "C" {

// What runs inside this function is counted: by its name, or from its first instruction to that of
// the next one.
__attribute__((noinline)) void paths_counted(void) {
    bench::run_prepared();
    asm volatile("");  // no jump in place of the call
}

__attribute__((noinline)) void paths_over(void) { asm volatile(""); }

}  // extern "C"

namespace {

constexpr int kWrongArguments = 2;

struct Request {
    bench::Load load;
    bench::Contender contender;
};

struct Range {
    std::uint32_t least;
    std::uint32_t most;
};

constexpr Range kRules = {0, MC_RULES};
constexpr Range kPorts = {0, MC_PORTS - 2};  // the last one is the uplink
constexpr Range kTemplates = {0, MC_TEMPLATE_VLANS};
constexpr Range kLengths = {64, 2000};

// ---- Command line ------------------------------------------------------------------------------

bool refuse(std::string_view option, std::string_view value) {
    std::fprintf(stderr, "paths_count: not possible: %.*s %.*s\n", static_cast<int>(option.size()),
                 option.data(), static_cast<int>(value.size()), value.data());
    return false;
}

std::optional<std::uint32_t> number_in(Range range, std::string_view text) {
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    if (value < range.least || value > range.most) return std::nullopt;
    return value;
}

template <class Field>
bool set_number(Field& field, Range range, std::string_view option, std::string_view value) {
    const auto number = number_in(range, value);
    if (!number) return refuse(option, value);
    field = static_cast<Field>(*number);
    return true;
}

bool set_contender(Request& request, std::string_view name) {
    const auto contender = bench::contender_named(name);
    if (!contender) return refuse("--by", name);
    request.contender = *contender;
    return true;
}

bool set_option(Request& request, std::string_view option, std::string_view value) {
    bench::Load& load = request.load;
    if (option == "--rules") return set_number(load.rules, kRules, option, value);
    if (option == "--port") return set_number(load.port, kPorts, option, value);
    if (option == "--templates") return set_number(load.templates, kTemplates, option, value);
    if (option == "--length") return set_number(load.length, kLengths, option, value);
    if (option == "--by") return set_contender(request, value);
    return refuse(option, value);
}

std::optional<Request> request_of(int argc, char** argv) {
    const auto load = bench::load_named(argv[1]);
    if (!load) {
        std::fprintf(stderr, "paths_count: no such load; without an argument it lists them\n");
        return std::nullopt;
    }
    Request request = {*load, bench::contenders().front()};
    for (int i = 2; i < argc; i += 2) {
        const char* const value = i + 1 < argc ? argv[i + 1] : "without a value";
        if (!set_option(request, argv[i], value)) return std::nullopt;
    }
    return request;
}

// ------------------------------------------------------------------------------------------------

template <class Named>
void list(std::span<const Named> all) {
    for (const auto& one : all) {
        std::printf("%-18.*s %.*s\n", static_cast<int>(one.name.size()), one.name.data(),
                    static_cast<int>(one.meaning.size()), one.meaning.data());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        list(bench::reviewed_loads());
        return EXIT_SUCCESS;
    }
    if (argc == 2 && std::string_view(argv[1]) == "--by") {
        list(bench::contenders());
        return EXIT_SUCCESS;
    }
    const auto request = request_of(argc, argv);
    if (!request) return kWrongArguments;
    // Starting the library clears the status segment of whatever node runs here. Where no namespace
    // is to be had, an emulator for one, the count is the same without.
    static_cast<void>(bench::enter_own_ipc());
    if (!bench::prepare_for(request->contender, request->load)) {
        std::fprintf(stderr, "paths_count: this contender can do nothing for this load\n");
        return kWrongArguments;
    }
    bench::run_prepared();
    paths_counted();
    paths_over();
    return EXIT_SUCCESS;
}
