#include "OrvanGeneric/Drivers/PsuSlot.h"

#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>

#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/OrvanGeneric/Drivers/PsuSlotFixture.h"
#include "tests/support/AssertionFailure.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/SimulationFixture.h"

namespace {

using Drivers::PsuSlot;
using testing::Contains;
using testing::Not;

constexpr const char *file = "OrvanGeneric/Drivers/PsuSlot.cpp";

// Creation

TEST_F( PsuSlotTest, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "PsuSlot" )( withArguments( {} ), &ham_ ) );
    EXPECT_NE( dynamic_cast<PsuSlot *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Pmbus Device" } } ) );
    EXPECT_THROW( made->newPsu( withArguments( {} ) ), Component::NotImplementedException );
}

TEST_F( PsuSlotTest, SlotWithoutANumberIsNone ) {
    Arguments arguments = slotArguments( "pmbus" );
    arguments.erase( "psuId" );
    EXPECT_EQ( driver_->newSlot( withArguments( arguments ) ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: expected 'psuId' in slot driverArgs" } } ) );
}

TEST_F( PsuSlotTest, OtherNumbersAbort ) {
    for ( const char *id : { "0", "3", "-1", "257" } ) {
        EXPECT_DEATH( slot( slotArguments( "pmbus", { { "psuId", id } } ) ),
                      assertionFailure( file, "psuId == 1 || psuId == 2" ) )
            << id;
    }
}

TEST_F( PsuSlotTest, EachTypeIsTraced ) {
    for ( const std::string type : { "pmbus", "wedge", "tlv" } ) {
        host_.traces.clear();
        std::unique_ptr<Component::LogicalDevice::Slot> made(
            driver_->newSlot( withArguments( slotArguments( type, { { "psuId", "2" } } ) ) ) );
        EXPECT_EQ( host_.traces, ( Traces{ { 5, "Creating new PsuSlot for Psu id 2" },
                                           { 0, "PsuSlot identification type: " + type } } ) );
    }
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PsuSlotTest, UnknownTypeIsTracedAndThrowsWhenItIsUsed ) {
    for ( const std::string type : { "Pmbus", "ipmitool-raw", "" } ) {
        host_.traces.clear();
        std::unique_ptr<PsuSlot::Slot> made( static_cast<PsuSlot::Slot *>(
            driver_->newSlot( withArguments( slotArguments( type ) ) ) ) );
        EXPECT_EQ( host_.traces.back(),
                   ( Trace{ 0, "Invalid identification type: '" + type + "'" } ) );
        char *fdl = nullptr;
        try {
            made->getPresence( &fdl );
            ADD_FAILURE() << type;
        } catch ( const std::runtime_error &error ) {
            EXPECT_STREQ( error.what(), "unknown identification type for psu" );
        }
    }
}

TEST_F( PsuSlotTest, ModelWithoutATemplateAborts ) {
    EXPECT_DEATH( slot( slotArguments( "pmbus", { { "model_3", "X" }, { "psuFdl_4", "Y" } } ) ),
                  assertionFailure( file, "slotArgs_.find( psuFdlKey ) != slotArgs_.end()" ) );
}

TEST_F( PsuSlotTest, ModelsCountFromOneUpToTheFirstGap ) {
    Arguments arguments = slotArguments( "pmbus" );
    for ( int i = 3; i <= 11; ++i ) {
        if ( i == 8 ) {
            continue;
        }
        arguments[ "model_" + std::to_string( i ) ] = "M" + std::to_string( i );
        arguments[ "psuFdl_" + std::to_string( i ) ] = "no {serialNum}";
    }
    const auto made = slot( arguments );
    insert( "M7", "S" );
    EXPECT_EQ( presence( *made ), "no S" );
    insert( "M9", "S" );
    presence( *made, PL_STATUS_NOT_PRESENT );
}

// Presence

TEST_F( PsuSlotTest, FieldDataAreTheModelsTemplateWithTheSerialNumber ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "GTVD1615001656" );
    EXPECT_EQ( presence( *made ), "550 W, GTVD1615001656" );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 7, "getPresence" },
                         { 7, "readSerialAndModel_" },
                         { 7, "readSerialAndModelPmbus" },
                         { 0, "PSU serialNum = 'GTVD1615001656'" },
                         { 0, "PSU modelName = 'DPS550AB6A'" },
                         { 5, "FormatFdl::set( 'serialNum', 'GTVD1615001656' )" } } ) );
}

