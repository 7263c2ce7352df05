// What the library prints. Standard output is caught at its file descriptor, so printf and puts of
// the library and of its C library end up here, and in their order.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace mc_test {

// Runs the action and returns exactly what was written to standard output meanwhile.
std::string printed(const std::function<void()>& action);
// The same with a side's diagnostics mask, mc_debug or mld_debug, set meanwhile and 0 afterwards.
std::string said(std::uint32_t& mask, std::uint32_t bits, const std::function<void()>& action);

// Expects the action to say exactly the text when only the bit is set, nothing when no bit is, and
// not this text when all the others are. The action runs three times, each time with the calls of
// the neighbours counted from the start.
void expect_said(std::uint32_t& mask, std::uint32_t bit, const std::string& text,
                 const std::function<void()>& action);

// Runs the action, and the interruption inside it, on the same thread, at the moment when this text
// has been printed: another task could have run then. False when the text was not printed.
bool interrupted_at(const std::string& text, const std::function<void()>& interruption,
                    const std::function<void()>& action);

// The categories and what their lines begin with.
constexpr std::uint32_t kDbg = 0x01;
constexpr std::uint32_t kErr = 0x04;
constexpr std::uint32_t kCfg = 0x20;
constexpr std::uint32_t kAllCategories = 0x3F;

}  // namespace mc_test
