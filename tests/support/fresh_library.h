// Every test begins with the library as it is right after it was loaded, also in a process that
// runs many tests.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/neighbours.h"

namespace mc_test {

// Puts back every variable of libmc_hal.so, exported or not, to what it held at program start.
void restore_library();

// All that a test begins with: the same, and no call recorded, nothing scripted, neither the
// command queue nor the status segment in existence.
void begin_anew();

// The base of every fixture: fresh library, no call recorded, nothing scripted, neither the command
// queue nor the status segment in existence.
class LibraryTest : public ::testing::Test {
 protected:
    LibraryTest();
    ~LibraryTest() override;
};

// The same after a silent adapt_init with no failure, whose calls are forgotten: ports, rules and
// defaults are set, the status segment is attached, snooping mode is on.
class StartedTest : public LibraryTest {
 protected:
    StartedTest();
};

// The same on an ONU with an OMCI id: no VLAN is learnt unless a test asks for it.
class OmciTest : public StartedTest {
 protected:
    OmciTest() { set_onu_id(1); }
};

}  // namespace mc_test