TEST_F( PsuSlotTest, SecondQueryUsesTheCacheAndGivesACopyOfItsOwn ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "A" );
    char *first = nullptr, *second = nullptr;
    EXPECT_EQ( made->getPresence( &first ), PL_STATUS_OK );
    host_.traces.clear();
    EXPECT_EQ( made->getPresence( &second ), PL_STATUS_OK );
    EXPECT_EQ( host_.traces, ( Traces{ { 7, "getPresence" },
                                       { 7, "readSerialAndModel_" },
                                       { 7, "readSerialAndModelPmbus" },
                                       { 7, "Using cached fdl" } } ) );
    EXPECT_NE( first, second );
    first[ 0 ] = '9'; // the caller's to do with as it likes
    EXPECT_STREQ( second, "550 W, A" );
    EXPECT_EQ( presence( *made ), "550 W, A" );
    std::free( first );
    std::free( second );
}

TEST_F( PsuSlotTest, CopyWithoutMemoryFails ) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's memory cannot be limited";
#endif
    const std::string text = std::string( MemoryLimit::tooMuch, 'x' ) + "A";
    const auto made = slot( slotArguments(
        "pmbus", { { "psuFdl_1", std::string( MemoryLimit::tooMuch, 'x' ) + "{serialNum}" } } ) );
    insert( "DPS550AB6A", "A" );
    EXPECT_EQ( presence( *made ), text );
    host_.traces.clear();
    char *fdl = nullptr;
    pl_status status;
    {
        const MemoryLimit limit;
        status = made->getPresence( &fdl );
    }
    EXPECT_EQ( status, PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 7, "Using cached fdl" } ) );
    EXPECT_EQ( presence( *made ), text );
}

TEST_F( PsuSlotTest, SwappedSupplyGetsItsOwnText ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "A" );
    EXPECT_EQ( presence( *made ), "550 W, A" );
    insert( "DPS550AB6A", "B" );
    EXPECT_EQ( presence( *made ), "550 W, B" );
    insert( "PS-2471-1AZ1-LF", "B" );
    EXPECT_EQ( presence( *made ), "470 W, B" );
    insert( "DPS550AB6A", "A" );
    EXPECT_EQ( presence( *made ), "550 W, A" );
}

TEST_F( PsuSlotTest, UnidentifiedSupplyIsNotPresentAndForgetsTheText ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "A" );
    presence( *made );
    ham_.statuses = { 6 };
    host_.traces.clear();
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 7, "Failed to read PSU info '' ''" } ) );
    host_.traces.clear();
    presence( *made );
    EXPECT_THAT( host_.texts( 7 ), Not( Contains( "Using cached fdl" ) ) );
}

TEST_F( PsuSlotTest, UnknownModelIsUnmanaged ) {
    const auto made = slot( slotArguments( "pmbus" ) );
    insert( "DPS550AB6A", "A" );
    presence( *made );
    insert( "SOMETHING", "A" );
    host_.traces.clear();
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "Unknown modelName. PSU is unmanaged" } ) );
    insert( "DPS550AB6A", "A" );
    host_.traces.clear();
    presence( *made );
    EXPECT_THAT( host_.texts( 7 ), Not( Contains( "Using cached fdl" ) ) );
}

TEST_F( PsuSlotTest, UnknownModelAbortsWhenToldTo ) {
    const auto made = slot( slotArguments( "pmbus", { { "assertOnUnknownModelName", "true" } } ) );
    insert( "SOMETHING", "A" );
    EXPECT_DEATH( presence( *made ), assertionFailure( file, "!assertOnUnknownModelName_" ) );
    insert( "DPS550AB6A", "A" );
    EXPECT_EQ( presence( *made ), "550 W, A" );
}

