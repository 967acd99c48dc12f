#include "OrvanGeneric/Drivers/GenericPCA9555.h"

#include <memory>
#include <stdexcept>

#include <gmock/gmock.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Ham/SimHam.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::LogicalDevice::Gpio;
using Drivers::GenericPCA9555;
using testing::HasSubstr;
using Args = std::map<std::string, std::string>;
using Log = std::vector<std::string>;

class GenericPCA9555Test : public testing::Test {
  protected:
    static Drivers::DriverArgs with( const Args &args ) {
        Drivers::DriverArgs result;
        result.driverArgs = args;
        return result;
    }
    /** Makes the driver on the scripted Ham: bank 0 all inputs, bank 1 all outputs. */
    void make( Args args = {} ) {
        args.insert( { { "bank-io-0", "255" }, { "bank-io-1", "0" } } );
        driver_.reset( GenericPCA9555::create( with( args ), &ham_ ) );
        driver_->hamIs( &ham_ );
    }
    std::unique_ptr<Gpio> line( const std::string &bank, const std::string &bit ) {
        return std::unique_ptr<Gpio>(
            driver_->newGpio( with( { { "bank", bank }, { "bit", bit } } ) ) );
    }

    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
    FakeTime time_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( GenericPCA9555Test, TheRegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made( Drivers::drivers.at( "GenericPCA9555" )(
        with( { { "bank-io-0", "0" }, { "bank-io-1", "0" } } ), &ham_ ) );
    EXPECT_NE( dynamic_cast<GenericPCA9555 *>( made.get() ), nullptr );
}

TEST_F( GenericPCA9555Test, CreationTracesTheCacheTimeout ) {
    make();
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Creating ambiguous PCA9555 Device: cacheTimeout 2s" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( GenericPCA9555Test, OfTheCacheTimeoutTheLowEightBitsAreKept ) {
    make( { { "cacheTimeout", "300" } } );
    EXPECT_TRUE( host_.traced( 0, "Creating ambiguous PCA9555 Device: cacheTimeout 44s" ) );
    auto gpio = line( "0", "0" );
    unsigned value;
    FakeTime::now = 1000;
    gpio->bitRead( &value );
    ham_.takeLog();
    FakeTime::now = 1044;
    gpio->bitRead( &value );
    EXPECT_TRUE( ham_.takeLog().empty() );
    FakeTime::now = 1044.5;
    gpio->bitRead( &value );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x00", "execute" } ) );
}

TEST_F( GenericPCA9555Test, TheCacheTimeoutIsTwoSecondsUnlessGiven ) {
    make();
    auto gpio = line( "0", "0" );
    unsigned value;
    gpio->bitRead( &value );
    ham_.takeLog();
    FakeTime::now = 1002;
    gpio->bitRead( &value );
    EXPECT_TRUE( ham_.takeLog().empty() );
    FakeTime::now = 1002.5;
    gpio->bitRead( &value );
    EXPECT_FALSE( ham_.takeLog().empty() );
}

TEST_F( GenericPCA9555Test, BothDirectionsAreRequired ) {
    EXPECT_DEATH( GenericPCA9555::create( with( { { "bank-io-1", "0" } } ), &ham_ ),
                  HasSubstr( "`it != args.driverArgs.end()'" ) );
    EXPECT_DEATH( GenericPCA9555::create( with( { { "bank-io-0", "0" } } ), &ham_ ),
                  HasSubstr( "`it != args.driverArgs.end()'" ) );
}

TEST_F( GenericPCA9555Test, ArgumentsMustBeNumbers ) {
    for ( const char *key : { "bank-io-0", "bank-io-1", "cacheTimeout", "inputBankBase",
                              "outputBankBase", "configBankBase" } ) {
        Args args = { { "bank-io-0", "0" }, { "bank-io-1", "0" } };
        args[ key ] = "all";
        EXPECT_THROW( GenericPCA9555::create( with( args ), &ham_ ), std::invalid_argument ) << key;
    }
}

TEST_F( GenericPCA9555Test, TheFirstDirectionIsReadFirst ) {
    EXPECT_THROW( GenericPCA9555::create( with( { { "bank-io-0", "all" } } ), &ham_ ),
                  std::invalid_argument );
}

TEST_F( GenericPCA9555Test, InitWritesTheDirectionsInOneTransaction ) {
    make();
    EXPECT_EQ( driver_->init(), PL_STATUS_OK );
    // The empty save that follows only opens a batch.
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "write8 0x06 0xff", "write8 0x07 0x00", "execute", "prepare" } ) );
}

