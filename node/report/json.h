// JSON for programs: values put together, then written as one text.
//
// nlohmann's library does it. Its header takes seconds to read, so json.cpp alone includes it.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace report {

struct Member;
struct JsonValue;

class Json {
 public:
    Json(std::nullptr_t = nullptr);
    Json(double number);
    Json(const char* text);
    Json(std::string_view text);
    Json(const std::string& text) : Json(std::string_view(text)) {}
    template <std::same_as<bool> T>
    Json(T flag) : Json(Flag{flag}) {}
    template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>) Json(T number) : Json(Number{number}) {}

    // Not in the header, or each of the many places where values come and go would hold a copy.
    Json(const Json& other);
    Json& operator=(const Json& other) = delete;
    ~Json();

    // In the order of its members, as they are given here and by set.
    static Json object(std::initializer_list<Member> members = {});
    static Json array();

    // Of an object; a member that is there already is replaced.
    void set(std::string_view name, const Json& value);
    // To an array.
    void add(const Json& value);

    // Indented, with a line feed at the end. A string may hold any bytes and JSON may not: what is
    // no UTF-8 is replaced.
    [[nodiscard]] std::string text() const;

 private:
    struct Flag {
        bool value;
    };
    struct Number {
        std::uint64_t value;
    };
    explicit Json(Flag flag);
    explicit Json(Number number);
    explicit Json(std::unique_ptr<JsonValue> value);

    std::unique_ptr<JsonValue> value_;
};

struct Member {
    std::string_view name;
    Json value;
};

}  // namespace report
