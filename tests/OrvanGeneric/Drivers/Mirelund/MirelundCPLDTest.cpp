#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;
using Log = std::vector<std::string>;

/** A word as the bus has it: the CPLD sends its high byte first. */
constexpr uint16_t onTheBus( unsigned word ) {
    return static_cast<uint16_t>( ( word & 0xFF ) << 8 | word >> 8 );
}

const Log poll = { "prepare",     "read16 0x01", "read16 0x02",
                   "read16 0x03", "read16 0x04", "execute" };

class MirelundCPLDTest : public testing::Test {
  protected:
    MirelundCPLDTest() : cpld_( &madeCpld() ) {}

    /** Sets all registers, then lets the host's timer fire. */
    void poll16( unsigned reg1, unsigned reg2, unsigned reg3, unsigned reg4 ) {
        ham_.words = { { 1, onTheBus( reg1 ) },
                       { 2, onTheBus( reg2 ) },
                       { 3, onTheBus( reg3 ) },
                       { 4, onTheBus( reg4 ) } };
        ASSERT_EQ( host_.fireAll(), 1 );
        ham_.takeLog();
    }
    std::unique_ptr<SfpXcvr> sfp( unsigned id ) {
        return std::unique_ptr<SfpXcvr>( cpld_->newSfpXcvr( id, args_ ) );
    }
    std::unique_ptr<QsfpXcvr> qsfp( unsigned id ) {
        return std::unique_ptr<QsfpXcvr>( cpld_->newQsfpXcvr( id, args_ ) );
    }
    void start() {
        cpld_->init();
        ham_.takeLog();
        host_.traces.clear();
    }

    FakeHost &host_ = FakeHost::instance();
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> owner_;
    Drivers::MirelundQCPLD *cpld_;

  private:
    Drivers::MirelundQCPLD &madeCpld() {
        owner_.reset( Drivers::MirelundQCPLD::create( args_, &ham_ ) );
        owner_->hamIs( &ham_ );
        return dynamic_cast<Drivers::MirelundQCPLD &>( *owner_ );
    }
};

TEST_F( MirelundCPLDTest, CreationMakesATimerThatIsNotArmed ) {
    EXPECT_EQ( host_.traces,
               ( Traces{ { 5, "Creating MirelundQCPLD device" }, { 0, "creating timer" } } ) );
    ASSERT_EQ( host_.timers.size(), 1u );
    EXPECT_FALSE( host_.timers.begin()->second.armed );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundCPLDTest, InitReadsTheFourRegistersInOneTransactionAndPollsEverySecond ) {
    host_.traces.clear();
    EXPECT_EQ( cpld_->init(), 0 );
    EXPECT_EQ( ham_.log, poll );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "MirelundQCPLD init function" },
                                       { 0, "MireXcvrCPLD::init()" },
                                       { 6, "Register cache updated for MireXcvrCPLD" },
                                       { 0, "setting polling interval to 1000ms" } } ) );
    const FakeHost::Timer &timer = host_.timers.begin()->second;
    EXPECT_TRUE( timer.armed );
    EXPECT_EQ( timer.milliseconds, 1000u );
}

TEST_F( MirelundCPLDTest, AFailedFirstPollDoesNotStopThePolling ) {
    host_.traces.clear();
    ham_.statuses = { 4 };
    EXPECT_EQ( cpld_->init(), 0 );
    EXPECT_TRUE( host_.traced( 0, "Failed to poll information for MireXcvrCPLD" ) );
    EXPECT_FALSE( host_.traced( 6, "Register cache updated for MireXcvrCPLD" ) );
    poll16( 0x2000, 0, 0, 0 );
    EXPECT_EQ( sfp( 1 )->getPresence(), 1 );
}

TEST_F( MirelundCPLDTest, SecondInitGivesTheRefreshResultAndReadsEachRegisterTwice ) {
    start();
    EXPECT_EQ( cpld_->init(), 1 );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read16 0x01", "read16 0x02", "read16 0x03", "read16 0x04",
                      "read16 0x01", "read16 0x02", "read16 0x03", "read16 0x04", "execute" } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "MirelundQCPLD init function" },
                                       { 0, "MireXcvrCPLD::init()" },
                                       { 6, "Register cache updated for MireXcvrCPLD" } } ) );
    EXPECT_EQ( host_.timers.begin()->second.sets, 1 );
    ham_.statuses = { 6 };
    EXPECT_EQ( cpld_->init(), 0 );
}