TEST_F( GenericPCA9555Test, OfTheDirectionsTheLowEightBitsAreKept ) {
    make( { { "bank-io-0", "511" }, { "bank-io-1", "-2" } } );
    driver_->init();
    EXPECT_EQ( ham_.bytes[ 6 ], 0xff );
    EXPECT_EQ( ham_.bytes[ 7 ], 0xfe );
}

TEST_F( GenericPCA9555Test, InitDoesNotLookAtTheOutcomeOfTheDirections ) {
    make();
    host_.traces.clear();
    ham_.statuses = { 6 };
    EXPECT_EQ( driver_->init(), PL_STATUS_OK );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::save" } } ) );
}

TEST_F( GenericPCA9555Test, InitReportsAFailedSave ) {
    make();
    uint8_t byte;
    static_cast<GenericPCA9555 *>( driver_.get() )->getOutBank( 0, &byte );
    host_.traces.clear();
    ham_.statuses = { 0, 4 };
    EXPECT_EQ( driver_->init(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces.back(),
               ( Trace{ 0, "Error: failed to write PCA9555 pin configuration" } ) );
}

TEST_F( GenericPCA9555Test, TheRegisterBasesMayBeMoved ) {
    make( { { "inputBankBase", "16" }, { "outputBankBase", "32" }, { "configBankBase", "48" } } );
    driver_->init();
    EXPECT_EQ( ham_.takeLog(),
               ( Log{ "prepare", "write8 0x30 0xff", "write8 0x31 0x00", "execute", "prepare" } ) );
    auto gpio = line( "1", "0" );
    unsigned value;
    gpio->bitRead( &value );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x11", "execute" } ) );
    gpio->bitSet();
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x21", "execute", "prepare",
                                      "write8 0x21 0x01", "execute" } ) );
}

TEST_F( GenericPCA9555Test, OneBankTakesOneDirection ) {
    const uint8_t config[] = { 0x0f };
    GenericPCA9555 single( config, 1, 2, 0, 2, 6 );
    single.hamIs( &ham_ );
    single.init();
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x06 0x0f", "execute", "prepare" } ) );
}

TEST_F( GenericPCA9555Test, MoreThanTwoBanksAbort ) {
    const uint8_t config[ 3 ] = {};
    EXPECT_DEATH(
        GenericPCA9555( config, 3, 2, 0, 2, 6 ),
        HasSubstr( "`numBanks <= sizeof( this->config ) / sizeof( this->config[ 0 ] )'" ) );
}

TEST_F( GenericPCA9555Test, BitSetReadsTheOutputAndWritesItWithTheBit ) {
    make();
    ham_.bytes[ 3 ] = 0x81;
    EXPECT_EQ( line( "1", "2" )->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x03", "execute", "prepare", "write8 0x03 0x85",
                                "execute" } ) );
}

TEST_F( GenericPCA9555Test, BitClearReadsTheOutputAndWritesItWithoutTheBit ) {
    make();
    ham_.bytes[ 2 ] = 0x81;
    EXPECT_EQ( line( "0", "7" )->bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x02", "execute", "prepare", "write8 0x02 0x01",
                                "execute" } ) );
}

TEST_F( GenericPCA9555Test, AnOutputAlreadyReadIsNotReadAgain ) {
    make();
    uint8_t byte;
    static_cast<GenericPCA9555 *>( driver_.get() )->getOutBank( 1, &byte );
    ham_.takeLog();
    EXPECT_EQ( line( "1", "0" )->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x03 0x01", "execute" } ) );
}

TEST_F( GenericPCA9555Test, AFailedWriteOfABitIsTracedAndReturned ) {
    make();
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( line( "1", "0" )->bitSet(), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "GenericPCA9555 bitSet() failed!" } ) );
    ham_.statuses = { 0, 4 };
    EXPECT_EQ( line( "1", "0" )->bitClear(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "GenericPCA9555 bitClear() failed!" } ) );
}

