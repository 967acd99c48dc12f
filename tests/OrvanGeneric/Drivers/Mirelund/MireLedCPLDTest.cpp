#include "OrvanGeneric/Drivers/Mirelund/MireLedCPLD.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;

class MireCLedCPLDTest : public testing::Test {
  protected:
    MireCLedCPLDTest() : driver_( Drivers::MireCLedCPLD::create( Drivers::DriverArgs(), &ham_ ) ) {
        driver_->hamIs( &ham_ );
    }

    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
};

/** Each write is a transaction of its own. */
Log writes( const std::vector<std::string> &operations ) {
    Log log;
    for ( const std::string &operation : operations ) {
        log.insert( log.end(), { "prepare", operation, "execute" } );
    }
    return log;
}

const std::vector<std::string> setUp = {
    "write8 0x00 0x00", "write8 0x01 0x00", "write8 0x02 0x00", "write8 0x03 0x00",
    "write8 0x04 0x00", "write8 0x05 0x00", "write8 0x08 0x00", "write8 0x09 0x00",
    "write8 0x0a 0x00", "write8 0x0b 0x00", "write8 0x06 0xff", "write8 0x07 0xff",
};

TEST_F( MireCLedCPLDTest, CreationIsTraced ) {
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 5, "Creating MireCLedCPLD device" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MireCLedCPLDTest, InitClearsTenRegistersAndSetsTwo ) {
    FakeHost::instance().traces.clear();
    EXPECT_EQ( driver_->init(), 0 );
    EXPECT_EQ( ham_.log, writes( setUp ) );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "Successfully disable QSFP Port LEDs" },
                         { 0, "Successfully enable QSFP Port LEDs" } } ) );
}

TEST_F( MireCLedCPLDTest, AFailedWriteIsTracedAndTheRestFollows ) {
    FakeHost::instance().traces.clear();
    // The seventh write is register 8, the twelfth register 7.
    ham_.statuses = { 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 6 };
    EXPECT_EQ( driver_->init(), 0 );
    EXPECT_EQ( ham_.log, writes( setUp ) );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "Failed to write QSFP Port LED Register: 8" },
                         { 0, "Successfully disable QSFP Port LEDs" },
                         { 0, "Failed to write QSFP Port LED Register: 7" },
                         { 0, "Successfully enable QSFP Port LEDs" } } ) );
}

TEST_F( MireCLedCPLDTest, BeforeInitThereIsNothingToWrite ) {
    static_cast<Drivers::MireLedCPLD *>( driver_.get() )->setLedsRegister();
    EXPECT_TRUE( ham_.log.empty() );
}

TEST( MireLedCPLD, TheRegistryHoldsOnlyTheKindThatIsSetUp ) {
    ScriptedHam ham;
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "MireCLedCPLD" )( Drivers::DriverArgs(), &ham ) );
    EXPECT_NE( dynamic_cast<Drivers::MireCLedCPLD *>( made.get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireZLedCPLD" ), 0u );
    EXPECT_EQ( Drivers::drivers.count( "MireTLedCPLD" ), 0u );
}

/** The two kinds with GPIO lines behave alike. */
struct GpioKind {
    const char *name;
    Component::HardwareDevice *( *create )( const Drivers::DriverArgs &, Ham::Ham * );
};

class MireGpioLedCPLDTest : public testing::TestWithParam<GpioKind> {
  protected:
    MireGpioLedCPLDTest() : driver_( GetParam().create( args_, &ham_ ) ) {
        driver_->hamIs( &ham_ );
        args_.driverArgs = { { "register", "18" }, { "bitpos", "3" } };
    }

    std::unique_ptr<Component::LogicalDevice::Gpio> newGpio() {
        return std::unique_ptr<Component::LogicalDevice::Gpio>( driver_->newGpio( args_ ) );
    }

    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, MireGpioLedCPLDTest,
    testing::Values( GpioKind{ "MireZLedCPLD", Drivers::MireZLedCPLD::create },
                     GpioKind{ "MireTLedCPLD", Drivers::MireTLedCPLD::create } ),
    []( const auto &kind ) { return std::string( kind.param.name ); } );

TEST_P( MireGpioLedCPLDTest, CreationIsTraced ) {
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 5, std::string( "Creating " ) + GetParam().name + " device" } } ) );
}

TEST_P( MireGpioLedCPLDTest, InitAndSetUpTouchNothing ) {
    driver_->init();
    static_cast<Drivers::MireLedCPLD *>( driver_.get() )->setLedsRegister();
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_P( MireGpioLedCPLDTest, SettingTheLineClearsItsRegisterBit ) {
    ham_.bytes[ 18 ] = 0xFF;
    EXPECT_EQ( newGpio()->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x12", "execute", "prepare", "write8 0x12 0xf7",
                                "execute" } ) );
}

TEST_P( MireGpioLedCPLDTest, ClearingTheLineSetsItsRegisterBit ) {
    ham_.bytes[ 18 ] = 0x01;
    EXPECT_EQ( newGpio()->bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x12", "execute", "prepare", "write8 0x12 0x09",
                                "execute" } ) );
}

TEST_P( MireGpioLedCPLDTest, ReadingGivesTheRegisterBitAsItIs ) {
    ham_.bytes[ 18 ] = 0x08;
    unsigned int value = 0;
    EXPECT_EQ( newGpio()->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
}

TEST_P( MireGpioLedCPLDTest, AFailedReadWritesNothing ) {
    ham_.statuses = { 4 };
    EXPECT_EQ( newGpio()->bitSet(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x12", "execute" } ) );
}

TEST_P( MireGpioLedCPLDTest, TheHostsCallbackReachesTheInvertedLine ) {
    ham_.bytes[ 18 ] = 0xFF;
    const auto gpio = newGpio();
    EXPECT_EQ( gpio->record()->ops->bit_set( gpio->record() ), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 18 ], 0xF7 );
}

TEST_P( MireGpioLedCPLDTest, ALineNeedsItsArguments ) {
    args_.driverArgs.erase( "bitpos" );
    EXPECT_DEATH( driver_->newGpio( args_ ), "it != args.driverArgs.end\\(\\)" );
}

} // namespace
