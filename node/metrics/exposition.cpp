#include "node/metrics/exposition.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace metrics {
namespace {

// Exactly: microseconds are six digits.
std::string in_seconds(std::uint64_t us) {
    constexpr std::uint64_t kSecond = 1'000'000;
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "%llu.%06llu",
                  static_cast<unsigned long long>(us / kSecond),
                  static_cast<unsigned long long>(us % kSecond));
    std::string shown = text.data();
    shown.erase(shown.find_last_not_of('0') + 1);
    return shown.back() == '.' ? shown + "0" : shown;
}

std::string escaped(std::string_view value) {
    std::string text;
    for (const char byte : value) {
        if (byte == '\\' || byte == '"') text += '\\';
        text += byte == '\n' ? std::string("\\n") : std::string(1, byte);
    }
    return text;
}

std::string text_of(const Labels& labels) {
    std::string text;
    for (const Label& label : labels) {
        text += text.empty() ? "{" : ",";
        text += std::string(label.name) + "=\"" + escaped(label.value) + "\"";
    }
    return text.empty() ? text : text + "}";
}

Labels with_bound(Labels labels, std::string bound) {
    labels.push_back({"le", std::move(bound)});
    return labels;
}

}  // namespace

void Histogram::count(std::uint64_t us) {
    const auto bound = std::ranges::lower_bound(kBoundsUs, us);
    ++counts[static_cast<std::size_t>(bound - kBoundsUs.begin())];
    sum_us += us;
}

void Exposition::begin(std::string_view name, std::string_view type, std::string_view help,
                       std::string_view suffix) {
    name_ = name;
    suffix_ = suffix;
    text_ += "# TYPE " + name_ + " " + std::string(type) + "\n";
    if (name.ends_with("_seconds")) text_ += "# UNIT " + name_ + " seconds\n";
    text_ += "# HELP " + name_ + " " + std::string(help) + "\n";
}

void Exposition::gauge(std::string_view name, std::string_view help) {
    begin(name, "gauge", help, "");
}

void Exposition::counter(std::string_view name, std::string_view help) {
    begin(name, "counter", help, "_total");
}

void Exposition::histogram(std::string_view name, std::string_view help) {
    begin(name, "histogram", help, "");
}

void Exposition::line(std::string_view suffix, const Labels& labels, const std::string& value) {
    text_ += name_ + std::string(suffix) + text_of(labels) + " " + value + "\n";
}

void Exposition::sample(const Labels& labels, std::uint64_t value) {
    line(suffix_, labels, std::to_string(value));
}

void Exposition::sample(const Labels& labels, const Histogram& histogram) {
    std::uint64_t so_far = 0;
    for (std::size_t i = 0; i < Histogram::kBoundsUs.size(); ++i) {
        so_far += histogram.counts[i];
        line("_bucket", with_bound(labels, in_seconds(Histogram::kBoundsUs[i])),
             std::to_string(so_far));
    }
    so_far += histogram.counts.back();
    line("_bucket", with_bound(labels, "+Inf"), std::to_string(so_far));
    line("_count", labels, std::to_string(so_far));
    line("_sum", labels, in_seconds(histogram.sum_us));
}

}  // namespace metrics
