#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Log = std::vector<std::string>;

/** Bank and lowest bit of the ports 49 to 54: four to an expander. */
struct Position {
    unsigned bank;
    unsigned bit;
};
constexpr Position positions[ 6 ] = { { 0, 0 }, { 0, 4 }, { 1, 0 }, { 1, 4 }, { 0, 0 }, { 0, 4 } };

class MireSPCA9555Test : public testing::Test {
  protected:
    MireSPCA9555Test() {
        args_.driverArgs = { { "bank-io-0", "102" }, { "bank-io-1", "98" } };
        device_.reset( Drivers::MireSQSFP::create( args_, &ham_ ) );
        device_->hamIs( &ham_ );
    }
    std::unique_ptr<QsfpXcvr> qsfp( unsigned id ) {
        return std::unique_ptr<QsfpXcvr>( device_->newQsfpXcvr( id, args_ ) );
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

TEST_F( MireSPCA9555Test, CreationTraces ) {
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "Creating Mirelund QSFP device" } } ) );
}

TEST_F( MireSPCA9555Test, RegistryKeyMakesTheTransceiverDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "MireSPCA9555" )( args_, &ham_ ) );
    EXPECT_NE( dynamic_cast<Drivers::MireSQSFP *>( made.get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireSQSFP" ), 0u );
}

TEST_F( MireSPCA9555Test, MissingDirectionsAbort ) {
    for ( const char *key : { "bank-io-0", "bank-io-1" } ) {
        Drivers::DriverArgs args = args_;
        args.driverArgs.erase( key );
        EXPECT_DEATH( Drivers::MireSQSFP::create( args, &ham_ ),
                      "it != args.driverArgs.end\\(\\)" );
    }
}

TEST_F( MireSPCA9555Test, InitWritesTheDirectionsOfBothBanks ) {
    EXPECT_EQ( device_->init(), 0 );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "write8 0x06 0x66", "write8 0x07 0x62", "execute", "prepare" } ) );
}

TEST_F( MireSPCA9555Test, EachPortReadsItsOwnNibble ) {
    for ( unsigned id = 49; id <= 54; ++id ) {
        const auto port = qsfp( id );
        const Position position = positions[ id - 49 ];
        for ( const unsigned rest : { 0u, 0xFFu } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                SCOPED_TRACE( "QSFP " + std::to_string( id ) + ", " + std::to_string( nibble ) );
                ham_.bytes[ 0 ] = ham_.bytes[ 1 ] = static_cast<uint8_t>( rest );
                ham_.bytes[ position.bank ] = static_cast<uint8_t>(
                    ( rest & ~( 0xFu << position.bit ) ) | nibble << position.bit );
                FakeTime::now += 10;
                int reset = -1, interrupt = -1, lowPower = -1;
                EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
                EXPECT_EQ( reset, nibble & 1 ? 0 : 1 );
                EXPECT_EQ( port->getInterrupt( &interrupt ), PL_STATUS_OK );
                EXPECT_EQ( interrupt, nibble & 2 ? 0 : 1 );
                EXPECT_EQ( port->getPresence(), nibble & 4 ? 1 : 0 );
                EXPECT_EQ( port->getLpMode( &lowPower ), PL_STATUS_OK );
                EXPECT_EQ( lowPower, nibble & 8 ? 1 : 0 );
            }
        }
    }
}