TEST_F( MirelundCPLDTest, RegistersListedTwiceAreStillReadRight ) {
    start();
    cpld_->init();
    poll16( 0x2000, 0, 0, 0x0002 );
    EXPECT_EQ( sfp( 1 )->getPresence(), 1 );
    EXPECT_EQ( sfp( 16 )->getPresence(), 1 );
    EXPECT_EQ( sfp( 5 )->getPresence(), 0 );
}

TEST_F( MirelundCPLDTest, TimerThatCannotBeArmedAbortsInit ) {
    host_.refuseTimerSet = true;
    EXPECT_DEATH( cpld_->init(), "MirelundCPLD.cpp.*pollStart\\(\\)" );
}

TEST_F( MirelundCPLDTest, HostWithoutTimersAbortsInit ) {
    host_.refuseTimers = true;
    std::unique_ptr<Component::HardwareDevice> device(
        Drivers::MirelundYCPLD::create( args_, &ham_ ) );
    device->hamIs( &ham_ );
    EXPECT_DEATH( device->init(), "pollStart\\(\\)" );
}

TEST_F( MirelundCPLDTest, ExpiryPollsAndArmsAgain ) {
    start();
    EXPECT_EQ( host_.fireAll(), 1 );
    EXPECT_EQ( ham_.log, poll );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "pollCallbackWrapper" },
                                       { 6, "Register cache updated for MireXcvrCPLD" } } ) );
    const FakeHost::Timer &timer = host_.timers.begin()->second;
    EXPECT_TRUE( timer.armed );
    EXPECT_EQ( timer.milliseconds, 1000u );
    EXPECT_EQ( timer.sets, 2 );
}

TEST_F( MirelundCPLDTest, TimerThatCannotBeArmedAgainStopsThePollingOnly ) {
    start();
    host_.refuseTimerSet = true;
    EXPECT_EQ( host_.fireAll(), 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "pollCallbackWrapper" },
                                       { 6, "Register cache updated for MireXcvrCPLD" },
                                       { 0, "failed to set timer interval" } } ) );
    EXPECT_EQ( host_.fireAll(), 0 );
}

TEST_F( MirelundCPLDTest, FailedPollKeepsTheLastKnownValues ) {
    start();
    poll16( 0x2000, 0, 0, 0 );
    const auto port = sfp( 1 );
    host_.traces.clear();
    ham_.words.clear();
    ham_.statuses = { 4 };
    EXPECT_EQ( host_.fireAll(), 1 );
    EXPECT_EQ( host_.texts( 0 ), Log{ "Failed to poll information for MireXcvrCPLD" } );
    EXPECT_EQ( port->getPresence(), 1 );
    EXPECT_EQ( host_.fireAll(), 1 ) << "a failed poll must be followed by another";
    EXPECT_EQ( port->getPresence(), 0 );
}

TEST_F( MirelundCPLDTest, DestructionDeletesTheTimer ) {
    const uint32_t timer = host_.timers.begin()->first;
    host_.traces.clear();
    owner_.reset();
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "destroying timer" } } ) );
    EXPECT_EQ( host_.deletedTimers, std::vector<uint32_t>{ timer } );
}