TEST_F( PsuSlotTest, NameWithAPlaceholderCountsAsUnidentified ) {
    const auto made = slot(
        slotArguments( "pmbus", { { "model_3", "{serialNum}" }, { "psuFdl_3", "{serialNum}" } } ) );
    insert( "DPS550AB6A", "x{serialNum}" );
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( host_.traces.back(),
               ( Trace{ 7, "Failed to read PSU info 'x{serialNum}' 'DPS550AB6A'" } ) );
    insert( "{serialNum}", "A" );
    presence( *made, PL_STATUS_NOT_PRESENT );
}

TEST_F( PsuSlotTest, TemplateWithoutTheSerialNumberAborts ) {
    const auto made = slot( slotArguments( "pmbus", { { "psuFdl_1", "550 W" } } ) );
    insert( "DPS550AB6A", "A" );
    EXPECT_DEATH( presence( *made ), "Invalid key in FormatFdl::set" );
}

// Lines

TEST_F( PsuSlotTest, BothLinesAreReadFirst ) {
    const auto made = slotWithLines();
    insert( "DPS550AB6A", "A" );
    gpioHam_.bytes[ 9 ] = 0x24;
    EXPECT_EQ( presence( *made ), "550 W, A" );
    EXPECT_EQ( gpioHam_.log,
               ( Log{ "prepare", "read8 0x09", "execute", "prepare", "read8 0x09", "execute" } ) );
}

TEST_F( PsuSlotTest, PolarityOfEachLineIsItsOwn ) {
    const struct {
        Arguments flags;
        uint8_t present, powerOk; ///< levels that mean so
    } cases[] = {
        { {}, 0x04, 0x20 },
        { { { "presenceActiveLow", "true" } }, 0x00, 0x20 },
        { { { "powerOkActiveLow", "true" } }, 0x04, 0x00 },
        { { { "presenceActiveLow", "true" }, { "powerOkActiveLow", "true" } }, 0x00, 0x00 },
        { { { "presenceActiveLow", "yes" }, { "powerOkActiveLow", "false" } }, 0x04, 0x20 },
    };
    insert( "DPS550AB6A", "A" );
    for ( const auto &[ flags, present, powerOk ] : cases ) {
        const auto made = slotWithLines( flags );
        gpioHam_.bytes[ 9 ] = present | powerOk;
        EXPECT_EQ( presence( *made ), "550 W, A" );
        // Without power:
        host_.traces.clear();
        ham_.takeLog();
        gpioHam_.bytes[ 9 ] = static_cast<uint8_t>( present | ( powerOk ^ 0x20 ) );
        presence( *made, PL_STATUS_NOT_PRESENT );
        EXPECT_EQ( host_.traces, ( Traces{ { 7, "getPresence" },
                                           { 0, "Unknown modelName. PSU is unmanaged" } } ) );
        // Absent:
        host_.traces.clear();
        for ( const uint8_t power : { powerOk, static_cast<uint8_t>( powerOk ^ 0x20 ) } ) {
            gpioHam_.bytes[ 9 ] = static_cast<uint8_t>( ( present ^ 0x04 ) | power );
            presence( *made, PL_STATUS_NOT_PRESENT );
        }
        EXPECT_EQ( host_.traces, ( Traces{ { 7, "getPresence" }, { 7, "getPresence" } } ) );
        EXPECT_TRUE( ham_.log.empty() );
    }
}

