// One line on the terminal that says how far a long replay came. It is not there for standard error
// that is no terminal, nor for a replay that is over before anyone could read it.
#pragma once

#include <chrono>

#include "node/capture/capture_driver.h"

namespace replay {

class ProgressLine {
 public:
    using Clock = std::chrono::steady_clock;

    explicit ProgressLine(bool wanted);

    void show(const capture::Progress& progress);
    void erase();

 private:
    bool wanted_;
    bool shown_ = false;
    Clock::time_point start_ = Clock::now();
};

}  // namespace replay
