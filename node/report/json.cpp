#include "node/report/json.h"

#include <nlohmann/json.hpp>

namespace report {

struct JsonValue {
    nlohmann::ordered_json value;
};

namespace {

std::unique_ptr<JsonValue> hold(nlohmann::ordered_json value) {
    return std::make_unique<JsonValue>(JsonValue{std::move(value)});
}

}  // namespace

Json::Json(std::nullptr_t) : value_(hold(nullptr)) {}
Json::Json(double number) : value_(hold(number)) {}
Json::Json(const char* text) : value_(hold(text)) {}
Json::Json(std::string_view text) : value_(hold(text)) {}
Json::Json(Flag flag) : value_(hold(flag.value)) {}
Json::Json(Number number) : value_(hold(number.value)) {}
Json::Json(std::unique_ptr<JsonValue> value) : value_(std::move(value)) {}

Json::Json(const Json& other) : value_(hold(other.value_->value)) {}
Json::~Json() = default;

Json Json::object(std::initializer_list<Member> members) {
    Json object(hold(nlohmann::ordered_json::object()));
    for (const Member& member : members) object.set(member.name, member.value);
    return object;
}

Json Json::array() { return Json(hold(nlohmann::ordered_json::array())); }

void Json::set(std::string_view name, const Json& value) {
    value_->value[std::string(name)] = value.value_->value;
}

void Json::add(const Json& value) { value_->value.push_back(value.value_->value); }

std::string Json::text() const {
    return value_->value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
           "\n";
}

}  // namespace report
