// One JSON object in one line, member by member: events come by the thousand, and the values of
// node/report/json.h are made for one summary a run.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace events {

class JsonLine {
 public:
    // Whatever bytes a text holds, it is printable (node/report/printable.h), and without '<': the
    // line may stand in a page.
    JsonLine& add(std::string_view name, std::string_view text);
    JsonLine& add(std::string_view name, const char* text) {
        return add(name, std::string_view(text));
    }
    JsonLine& add(std::string_view name, std::uint64_t number);
    template <std::same_as<bool> T>
    JsonLine& add(std::string_view name, T flag) {
        return add_raw(name, flag ? "true" : "false");
    }

    // What is JSON already.
    JsonLine& add_raw(std::string_view name, std::string_view json);

    // Without a line feed.
    [[nodiscard]] std::string text() const { return members_ + "}"; }

 private:
    std::string members_ = "{";
};

[[nodiscard]] std::string json_text(std::string_view text);

// "[a,b]" of what each gives for a row.
template <class Rows, class Each>
[[nodiscard]] std::string json_array(const Rows& rows, const Each& each) {
    std::string all = "[";
    for (const auto& row : rows) {
        if (all.size() > 1) all += ',';
        all += each(row);
    }
    return all + "]";
}

}  // namespace events
