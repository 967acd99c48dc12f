/** How the supply in a slot tells who it is. */
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "tests/OrvanGeneric/Drivers/PsuSlotFixture.h"
#include "tests/support/EepromHam.h"

namespace {

using testing::Contains;

class PsuSlotIdentificationTest : public PsuSlotTest {};

// PMBus

TEST_F( PsuSlotIdentificationTest, PmbusReadsTheLengthsAndThenTheBlocks ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( " \tDPS550AB6A \t", "\tA " );
    std::string serial, model;
    EXPECT_EQ( made->readSerialAndModelPmbus( serial, model ), PL_STATUS_OK );
    EXPECT_EQ( model, "DPS550AB6A" );
    EXPECT_EQ( serial, "A" );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x9a", "read8 0x9e", "execute", "prepare",
                                "read 0x9a 15", "read 0x9e 4", "execute" } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 7, "readSerialAndModelPmbus" } } ) );
}

TEST_F( PsuSlotIdentificationTest, PmbusTextsEndAtTheirFirstNul ) {
    insert( std::string( "DPS550AB6A \0\0", 13 ), std::string( "SN12\0\0\0", 7 ) );
    EXPECT_EQ( presence( *slot( slotArguments( "pmbus" ) ) ), "550 W, SN12" );
}

TEST_F( PsuSlotIdentificationTest, PmbusLengthsCountModulo256 ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    ham_.bytes[ 0x9A ] = 255;
    ham_.bytes[ 0x9E ] = 254;
    presence( *made, PL_STATUS_NOT_PRESENT ); // no block came
    EXPECT_THAT( ham_.log, Contains( "read 0x9a 0" ) );
    EXPECT_THAT( ham_.log, Contains( "read 0x9e 255" ) );
}

TEST_F( PsuSlotIdentificationTest, PmbusFailuresOfEitherTransaction ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "A" );
    std::string serial, model;
    ham_.statuses = { 4 };
    EXPECT_EQ( made->readSerialAndModelPmbus( serial, model ), PL_STATUS_TRANSPORT );
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( made->readSerialAndModelPmbus( serial, model ), PL_STATUS_FAILED );
    EXPECT_EQ( serial + model, "" );
    ham_.statuses = { 4 };
    EXPECT_EQ( made->readSerialAndModel_( serial, model ), PL_STATUS_NOT_PRESENT );
}

TEST_F( PsuSlotIdentificationTest, EmptyNameIsUnidentified ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "  " );
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 7, "Failed to read PSU info '' 'DPS550AB6A'" ) );
    insert( "", "A" );
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 7, "Failed to read PSU info 'A' ''" ) );
}

// Wedge

TEST_F( PsuSlotIdentificationTest, WedgeTellsWithABitForEachSupply ) {
    const struct {
        const char *psuId;
        uint8_t value;
        bool identified;
    } cases[] = {
        { "1", 0xFD, true },  // bit 1
        { "1", 0x02, false }, //
        { "2", 0xFE, true },  // bit 0
        { "2", 0x01, false }, //
    };
    for ( const auto &[ psuId, value, identified ] : cases ) {
        const auto made = slot( slotArguments(
            "wedge",
            { { "psuId", psuId }, { "model_3", "PWR-WEDGE" }, { "psuFdl_3", "{serialNum}" } } ) );
        ham_.bytes[ 8 ] = value;
        EXPECT_EQ( presence( *made, identified ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT ),
                   identified ? "N/A" : "" );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x08", "execute" } ) );
    }
}

TEST_F( PsuSlotIdentificationTest, SilentWedgeIsNotPresent ) {
    const auto made = slot( slotArguments( "wedge" ) );
    ham_.statuses = { 6 };
    std::string serial, model;
    EXPECT_EQ( made->readSerialAndModelWedge( serial, model ), PL_STATUS_NOT_PRESENT );
}

// EEPROMs

TEST_F( PsuSlotIdentificationTest, TlvEeprom ) {
    EepromHam eeprom;
    eeprom.image =
        std::string( "TlvInfo\0\x01\x00\x0F\x22\x0A", 13 ) + "DPS550AB6A" + "\x23\x01" + "7";
    driver_->hamIs( &eeprom );
    EXPECT_EQ( presence( *slot( slotArguments( "tlv" ) ) ), "550 W, 7" );
    eeprom.image[ 11 ] = '\x24'; // not the model any more
    presence( *slot( slotArguments( "tlv" ) ), PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 7, "Failed to read PSU info '7' ''" ) );
}

