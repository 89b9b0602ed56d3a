#pragma once
// Every test starts from a simulation without the steering, records and
// planned failures the one before it left behind.
#include <gtest/gtest.h>

#include "SimRuntimeControl.h"

class SimulationTest : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};
