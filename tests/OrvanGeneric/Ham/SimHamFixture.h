#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "OrvanGeneric/Ham/SimHam.h"
#include "common/TemporaryFolder.h"
#include "tests/support/FakeHost.h"

/** A byte, a word, a byte, a text and a 3-byte number, at 0, 2, 6, 8 and 13. */
inline const Utils::ExpectedValues registers = {
    { 0x10, { 0x3, 1 } },     { 0x20, { 0x1234, 2 } },   { 0x30, { 0xAB, 1 } },
    { 0x9A, { "B DPS", 5 } }, { 0x9E, { 0xABCDEF, 3 } },
};
inline const std::string fileAtFirst = "031234abB DPSabcdef\n";

inline std::string content( const std::string &file ) {
    std::ostringstream text;
    text << std::ifstream( file ).rdbuf();
    return text.str();
}

/** What is traced for a register that cannot be read or written. */
inline std::string warning( const std::string &driver, const std::string &reg ) {
    return "WARNING: Simulated Driver " + driver +
           " doesn't yet have expectedVal set for register " + reg + " using SIMULATION_HAM()\n";
}

/** Simulation files go to a folder of the test's own, which does not exist yet. */
class SimHamTest : public testing::Test {
  protected:
    SimHamTest() { setenv( "ORVANLIB_SIMDIR", folder_.c_str(), 1 ); }

    /** The Ham of a driver "Part" named "one" with the registers above. */
    Ham::SimHam &ready() {
        ham_.setDriverName( "Part", "one" );
        ham_.setExpected( &registers );
        host_.traces.clear();
        return ham_;
    }

    std::string file() const { return folder_ + "/Part-one"; }

    /** Writes @p text over the device's file as a harness does. */
    void harnessWrites( size_t offset, const std::string &text ) {
        std::fstream stream( file(), std::ios::in | std::ios::out | std::ios::binary );
        stream.seekp( static_cast<std::streamoff>( offset ) );
        stream << text;
    }

    const common::TemporaryFolder temporary_;
    const std::string base_ = temporary_.path();
    const std::string folder_ = base_ + "/some/where";
    Ham::SimHam ham_;
    FakeHost &host_ = FakeHost::instance();
};