TEST_F( PsuSlotIdentificationTest, TlvTextsEndAtTheirFirstNul ) {
    EepromHam eeprom;
    eeprom.image = std::string( "TlvInfo\0\x01\x00\x15\x22\x0C", 13 ) + "DPS550AB6A" +
                   std::string( "\0x\x23\x07SN12\0\0\0", 11 );
    driver_->hamIs( &eeprom );
    const auto made = slot( slotArguments( "tlv" ) );
    EXPECT_EQ( presence( *made ), "550 W, SN12" );
    eeprom.image[ 27 ] = '\0'; // the serial's first character
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 7, "Failed to read PSU info '' 'DPS550AB6A'" ) );
}

/** A FRU image whose header adds up to one more than zero. */
const std::string fruImage = std::string( "\x01\x00\x00\x00\x01\x00\x00\xFF\x01\x08\x19", 11 ) +
                             "\xC2"
                             "DE"
                             "\xCC"
                             " DPS550AB6A "
                             "\xC0\xC0\xC4"
                             " 42 ";

TEST_F( PsuSlotIdentificationTest, FruImageWithTheNamesTrimmed ) {
    EepromHam eeprom;
    eeprom.image = fruImage;
    driver_->hamIs( &eeprom );
    const auto strict = slot( slotArguments( "ipmi", { { "ipmiId", "psu1" } } ) );
    presence( *strict, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 0, "PsuSlot0: Common header checksum error" ) );
    const auto lenient = slot( slotArguments(
        "ipmi",
        { { "psuId", "2" }, { "ipmiId", "x" }, { "allowInvalidCommonHeaderChecksum", "true" } } ) );
    EXPECT_EQ( presence( *lenient ), "550 W, 42" );
    EXPECT_TRUE( host_.traced( 0, "PsuSlot1: Common header checksum error" ) );
}

TEST_F( PsuSlotIdentificationTest, FruTextsEndAtTheirFirstNul ) {
    EepromHam eeprom;
    eeprom.image = fruImage;
    eeprom.image.replace( eeprom.image.find( " 42 " ), 4, std::string( "7 \0x", 4 ) );
    driver_->hamIs( &eeprom );
    EXPECT_EQ(
        presence( *slot( slotArguments(
            "ipmi", { { "ipmiId", "x" }, { "allowInvalidCommonHeaderChecksum", "true" } } ) ) ),
        "550 W, 7" );
}

TEST_F( PsuSlotIdentificationTest, IpmiTypesNeedTheirId ) {
    for ( const char *type : { "ipmi", "ipmitool" } ) {
        host_.traces.clear();
        std::unique_ptr<PsuSlot::Slot> made( static_cast<PsuSlot::Slot *>(
            driver_->newSlot( withArguments( slotArguments( type ) ) ) ) );
        EXPECT_EQ( host_.traces.back(),
                   ( Trace{ 0, "PsuSlot identification type is ipmi but ipmiId not found" } ) );
        presence( *made, PL_STATUS_NOT_PRESENT );
        EXPECT_TRUE( ham_.log.empty() );
    }
}

// Commands

/** A folder in front of all others in PATH, with a "kyIpmi" that does what the test says. */
class PsuSlotCommandTest : public PsuSlotTest {
  protected:
    PsuSlotCommandTest() {
        setenv( "PATH", ( folder_.path() + ":" + getenv( "PATH" ) ).c_str(), 1 );
        setenv( "SEEN", folder_.file( "seen" ).c_str(), 1 );
    }

    /** @param script  what the shell does once the arguments are written down */
    void install( const std::string &script ) {
        const std::string path = folder_.write(
            "kyIpmi", "#!/bin/sh\nfor word; do echo \"$word\"; done >\"$SEEN\"\n" + script + "\n" );
        std::filesystem::permissions( path, std::filesystem::perms::owner_all );
    }
    Log seenWords() const {
        Log words;
        std::ifstream stream( folder_.file( "seen" ) );
        for ( std::string line; std::getline( stream, line ); ) {
            words.push_back( line );
        }
        return words;
    }
    std::unique_ptr<PsuSlot::Slot> ipmitool( const Arguments &more = {} ) {
        Arguments arguments = more;
        arguments.insert( { "ipmiId", "0x0a" } );
        return slot( slotArguments( "ipmitool", arguments ) );
    }