TEST_F( MireSPCA9555Test, EachPortWritesItsOutputsAndSaves ) {
    for ( unsigned id = 49; id <= 54; ++id ) {
        const Position position = positions[ id - 49 ];
        const unsigned reg = 2 + position.bank;
        const auto port = qsfp( id );
        ham_.bytes[ reg ] = 0x77;
        EXPECT_EQ( port->setReset( 1 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x77 & ~( 1 << position.bit ) ) << id;
        EXPECT_EQ( port->setReset( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x77 ) << id;
        EXPECT_EQ( port->setLpMode( 1 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x77 | 8 << position.bit ) << id;
        EXPECT_EQ( port->setLpMode( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x77 ) << id;
    }
}

TEST_F( MireSPCA9555Test, WriteReadsTheOutputRegisterThenWritesIt ) {
    const auto port = qsfp( 52 );
    ham_.bytes[ 3 ] = 0x1F;
    EXPECT_EQ( port->setReset( 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x03", "execute", "prepare", "write8 0x03 0x0f",
                                "execute" } ) );
}

TEST_F( MireSPCA9555Test, InputsAreFreshForTwoSeconds ) {
    const auto port = qsfp( 51 );
    ham_.bytes[ 1 ] = 0x04;
    EXPECT_EQ( port->getPresence(), 1 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x01", "execute" } ) );
    ham_.bytes[ 1 ] = 0;
    FakeTime::now += 2;
    EXPECT_EQ( port->getPresence(), 1 );
    FakeTime::now += 0.5;
    EXPECT_EQ( port->getPresence(), 0 );
}

TEST_F( MireSPCA9555Test, FailedReadIsTracedWithTheNibblesBitAndLeavesTheOutput ) {
    const auto port = qsfp( 52 ); // bank 1, bits 4 to 7
    int value = -7;
    host_.traces.clear();
    ham_.statuses = { 4, 4, 4, 4 };
    EXPECT_EQ( port->getReset( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( port->getInterrupt( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( port->getLpMode( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, -7 );
    EXPECT_EQ( port->getPresence(), 4 );
    Log expected;
    for ( int i = 0; i < 4; ++i ) {
        expected.push_back( "Error: status 4 while reading input bank 1" );
        expected.push_back( "MireSPCA9555 bitRead() failed on Bank 1 Bit 4!" );
    }
    EXPECT_EQ( host_.texts( 0 ), expected );
}

TEST_F( MireSPCA9555Test, FailedWriteIsTracedWithTheNibblesBit ) {
    const auto low = qsfp( 49 );
    host_.traces.clear();
    ham_.statuses = { 0, 4 };
    EXPECT_EQ( low->setLpMode( 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "Error: status 4 writing to GPIOExpander",
                                        "MireSPCA9555 bitset() failed on Bank 0 Bit 0!" } ) );
    const auto high = qsfp( 50 );
    host_.traces.clear();
    ham_.takeLog();
    ham_.statuses = { 6 };
    EXPECT_EQ( high->setLpMode( 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "Error: status 6 while reading output bank 0",
                                        "MireSPCA9555 bitset() failed on Bank 0 Bit 4!" } ) );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x02", "execute" } ) );
}

TEST_F( MireSPCA9555Test, OperationsTraceTheirNamesAndTheZeroBasedId ) {
    host_.traces.clear();
    const auto port = qsfp( 54 );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "creating new QsfpXcvr for id 54" } } ) );
    EXPECT_EQ( port->record()->id, 54u );
    host_.traces.clear();
    int value = -7;
    port->getModSel( &value );
    port->setModSel( 1 );
    EXPECT_EQ( value, -7 );
    EXPECT_TRUE( ham_.log.empty() );
    port->getPresence();
    port->getInterrupt( &value );
    port->getReset( &value );
    port->setReset( 1 );
    port->getLpMode( &value );
    port->setLpMode( 1 );
    Log operations;
    for ( const std::string &text : host_.texts( 5 ) ) {
        if ( text.find( "GPIOExpander" ) == std::string::npos ) {
            operations.push_back( text );
        }
    }
    EXPECT_EQ( operations,
               ( Log{ "getModSel(): id=53", "setModSel(): id=53", "getPresence(): id=53",
                      "getInterrupt(): id=53", "getReset(): id=53", "setReset(): id=53",
                      "getLpMode(): id=53", "setLpMode(): id=53" } ) );
}

TEST_F( MireSPCA9555Test, IdsBeyondTheBoundsAbort ) {
    EXPECT_DEATH( qsfp( 48 ), "MireSPCA9555.cpp.*49 <= id && id <= 54" );
    EXPECT_DEATH( qsfp( 55 ), "MireSPCA9555.cpp.*49 <= id && id <= 54" );
}

TEST_F( MireSPCA9555Test, StillServesItsPinsAsGpioLines ) {
    args_.driverArgs[ "bank" ] = "1";
    args_.driverArgs[ "bit" ] = "2";
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio( device_->newGpio( args_ ) );
    EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x04 );
    EXPECT_THROW( device_->newSfpXcvr( 1, args_ ), Component::NotImplementedException );
}

TEST_F( MireSPCA9555Test, SimulationHoldsEveryRegisterThatTheDriverUses ) {
    const Utils::ExpectedValues &values = *device_->expectedValues();
    EXPECT_EQ( values.size(), 6u );
    for ( const unsigned reg : { 0, 1, 2, 3, 6, 7 } ) {
        EXPECT_EQ( values.at( reg ).size(), 1u ) << reg;
        EXPECT_TRUE( values.at( reg ).isNumeric() ) << reg;
    }
}

} // namespace
