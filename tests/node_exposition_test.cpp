// Numbers as a collector of them reads them.
#include "node/metrics/exposition.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using metrics::Exposition;
using metrics::Histogram;
using ::testing::HasSubstr;

TEST(ExpositionTest, AFamilySaysWhatItIs) {
    Exposition text;
    text.counter("mc_frames_sent", "Frames sent.");
    text.sample({{"port", "port0"}}, 7);
    text.gauge("mc_switch_entries", "Entries.");
    text.sample({}, 3);
    EXPECT_EQ(text.families(),
              "# TYPE mc_frames_sent counter\n"
              "# HELP mc_frames_sent Frames sent.\n"
              "mc_frames_sent_total{port=\"port0\"} 7\n"
              "# TYPE mc_switch_entries gauge\n"
              "# HELP mc_switch_entries Entries.\n"
              "mc_switch_entries 3\n");
}

TEST(ExpositionTest, WhateverALabelHoldsStaysInItsQuotes) {
    Exposition text;
    text.gauge("mc_x", "X.");
    text.sample({{"a", "one \"two\" \\three\nfour"}, {"b", ""}}, 1);
    EXPECT_THAT(text.families(),
                HasSubstr("mc_x{a=\"one \\\"two\\\" \\\\three\\nfour\",b=\"\"} 1\n"));
}

TEST(HistogramTest, ATimeCountsUnderEachBoundThatItKeeps) {
    Histogram times;
    times.count(20);  // a bound counts itself
    times.count(21);
    times.count(2'000'000);  // above all
    Exposition text;
    text.histogram("mc_latency_seconds", "Latency.");
    text.sample({}, times);
    EXPECT_THAT(text.families(), HasSubstr("# UNIT mc_latency_seconds seconds\n"));
    EXPECT_THAT(text.families(), HasSubstr("mc_latency_seconds_bucket{le=\"0.00002\"} 1\n"
                                           "mc_latency_seconds_bucket{le=\"0.00005\"} 2\n"));
    EXPECT_THAT(text.families(), HasSubstr("mc_latency_seconds_bucket{le=\"1.0\"} 2\n"
                                           "mc_latency_seconds_bucket{le=\"+Inf\"} 3\n"
                                           "mc_latency_seconds_count 3\n"
                                           "mc_latency_seconds_sum 2.000041\n"));
}

}  // namespace