TEST_F( GenericPCA9555Test, AChangeWhoseOutputReadFailedWritesNothingAndReportsTheSaveAlone ) {
    make();
    ham_.statuses = { 6 };
    EXPECT_EQ( line( "1", "0" )->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute", "prepare" } ) );
    EXPECT_FALSE( host_.traced( 0, "GenericPCA9555 bitSet() failed!" ) );
    ham_.statuses = { 4 };
    EXPECT_EQ( line( "1", "0" )->bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute", "prepare" } ) );
}

TEST_F( GenericPCA9555Test, BitReadTakesTheInputNotTheOutput ) {
    make();
    ham_.bytes[ 0 ] = 0x20;
    ham_.bytes[ 2 ] = 0x00;
    unsigned value = 9;
    EXPECT_EQ( line( "0", "5" )->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
    EXPECT_EQ( line( "0", "4" )->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0u );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x00", "execute" } ) );
}

TEST_F( GenericPCA9555Test, AFailedBitReadGivesZero ) {
    make();
    ham_.statuses = { 6 };
    unsigned value = 9;
    EXPECT_EQ( line( "0", "5" )->bitRead( &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, 0u );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "GenericPCA9555 bitRead() failed!" } ) );
}

TEST_F( GenericPCA9555Test, ALineNeedsBankAndBit ) {
    make();
    EXPECT_DEATH( driver_->newGpio( with( { { "bit", "0" } } ) ),
                  HasSubstr( "`it != args.driverArgs.end()'" ) );
    EXPECT_DEATH( driver_->newGpio( with( { { "bank", "0" } } ) ),
                  HasSubstr( "`it != args.driverArgs.end()'" ) );
}

TEST_F( GenericPCA9555Test, ALineBeyondTheChipAbortsAtItsFirstUse ) {
    make();
    unsigned value;
    auto bank = line( "2", "0" );
    EXPECT_DEATH( bank->bitRead( &value ), HasSubstr( "`n < numBanks_'" ) );
    EXPECT_DEATH( bank->bitSet(), HasSubstr( "`n < numBanks_'" ) );
    auto bit = line( "0", "8" );
    EXPECT_DEATH( bit->bitRead( &value ), HasSubstr( "`bit <= 7'" ) );
    EXPECT_DEATH( bit->bitClear(), HasSubstr( "`bit <= 7'" ) );
}

TEST_F( GenericPCA9555Test, OffersNoOtherPeripherals ) {
    make();
    EXPECT_THROW( driver_->newFan( with( {} ) ), Component::NotImplementedException );
    EXPECT_THROW( driver_->newLed( with( {} ) ), Component::NotImplementedException );
}

TEST_F( GenericPCA9555Test, InSimulationLinesReadZeroAndWritesWarn ) {
    make();
    Ham::SimHam simulated;
    EXPECT_TRUE( driver_->expectedValues()->empty() );
    driver_->hamIs( &simulated );
    simulated.setDriverName( "GenericPCA9555", "" );
    simulated.setExpected( driver_->expectedValues() );
    EXPECT_EQ( driver_->init(), PL_STATUS_OK );
    EXPECT_TRUE( host_.traced( 0, "WARNING: Simulated Driver GenericPCA9555 doesn't yet have "
                                  "expectedVal set for register 0x6 using SIMULATION_HAM()\n" ) );
    unsigned value = 9;
    EXPECT_EQ( line( "0", "5" )->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0u );
    host_.traces.clear();
    EXPECT_EQ( line( "1", "0" )->bitSet(), PL_STATUS_OK );
    EXPECT_TRUE( host_.traced( 0, "WARNING: Simulated Driver GenericPCA9555 doesn't yet have "
                                  "expectedVal set for register 0x3 using SIMULATION_HAM()\n" ) );
}

} // namespace
