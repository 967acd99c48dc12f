/** Bays that the power board does not have: command-line tools, and the simulation's sample. */
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "common/TemporaryFolder.h"
#include "tests/integration/EmulatedBoard.h"
#include "tests/integration/RecordReadings.h"

namespace {

std::string bay( const std::string &arguments ) {
    return R"({ "name": "bay", "did": 36, "driver": "PsuSlot", "address": { "address": 80, "accel": 1 },
               "driverArgs": { "psuId": 2, "model_1": "DPS550AB6A", "psuFdl_1": "known {serialNum}", )" +
           arguments + "} }";
}

/** A tool that stands first in PATH, as the platform's own would be. */
class SupplyCommandTest : public testing::Test {
  protected:
    SupplyCommandTest() {
        setenv( "PATH", ( folder_.path() + ":" + getenv( "PATH" ) ).c_str(), 1 );
    }
    /** From now on the tool runs @p script; it notes its words first. */
    void install( const std::string &script ) {
        const std::string tool = folder_.write(
            "kyIpmi", "#!/bin/sh\necho \"$*\" >" + folder_.file( "seen" ) + "\n" + script + "\n" );
        std::filesystem::permissions( tool, std::filesystem::perms::owner_all );
    }
    std::string seen() const { return fileText( folder_.file( "seen" ) ); }

    common::TemporaryFolder folder_;
    EmulatedBoard board_{ "mirelund-power" };
};

TEST_F( SupplyCommandTest, ToolNamesTheSupply ) {
    install( "echo SerialNumber=GTVD1615001656; echo ModelNumber=DPS550AB6A" );
    pl_slot *const slot =
        board_.addSlot( bay( R"("identificationType": "ipmitool", "ipmiId": "0x0a")" ) );
    EXPECT_EQ( presenceOf( slot ), "known GTVD1615001656" );
    EXPECT_EQ( seen(), "0x0a psuSlot 2\n" );
    // Another supply of the model.
    install( "echo SerialNumber=A7; echo ModelNumber=DPS550AB6A" );
    EXPECT_EQ( presenceOf( slot ), "known A7" );
}

TEST_F( SupplyCommandTest, RawToolTakesTwoCommands ) {
    install( "echo SerialNumber=A7; echo ModelNumber=DPS550AB6A" );
    pl_slot *const slot = board_.addSlot( bay( R"("identificationType": "ipmitool_raw",
        "ipmiRawModel": "0x06 0x52", "ipmiRawSerialNumber": "0x06 0x53")" ) );
    EXPECT_EQ( presenceOf( slot ), "known A7" );
    EXPECT_EQ( seen(), "raw ModelNumber=0x06 0x52 SerialNumber=0x06 0x53\n" );
}

TEST_F( SupplyCommandTest, RubbishAndFailuresAreNoSupply ) {
    pl_slot *const slot =
        board_.addSlot( bay( R"("identificationType": "ipmitool", "ipmiId": "0x0a")" ) );
    for ( const char *script :
          { "head -c 100000 /dev/zero", "echo ModelNumber=DPS550AB6A",
            "echo SerialNumber=A7; echo ModelNumber=Unheard-of",
            "echo SerialNumber=A7; echo ModelNumber=DPS550AB6A; exit 3", "kill -9 $$", "true" } ) {
        install( script );
        EXPECT_EQ( presenceOf( slot, PL_STATUS_NOT_PRESENT ), "" ) << script;
    }
    std::filesystem::remove( folder_.file( "kyIpmi" ) );
    EXPECT_EQ( presenceOf( slot, PL_STATUS_NOT_PRESENT ), "" );
    install( "echo SerialNumber=A7; echo ModelNumber=DPS550AB6A" );
    EXPECT_EQ( presenceOf( slot ), "known A7" );
}

/** The same library with files for devices. */
class SimulatedSupplyTest : public testing::Test {
  protected:
    SimulatedSupplyTest() {
        setenv( "SIMULATION_VMID", "1", 1 );
        setenv( "ORVANLIB_SIMDIR", folder_.path().c_str(), 1 );
    }

    common::TemporaryFolder folder_;
    EmulatedBoard board_{ "mirelund-power" };
};

TEST_F( SimulatedSupplyTest, SampleIsIdentifiedOverPmbus ) {
    EXPECT_EQ( presenceOf( board_.addSlot( bay( R"("identificationType": "pmbus")" ) ) ),
               "known GTVD1615001656" );
}

TEST_F( SimulatedSupplyTest, SampleIsIdentifiedOverIpmi ) {
    EXPECT_EQ( presenceOf( board_.addSlot( bay( R"("identificationType": "ipmi", "ipmiId": "psu3",
                           "allowInvalidCommonHeaderChecksum": "true")" ) ) ),
               "known GTVD1615001656" );
}

TEST_F( SimulatedSupplyTest, SuppliesHaveTheirSampleReadings ) {
    EXPECT_EQ( measured( board_.add<pl_psu>( "psu1" ), &pl_psu_ops::get_input_voltage ), 0.0f );
    // 0xF84C is 0x04C * 2^-1.
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "psu1-inlet" ) ), 38.0f );
    pl_psu *const emerson = board_.add<pl_psu>( "psu2" );
    EXPECT_EQ( measured( emerson, &pl_psu_ops::get_output_voltage ), 12.0f );
    EXPECT_EQ( powerOkOf( emerson ), 1 );
}

} // namespace
