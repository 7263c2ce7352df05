// Numbers for monitoring, as OpenMetrics text: https://prometheus.io/docs/specs/om/ has the format.
// What reads Prometheus text reads it too, the text files of node_exporter among them.
//
//     # TYPE mc_frames_sent counter
//     # HELP mc_frames_sent Frames sent out of a port.
//     mc_frames_sent_total{port="uplink"} 269
//     # EOF
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace metrics {

struct Label {
    std::string_view name;
    std::string value;  // any bytes
};
using Labels = std::vector<Label>;

// Times that something took, counted by the bound that they keep: above the one before it.
struct Histogram {
    static constexpr std::array<std::uint64_t, 12> kBoundsUs{
        20, 50, 100, 200, 500, 1'000, 2'000, 5'000, 10'000, 50'000, 100'000, 1'000'000};

    std::array<std::uint64_t, kBoundsUs.size() + 1> counts{};  // the last one has no bound
    std::uint64_t sum_us = 0;

    void count(std::uint64_t us);
};

// A text that grows family by family: a gauge, counter or histogram call begins one, the samples
// behind it are of this family. A family has no more than one sample of the same labels.
class Exposition {
 public:
    void gauge(std::string_view name, std::string_view help);
    void counter(std::string_view name, std::string_view help);
    void histogram(std::string_view name, std::string_view help);  // in seconds, as its name ends

    void sample(const Labels& labels, std::uint64_t value);
    void sample(const Labels& labels, const Histogram& histogram);

    // So far, without the line that ends it.
    [[nodiscard]] const std::string& families() const { return text_; }

 private:
    void begin(std::string_view name, std::string_view type, std::string_view help,
               std::string_view suffix);
    void line(std::string_view suffix, const Labels& labels, const std::string& value);

    std::string text_;
    std::string name_;
    std::string_view suffix_;
};

// What ends a text.
inline constexpr std::string_view kEnd = "# EOF\n";

}  // namespace metrics