    common::TemporaryFolder folder_;
};

constexpr const char *goodAnswer = "echo ModelNumber=DPS550AB6A; echo SerialNumber=A7";

TEST_F( PsuSlotCommandTest, CommandsAreTraced ) {
    const struct {
        Arguments arguments;
        const char *command;
    } cases[] = {
        { slotArguments( "ipmitool", { { "ipmiId", "7" } } ), "kyIpmi '7' psuSlot 1" },
        { slotArguments( "ipmitool", { { "ipmiId", "7" }, { "psuId", "2" } } ),
          "kyIpmi '7' psuSlot 2" },
        { slotArguments( "ipmitool", { { "ipmiId", "7" }, { "useApi", "true" } } ),
          "kyIpmi api '7' psuSlot 1" },
        { slotArguments( "ipmitool", { { "ipmiId", "7" }, { "useApi", "1" } } ),
          "kyIpmi '7' psuSlot 1" },
        { slotArguments( "ipmitool_raw",
                         { { "ipmiRawModel", "0x06 0x52" }, { "ipmiRawSerialNumber", "9e" } } ),
          "kyIpmi raw ModelNumber='0x06 0x52' SerialNumber='9e'" },
    };
    for ( const auto &[ arguments, command ] : cases ) {
        host_.traces.clear();
        std::unique_ptr<Component::LogicalDevice::Slot> made(
            driver_->newSlot( withArguments( arguments ) ) );
        EXPECT_EQ( host_.traces.back(),
                   ( Trace{ 0, std::string( "psuSlot ipmi command: '" ) + command + "'" } ) );
    }
}