TEST_F( MirelundCPLDTest, WriteChangesThePolledCopyAndCostsOneWordWrite ) {
    start();
    poll16( 0x1234, 0, 0, 0 );
    ham_.words[ 1 ] = 0; // changed without the driver: the cached copy counts
    const auto port = sfp( 1 );
    EXPECT_EQ( port->setTxDisable( 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x01 0x3452", "execute" } ) );
}

TEST_F( MirelundCPLDTest, WriteIsReadBackFromTheCacheUntilThePollSaysOtherwise ) {
    start();
    poll16( 0, 0, 0x8000, 0 );
    const auto port = qsfp( 9 );
    port->setReset( 1 );
    ham_.takeLog();
    int reset = -1;
    EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
    EXPECT_EQ( reset, 1 );
    EXPECT_TRUE( ham_.log.empty() );
    poll16( 0, 0, 0x8000, 0 );
    port->getReset( &reset );
    EXPECT_EQ( reset, 0 );
}

TEST_F( MirelundCPLDTest, BeforeTheFirstPollAllBitsAreZero ) {
    const auto sfpPort = sfp( 20 );
    const auto qsfpPort = qsfp( 20 );
    int los = -1, fault = -1, disabled = -1, interrupt = -1, reset = -1, lowPower = -1;
    EXPECT_EQ( sfpPort->getPresence(), 0 );
    sfpPort->getRxLos( &los );
    sfpPort->getTxFault( &fault );
    sfpPort->getTxDisable( &disabled );
    EXPECT_EQ( los, 0 );
    EXPECT_EQ( fault, 0 );
    EXPECT_EQ( disabled, 0 );
    EXPECT_EQ( qsfpPort->getPresence(), 0 );
    qsfpPort->getInterrupt( &interrupt );
    qsfpPort->getReset( &reset );
    qsfpPort->getLpMode( &lowPower );
    EXPECT_EQ( interrupt, 1 );
    EXPECT_EQ( reset, 1 );
    EXPECT_EQ( lowPower, 0 );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundCPLDTest, HostReachesThePortThroughItsRecord ) {
    start();
    poll16( 0, 0x0D20, 0, 0 );
    const auto sfpPort = sfp( 7 );
    pl_xcvr *record = sfpPort->record();
    EXPECT_EQ( record->ops->u.sfp.get_presence( record ), 1 );
    EXPECT_EQ( record->ops->u.sfp.set_tx_disable( record, 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x02 0x600d", "execute" } ) );
    const auto qsfpPort = qsfp( 6 );
    record = qsfpPort->record();
    int value = -1;
    EXPECT_EQ( record->ops->u.qsfp.get_interrupt( record, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
}

TEST_F( MirelundCPLDTest, RegisterBitWithRefreshReadsTheRegister ) {
    ham_.words[ 3 ] = 0x0080; // 0x8000 in host order
    int value = -1;
    EXPECT_EQ( cpld_->getRegisterBit( 3, 15, &value, true ), PL_STATUS_OK );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x03", "execute" } ) );
    ham_.words[ 3 ] = 0;
    EXPECT_EQ( cpld_->getRegisterBit( 3, 15, &value, false ), PL_STATUS_OK );
    EXPECT_EQ( value, 1 ) << "what a refresh read is kept";
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundCPLDTest, RegisterBitWhoseRefreshFailsLeavesOutputAndCache ) {
    int value = -1;
    ham_.words[ 3 ] = 0xFFFF;
    ham_.statuses = { 6 };
    EXPECT_EQ( cpld_->getRegisterBit( 3, 15, &value, true ), PL_STATUS_FAILED );
    EXPECT_EQ( value, -1 );
    EXPECT_EQ( cpld_->getRegisterBit( 3, 15, &value, false ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
}

TEST_F( MirelundCPLDTest, RegisterNeverPolledReadsZero ) {
    int value = -1;
    EXPECT_EQ( cpld_->getRegisterBit( 200, 3, &value, false ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundCPLDTest, RegisterWriteWithRefreshStartsFromTheChip ) {
    ham_.words[ 2 ] = 0x3412; // 0x1234 in host order
    EXPECT_EQ( cpld_->setRegisterBit( 2, 0, 1, true ), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x02", "execute", "prepare",
                                      "write16 0x02 0x3512", "execute" } ) );
    EXPECT_EQ( cpld_->setRegisterBit( 2, 12, 0, false ), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write16 0x02 0x3502", "execute" } ) );
}

TEST_F( MirelundCPLDTest, RegisterWriteWhoseRefreshFailsWritesNothing ) {
    ham_.words[ 2 ] = 0xFFFF;
    ham_.statuses = { 4 };
    EXPECT_EQ( cpld_->setRegisterBit( 2, 0, 1, true ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x02", "execute" } ) );
    int value = -1;
    cpld_->getRegisterBit( 2, 0, &value, false );
    EXPECT_EQ( value, 0 );
}

TEST_F( MirelundCPLDTest, RegisterWriteThatFailsAfterARefreshKeepsTheCache ) {
    ham_.words[ 2 ] = 0x3412;
    ham_.statuses = { 0, 4 };
    EXPECT_EQ( cpld_->setRegisterBit( 2, 0, 1, true ), PL_STATUS_TRANSPORT );
    int value = -1;
    cpld_->getRegisterBit( 2, 12, &value, false );
    EXPECT_EQ( value, 0 ) << "neither the refreshed nor the wanted value was stored";
}

TEST_F( MirelundCPLDTest, ActiveLowNegatesOnSuccessOnly ) {
    int value = 0;
    EXPECT_EQ( cpld_->activeLow( PL_STATUS_OK, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1 );
    value = 5;
    EXPECT_EQ( cpld_->activeLow( PL_STATUS_OK, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    value = 5;
    EXPECT_EQ( cpld_->activeLow( PL_STATUS_TRANSPORT, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 5 );
}

TEST_F( MirelundCPLDTest, SimulatedRegistersAreFourZerosOfOneByte ) {
    const Utils::ExpectedValues &values = *cpld_->expectedValues();
    ASSERT_EQ( values.size(), 4u );
    for ( const unsigned reg : { 1u, 2u, 3u, 4u } ) {
        const Utils::ExpectedVal &value = values.at( reg );
        EXPECT_EQ( value.val(), 0u );
        EXPECT_EQ( value.size(), 1u );
        EXPECT_TRUE( value.isNumeric() );
        EXPECT_EQ( value.valStr(), "" );
    }
}

TEST_F( MirelundCPLDTest, OffersTransceiversAndRegisterBitsOnly ) {
    EXPECT_THROW( cpld_->newFan( args_ ), Component::NotImplementedException );
    EXPECT_THROW( cpld_->newLed( args_ ), Component::NotImplementedException );
    EXPECT_THROW( cpld_->newSlot( args_ ), Component::NotImplementedException );
}

/** The SFP-only variants. */
struct Variant {
    const char *name;
    Component::HardwareDevice *( *create )( const Drivers::DriverArgs &, Ham::Ham * );
};
void PrintTo( const Variant &variant, std::ostream *out ) {
    *out << variant.name;
}

class MirelundSfpOnlyCPLDTest : public testing::TestWithParam<Variant> {
  protected:
    MirelundSfpOnlyCPLDTest() : device_( GetParam().create( args_, &ham_ ) ) {
        device_->hamIs( &ham_ );
    }

    FakeHost &host_ = FakeHost::instance();
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

TEST_P( MirelundSfpOnlyCPLDTest, CreationAndInitTraceTheVariantsName ) {
    EXPECT_EQ( device_->init(), 0 );
    const std::string name = GetParam().name;
    EXPECT_EQ( host_.texts( 5 ),
               ( Log{ "Creating " + name + " device", name + " init function" } ) );
    EXPECT_EQ( ham_.log, poll );
}

TEST_P( MirelundSfpOnlyCPLDTest, ServesSfpPortsButNoQsfpPort ) {
    ham_.words[ 4 ] = 0x0200; // 0x0002 in host order: the last port of a CPLD
    device_->init();
    std::unique_ptr<SfpXcvr> port( device_->newSfpXcvr( 48, args_ ) );
    EXPECT_EQ( port->getPresence(), 1 );
    EXPECT_TRUE( host_.traced( 5, "id=47 reg=0x4 bit=0" ) );
    EXPECT_THROW( device_->newQsfpXcvr( 1, args_ ), Component::NotImplementedException );
}

TEST_P( MirelundSfpOnlyCPLDTest, DeclaresNoSimulationValues ) {
    EXPECT_TRUE( device_->expectedValues()->empty() );
}

INSTANTIATE_TEST_SUITE_P(
    Variants, MirelundSfpOnlyCPLDTest,
    testing::Values( Variant{ "MirelundYCPLD", Drivers::MirelundYCPLD::create },
                     Variant{ "MirelundZCPLD", Drivers::MirelundZCPLD::create } ),
    []( const auto &variant ) { return variant.param.name; } );

TEST( MirelundCPLDRegistry, KeysOfTheVariants ) {
    Drivers::DriverArgs args;
    std::unique_ptr<Component::DeviceBase> q( Drivers::drivers.at( "MireQCPLD" )( args, nullptr ) );
    EXPECT_NE( dynamic_cast<Drivers::MirelundQCPLD *>( q.get() ), nullptr );
    std::unique_ptr<Component::DeviceBase> y( Drivers::drivers.at( "MireYCPLD" )( args, nullptr ) );
    EXPECT_NE( dynamic_cast<Drivers::MirelundYCPLD *>( y.get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireZCPLD" ), 0u );
}

} // namespace