TEST_F( PsuSlotTest, SupplyWithoutPowerIsUnknownWhateverTheTableHolds ) {
    const auto made =
        slotWithLines( { { "model_3", "PWR-UNKNOWN" }, { "psuFdl_3", "{serialNum}" } } );
    gpioHam_.bytes[ 9 ] = 0x04;
    presence( *made, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( host_.traced( 0, "Unknown modelName. PSU is unmanaged" ) );
}

TEST_F( PsuSlotTest, SupplyWithoutPowerAbortsWhenToldTo ) {
    const auto made = slotWithLines( { { "assertOnUnknownModelName", "true" } } );
    gpioHam_.bytes[ 9 ] = 0x04;
    EXPECT_DEATH( presence( *made ), assertionFailure( file, "!assertOnUnknownModelName_" ) );
}

TEST_F( PsuSlotTest, SupplyThatLostPowerIsFilledInAnew ) {
    const auto made = slotWithLines();
    insert( "DPS550AB6A", "A" );
    gpioHam_.bytes[ 9 ] = 0x24;
    presence( *made );
    gpioHam_.bytes[ 9 ] = 0x04;
    presence( *made, PL_STATUS_NOT_PRESENT );
    gpioHam_.bytes[ 9 ] = 0x24;
    host_.traces.clear();
    presence( *made );
    EXPECT_THAT( host_.texts( 7 ), Not( Contains( "Using cached fdl" ) ) );
}

TEST_F( PsuSlotTest, FailedLinesAreReturned ) {
    const auto made = slotWithLines();
    gpioHam_.bytes[ 9 ] = 0x24;
    gpioHam_.statuses = { 4 };
    presence( *made, PL_STATUS_TRANSPORT );
    gpioHam_.statuses = { 0, 6 };
    presence( *made, PL_STATUS_FAILED );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PsuSlotTest, OneLineAloneIsNotAsked ) {
    const char *const keys[] = { "gpioDevice", "presenceReg", "presenceBit", "powerOkReg",
                                 "powerOkBit" };
    loadGpioDevice();
    insert( "DPS550AB6A", "A" );
    for ( const char *missing : keys ) {
        Arguments arguments = slotArguments( "pmbus", { { "gpioDevice", "cpld" },
                                                        { "presenceReg", "9" },
                                                        { "presenceBit", "2" },
                                                        { "powerOkReg", "9" },
                                                        { "powerOkBit", "5" } } );
        arguments.erase( missing );
        const auto made = slot( arguments );
        gpioHam_.takeLog();
        EXPECT_EQ( presence( *made ), "550 W, A" ) << missing;
        EXPECT_TRUE( gpioHam_.log.empty() ) << missing;
    }
}

// Simulation

TEST_F( PsuSlotTest, DeclaresTenRegisters ) {
    const auto &table = *driver_->expectedValues();
    std::map<unsigned, std::string> declared;
    for ( const auto &[ reg, value ] : table ) {
        declared[ reg ] = value.isNumeric() ? std::to_string( value.val() ) : value.valStr();
    }
    EXPECT_EQ( declared, ( std::map<unsigned, std::string>{ { 4, "1" },
                                                            { 11, "197" },
                                                            { 17, "203" },
                                                            { 18, "DPS550AB6A " },
                                                            { 29, "202" },
                                                            { 40, "195" },
                                                            { 44, "206" },
                                                            { 45, "GTVD1615001656" },
                                                            { 0x9A, "B DPS550AB6A" },
                                                            { 0x9E, "F GTVD1615001656" } } ) );
    for ( const unsigned reg : { 4, 11, 17, 29, 40, 44 } ) {
        EXPECT_EQ( table.at( reg ).size(), 1u );
    }
    for ( const unsigned reg : { 18, 45, 0x9A, 0x9E } ) {
        EXPECT_EQ( table.at( reg ).size(), table.at( reg ).valStr().size() );
    }
}

class PsuSlotSimulation : public SimulationFixture,
                          public testing::WithParamInterface<const char *> {};

TEST_P( PsuSlotSimulation, ShowsTheSampleSupply ) {
    loadDevices( R"({ "did": 9 })" );
    const std::string description =
        R"({ "driver": "PsuSlot", "did": 9, "name": "psu1", "address": { "address": 88 },
             "driverArgs": { "psuId": 1, "ipmiId": "psu1", "model_1": "DPS550AB6A",
                             "psuFdl_1": "no {serialNum}", "identificationType": ")" +
        std::string( GetParam() ) + "\", \"allowInvalidCommonHeaderChecksum\": true } }";
    pl_slot *slot = pl_slot_add( description.c_str() );
    ASSERT_NE( slot, nullptr );
    for ( int i = 0; i < 2; ++i ) {
        char *fdl = nullptr;
        EXPECT_EQ( slot->ops->get_presence( slot, &fdl ), PL_STATUS_OK );
        ASSERT_STREQ( fdl, "no GTVD1615001656" );
        std::free( fdl );
    }
    EXPECT_TRUE( host_.traced( 7, "Using cached fdl" ) );
}

INSTANTIATE_TEST_SUITE_P( Types, PsuSlotSimulation, testing::Values( "pmbus", "ipmi" ),
                          []( const auto &type ) { return std::string( type.param ); } );

} // namespace