TEST_F( PsuSlotCommandTest, AnswerIdentifiesTheSupply ) {
    install( goodAnswer );
    EXPECT_EQ( presence( *ipmitool() ), "550 W, A7" );
    EXPECT_EQ( seenWords(), ( Log{ "0x0a", "psuSlot", "1" } ) );
    EXPECT_EQ( presence( *ipmitool( { { "psuId", "2" }, { "useApi", "true" } } ) ), "550 W, A7" );
    EXPECT_EQ( seenWords(), ( Log{ "api", "0x0a", "psuSlot", "2" } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PsuSlotCommandTest, RawTypeTakesTwoCommands ) {
    install( goodAnswer );
    const auto made = slot( slotArguments(
        "ipmitool_raw", { { "ipmiRawModel", "0x06 1" }, { "ipmiRawSerialNumber", "0x06 2" } } ) );
    EXPECT_EQ( presence( *made ), "550 W, A7" );
    EXPECT_EQ( seenWords(), ( Log{ "raw", "ModelNumber=0x06 1", "SerialNumber=0x06 2" } ) );
}

TEST_F( PsuSlotCommandTest, ConfiguredValuesAreNoShellSyntax ) {
    install( goodAnswer );
    const std::string nasty = "a'; touch \"$SEEN.pwned\"; $(touch $SEEN.pwned) `x` #";
    EXPECT_EQ( presence( *ipmitool( { { "ipmiId", nasty } } ) ), "550 W, A7" );
    EXPECT_EQ( seenWords(), ( Log{ nasty, "psuSlot", "1" } ) );
    EXPECT_FALSE( std::filesystem::exists( folder_.file( "seen.pwned" ) ) );
}

TEST_F( PsuSlotCommandTest, AnswersOfOtherShapes ) {
    const struct {
        const char *script;
        const char *model, *serial;
    } cases[] = {
        { "printf 'SerialNumber=A7\\nModelNumber=M 1\\n'", "M 1", "A7" },
        { "printf 'Model=x\\nModelNumber=M1\\r\\nSerialNumber= A7 \\t\\r\\n'", "M1", "A7" },
        { "printf 'ModelNumber=M1\\nSerialNumber=A7'", "M1", "A7" },
        { "printf 'ModelNumber=M1\\nModelNumber=M2\\nSerialNumber=A=7\\n'", "M1", "A=7" },
        { "printf 'XModelNumber=M1\\nserialnumber=A7\\n'", "", "" },
        { "printf 'ModelNumber\\nSerialNumber=\\n'", "", "" },
        { "printf '\\n\\n\\0=\\377\\n'", "", "" },
        { "true", "", "" },
    };
    const auto made = ipmitool();
    for ( const auto &[ script, expectedModel, expectedSerial ] : cases ) {
        install( script );
        std::string serial, model;
        EXPECT_EQ( made->readSerialAndModelIpmitool( serial, model ), PL_STATUS_OK ) << script;
        EXPECT_EQ( model, expectedModel ) << script;
        EXPECT_EQ( serial, expectedSerial ) << script;
        const bool both = !model.empty() && !serial.empty();
        EXPECT_EQ( made->readSerialAndModel_( serial, model ),
                   both ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT );
    }
}

TEST_F( PsuSlotCommandTest, FailedCommandsDoNotIdentify ) {
    const auto made = ipmitool();
    std::string serial, model;
    install( goodAnswer + std::string( "; exit 1" ) );
    EXPECT_EQ( made->readSerialAndModelIpmitool( serial, model ), PL_STATUS_FAILED );
    EXPECT_EQ( serial + model, "" );
    install( "exit 124" ); // as when the time limit struck
    EXPECT_EQ( made->readSerialAndModelIpmitool( serial, model ), PL_STATUS_TRANSPORT );
    presence( *made, PL_STATUS_NOT_PRESENT );
}

TEST_F( PsuSlotCommandTest, ACommandHasNeitherTheHostsInputNorItsErrorOutput ) {
    install( "readlink /proc/self/fd/0 >\"$SEEN.in\"; readlink /proc/self/fd/2 >\"$SEEN.err\"\n" +
             std::string( goodAnswer ) );
    EXPECT_EQ( presence( *ipmitool() ), "550 W, A7" );
    for ( const char *name : { "seen.in", "seen.err" } ) {
        std::ifstream stream( folder_.file( name ) );
        std::string target;
        std::getline( stream, target );
        EXPECT_EQ( target, "/dev/null" ) << name;
    }
}

TEST_F( PsuSlotCommandTest, ACommandThatTookTooLongIsLeftAloneForAWhile ) {
    FakeTime time;
    const auto made = ipmitool();
    install( "exit 124" ); // as when the time limit struck
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 0, "Error: psuSlot ipmi command took longer than 10 s" ) );
    install( goodAnswer );
    std::filesystem::remove( folder_.file( "seen" ) );
    FakeTime::now += 4.5;
    std::string serial, model;
    EXPECT_EQ( made->readSerialAndModelIpmitool( serial, model ), PL_STATUS_TRANSPORT );
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( seenWords().empty() );
    FakeTime::now += 0.5;
    EXPECT_EQ( presence( *made ), "550 W, A7" );
}

TEST_F( PsuSlotCommandTest, ACommandThatFailsOtherwiseIsRunAgainWithTheNextQuery ) {
    FakeTime time;
    const auto made = ipmitool();
    install( "exit 1" );
    presence( *made, PL_STATUS_NOT_PRESENT );
    install( goodAnswer );
    EXPECT_EQ( presence( *made ), "550 W, A7" );
}

TEST_F( PsuSlotCommandTest, RawTypeNeedsBothCommands ) {
    install( goodAnswer );
    constexpr const char *noModel =
        "PsuSlot identification type is ipmitool_raw but ipmiRawModel not found";
    constexpr const char *noSerial =
        "PsuSlot identification type is ipmitool_raw but ipmiRawSerialNumber not found";
    const struct {
        Arguments more;
        Traces traces;
    } cases[] = {
        { { { "ipmiRawSerialNumber", "1" } }, { { 0, noModel } } },
        { { { "ipmiRawModel", "1" } }, { { 0, noSerial } } },
        { {}, { { 0, noModel }, { 0, noSerial } } },
    };
    for ( const auto &[ more, traces ] : cases ) {
        host_.traces.clear();
        std::unique_ptr<PsuSlot::Slot> made( static_cast<PsuSlot::Slot *>(
            driver_->newSlot( withArguments( slotArguments( "ipmitool_raw", more ) ) ) ) );
        EXPECT_EQ( Traces( host_.traces.begin() + 2, host_.traces.end() ), traces );
        presence( *made, PL_STATUS_NOT_PRESENT );
    }
    EXPECT_TRUE( seenWords().empty() );
}

} // namespace
