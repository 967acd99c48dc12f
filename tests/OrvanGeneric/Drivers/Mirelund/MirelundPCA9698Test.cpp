#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"

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
using Component::LogicalDevice::SfpXcvr;
using Log = std::vector<std::string>;

/** Bank and lowest bit of each of an expander's eight ports. */
struct Position {
    unsigned bank;
    unsigned bit;
};
constexpr Position positions[ 8 ] = { { 0, 0 }, { 0, 4 }, { 1, 0 }, { 1, 4 },
                                      { 2, 0 }, { 2, 4 }, { 3, 0 }, { 3, 4 } };

class MirelundPCA9698Test : public testing::Test {
  protected:
    using Factory = Component::HardwareDevice *( const Drivers::DriverArgs &, Ham::Ham * );

    Component::HardwareDevice &make( Factory *create ) {
        device_.reset( create( args_, &ham_ ) );
        device_->hamIs( &ham_ );
        return *device_;
    }
    std::unique_ptr<SfpXcvr> sfp( unsigned id ) {
        return std::unique_ptr<SfpXcvr>( device_->newSfpXcvr( id, args_ ) );
    }
    std::unique_ptr<QsfpXcvr> qsfp( unsigned id ) {
        return std::unique_ptr<QsfpXcvr>( device_->newQsfpXcvr( id, args_ ) );
    }
    /** Gives one nibble of the input pins a value, all others @p rest, and lets the cache age. */
    void setPins( Position position, unsigned nibble, bool rest ) {
        for ( unsigned bank = 0; bank < 4; ++bank ) {
            ham_.bytes[ bank ] = rest ? 0xFF : 0;
        }
        uint8_t &byte = ham_.bytes[ position.bank ];
        byte =
            static_cast<uint8_t>( ( byte & ~( 0xFu << position.bit ) ) | nibble << position.bit );
        FakeTime::now += 10;
    }
    void readsQsfpNibbles();

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

TEST_F( MirelundPCA9698Test, CreationTracesTheSameTextForAllThree ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        make( create );
    }
    EXPECT_EQ( host_.traces, ( Traces( 3, Trace{ 5, "Creating Mirelund SFP device" } ) ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9698Test, SfpInitMakesTransmitDisableAnOutput ) {
    EXPECT_EQ( make( Drivers::MirelundSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0xbb", "write8 0x19 0xbb",
                                "write8 0x1a 0xbb", "write8 0x1b 0xbb", "execute" } ) );
    EXPECT_TRUE( host_.texts( 0 ).empty() );
}

TEST_F( MirelundPCA9698Test, YQsfpInitKeepsTheSfpDirections ) {
    EXPECT_EQ( make( Drivers::MireYQSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0xbb", "write8 0x19 0xbb",
                                "write8 0x1a 0xbb", "write8 0x1b 0xbb", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, ZQsfpInitMakesResetAndLowPowerModeOutputs ) {
    EXPECT_EQ( make( Drivers::MireZQSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0x66", "write8 0x19 0x66",
                                "write8 0x1a 0x66", "write8 0x1b 0x66", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, FailedInitIsTracedAndReturned ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        host_.traces.clear();
        ham_.statuses = { 4 };
        EXPECT_EQ( make( create ).init(), 4 );
        EXPECT_EQ( host_.texts( 0 ), Log{ "Error: failed to write PCA9698 pin configuration" } );
    }
}

TEST_F( MirelundPCA9698Test, EachSfpPortReadsItsOwnNibble ) {
    make( Drivers::MirelundSFP::create );
    for ( unsigned id = 1; id <= 48; ++id ) {
        const auto port = sfp( id );
        for ( const bool rest : { false, true } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                setPins( positions[ ( id - 1 ) % 8 ], nibble, rest );
                SCOPED_TRACE( "SFP " + std::to_string( id ) + ", " + std::to_string( nibble ) );
                int los = -1, disabled = -1, fault = -1;
                EXPECT_EQ( port->getPresence(), nibble & 1 ? 1 : 0 );
                EXPECT_EQ( port->getRxLos( &los ), PL_STATUS_OK );
                EXPECT_EQ( los, nibble & 2 ? 1 : 0 );
                EXPECT_EQ( port->getTxDisable( &disabled ), PL_STATUS_OK );
                EXPECT_EQ( disabled, nibble & 4 ? 1 : 0 );
                EXPECT_EQ( port->getTxFault( &fault ), PL_STATUS_OK );
                EXPECT_EQ( fault, nibble & 8 ? 1 : 0 );
            }
        }
    }
}

void MirelundPCA9698Test::readsQsfpNibbles() {
    for ( unsigned id = 49; id <= 56; ++id ) {
        const auto port = qsfp( id );
        for ( const bool rest : { false, true } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                setPins( positions[ id - 49 ], nibble, rest );
                SCOPED_TRACE( "QSFP " + std::to_string( id ) + ", " + std::to_string( nibble ) );
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

TEST_F( MirelundPCA9698Test, EachYQsfpPortReadsItsOwnNibble ) {
    make( Drivers::MireYQSFP::create );
    readsQsfpNibbles();
}

TEST_F( MirelundPCA9698Test, EachZQsfpPortReadsItsOwnNibble ) {
    make( Drivers::MireZQSFP::create );
    readsQsfpNibbles();
}

TEST_F( MirelundPCA9698Test, EachSfpPortWritesItsOutputAndSaves ) {
    make( Drivers::MirelundSFP::create );
    for ( unsigned id = 1; id <= 48; ++id ) {
        const Position position = positions[ ( id - 1 ) % 8 ];
        const unsigned reg = 8 + position.bank;
        const auto port = sfp( id );
        ham_.bytes[ reg ] = 0x91;
        EXPECT_EQ( port->setTxDisable( 2 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x91 | 4 << position.bit ) << id;
        EXPECT_EQ( port->setTxDisable( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.bytes[ reg ], 0x91 ) << id;
    }
}

TEST_F( MirelundPCA9698Test, EachQsfpPortWritesItsOutputsAndSaves ) {
    for ( Factory *create : { &Drivers::MireYQSFP::create, &Drivers::MireZQSFP::create } ) {
        make( create );
        for ( unsigned id = 49; id <= 56; ++id ) {
            const Position position = positions[ id - 49 ];
            const unsigned reg = 8 + position.bank;
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
}

TEST_F( MirelundPCA9698Test, ReadGoesToTheInputRegisterThroughTheCache ) {
    make( Drivers::MirelundSFP::create );
    const auto port = sfp( 8 );
    ham_.bytes[ 3 ] = 0x10;
    EXPECT_EQ( port->getPresence(), 1 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute" } ) );
    ham_.bytes[ 3 ] = 0;
    FakeTime::now += 2;
    EXPECT_EQ( port->getPresence(), 1 ) << "two seconds old is fresh";
    EXPECT_TRUE( ham_.log.empty() );
    FakeTime::now += 0.5;
    EXPECT_EQ( port->getPresence(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x03", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, WriteReadsTheOutputRegisterThenWritesIt ) {
    make( Drivers::MirelundSFP::create );
    const auto port = sfp( 10 );
    ham_.bytes[ 8 ] = 0x0F;
    EXPECT_EQ( port->setTxDisable( 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x08", "execute", "prepare", "write8 0x08 0x4f",
                                "execute" } ) );
}

TEST_F( MirelundPCA9698Test, ResetIsReadBackFromThePin ) {
    make( Drivers::MireZQSFP::create );
    const auto port = qsfp( 51 );
    ham_.bytes[ 9 ] = 0x11;
    EXPECT_EQ( port->setReset( 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 9 ], 0x10 );
    ham_.bytes[ 1 ] = ham_.bytes[ 9 ]; // an output pin reads as it is driven
    int reset = -1;
    EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
    EXPECT_EQ( reset, 1 );
}

TEST_F( MirelundPCA9698Test, FailedReadIsTracedWithTheWholeBitAndLeavesTheOutput ) {
    make( Drivers::MirelundSFP::create );
    const auto port = sfp( 6 ); // bank 2, bits 4 to 7
    int value = -7;
    host_.traces.clear();
    ham_.statuses = { 4, 4, 4, 4 };
    EXPECT_EQ( port->getPresence(), 4 );
    EXPECT_EQ( port->getRxLos( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( port->getTxDisable( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( port->getTxFault( &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, -7 );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "Error: status 4 while reading input bank 2",
                                        "MirelundPCA9698 bitRead() failed on Bank 2 Bit 4!",
                                        "Error: status 4 while reading input bank 2",
                                        "MirelundPCA9698 bitRead() failed on Bank 2 Bit 5!",
                                        "Error: status 4 while reading input bank 2",
                                        "MirelundPCA9698 bitRead() failed on Bank 2 Bit 6!",
                                        "Error: status 4 while reading input bank 2",
                                        "MirelundPCA9698 bitRead() failed on Bank 2 Bit 7!" } ) );
}

TEST_F( MirelundPCA9698Test, FailedQsfpReadIsNotInverted ) {
    make( Drivers::MireYQSFP::create );
    const auto port = qsfp( 49 );
    int value = -7;
    ham_.statuses = { 6, 6, 6, 6 };
    EXPECT_EQ( port->getReset( &value ), PL_STATUS_FAILED );
    EXPECT_EQ( port->getInterrupt( &value ), PL_STATUS_FAILED );
    EXPECT_EQ( port->getLpMode( &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, -7 );
    EXPECT_EQ( port->getPresence(), 6 );
}

TEST_F( MirelundPCA9698Test, FailedSaveIsTracedAndReturned ) {
    make( Drivers::MirelundSFP::create );
    const auto port = sfp( 2 );
    host_.traces.clear();
    ham_.statuses = { 0, 4 };
    EXPECT_EQ( port->setTxDisable( 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "Error: status 4 writing to GPIOExpander",
                                        "MirelundPCA9698 bitset() failed on Bank 0 Bit 6!" } ) );
}

TEST_F( MirelundPCA9698Test, OutputThatCannotBeReadCountsAsAFailedWrite ) {
    make( Drivers::MireZQSFP::create );
    const auto port = qsfp( 56 );
    host_.traces.clear();
    ham_.statuses = { 4, 4 };
    EXPECT_EQ( port->setReset( 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( port->setLpMode( 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "Error: status 4 while reading output bank 3",
                                        "MirelundPCA9698 bitset() failed on Bank 3 Bit 4!",
                                        "Error: status 4 while reading output bank 3",
                                        "MirelundPCA9698 bitset() failed on Bank 3 Bit 7!" } ) );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read8 0x0b", "execute", "prepare", "read8 0x0b", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, CreatedPortsTraceTheirIds ) {
    make( Drivers::MirelundSFP::create );
    for ( unsigned id = 1; id <= 48; ++id ) {
        host_.traces.clear();
        const auto port = sfp( id );
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "creating new SfpXcvr for id " + std::to_string( id ) } } ) );
        EXPECT_EQ( port->record()->id, id );
    }
    for ( Factory *create : { &Drivers::MireYQSFP::create, &Drivers::MireZQSFP::create } ) {
        make( create );
        for ( unsigned id = 49; id <= 56; ++id ) {
            host_.traces.clear();
            const auto port = qsfp( id );
            EXPECT_EQ( host_.traces, ( Traces{ { 5, "creating new QsfpXcvr for id " +
                                                        std::to_string( id ) } } ) );
            EXPECT_EQ( port->record()->id, id );
        }
    }
}

TEST_F( MirelundPCA9698Test, SfpOperationsTraceTheirNamesAndTheZeroBasedId ) {
    make( Drivers::MirelundSFP::create );
    const auto port = sfp( 48 );
    host_.traces.clear();
    int value;
    port->getPresence();
    port->getRxLos( &value );
    port->getTxFault( &value );
    port->getTxDisable( &value );
    port->setTxDisable( 1 );
    Log operations;
    for ( const std::string &text : host_.texts( 5 ) ) {
        if ( text.find( "GPIOExpander" ) == std::string::npos ) {
            operations.push_back( text );
        }
    }
    EXPECT_EQ( operations,
               ( Log{ "getPresence(): id=47", "getRxLos(): id=47", "getTxFault(): id=47",
                      "getTxDisable(): id=47", "setTxDisable(): id=47" } ) );
}

TEST_F( MirelundPCA9698Test, QsfpOperationsTraceTheirNamesAndTheZeroBasedId ) {
    make( Drivers::MireYQSFP::create );
    const auto port = qsfp( 49 );
    host_.traces.clear();
    int value;
    port->getPresence();
    port->getInterrupt( &value );
    port->getReset( &value );
    port->setReset( 1 );
    port->getLpMode( &value );
    port->setLpMode( 1 );
    port->getModSel( &value );
    port->setModSel( 1 );
    Log operations;
    for ( const std::string &text : host_.texts( 5 ) ) {
        if ( text.find( "GPIOExpander" ) == std::string::npos ) {
            operations.push_back( text );
        }
    }
    EXPECT_EQ( operations,
               ( Log{ "getPresence(): id=48", "getInterrupt(): id=48", "getReset(): id=48",
                      "setReset(): id=48", "getLpMode(): id=48", "setLpMode(): id=48",
                      "getModSel(): id=48", "setModSel(): id=48" } ) );
}

TEST_F( MirelundPCA9698Test, ModuleSelectIsNotWired ) {
    make( Drivers::MireYQSFP::create );
    const auto port = qsfp( 50 );
    int selected = -7;
    EXPECT_EQ( port->getModSel( &selected ), PL_STATUS_OK );
    EXPECT_EQ( selected, -7 );
    EXPECT_EQ( port->setModSel( 1 ), PL_STATUS_OK );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9698Test, IdsBeyondTheBoundsAbort ) {
    make( Drivers::MirelundSFP::create );
    EXPECT_DEATH( sfp( 0 ), "MirelundPCA9698.cpp.*1 <= id && id <= 48" );
    EXPECT_DEATH( sfp( 49 ), "MirelundPCA9698.cpp.*1 <= id && id <= 48" );
    for ( Factory *create : { &Drivers::MireYQSFP::create, &Drivers::MireZQSFP::create } ) {
        make( create );
        EXPECT_DEATH( qsfp( 48 ), "MirelundPCA9698.cpp.*49 <= id && id <= 56" );
        EXPECT_DEATH( qsfp( 57 ), "MirelundPCA9698.cpp.*49 <= id && id <= 56" );
    }
}

TEST_F( MirelundPCA9698Test, EachDriverServesOneKindOfTransceiver ) {
    make( Drivers::MirelundSFP::create );
    EXPECT_THROW( qsfp( 49 ), Component::NotImplementedException );
    make( Drivers::MireYQSFP::create );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
    make( Drivers::MireZQSFP::create );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
}

TEST_F( MirelundPCA9698Test, TypeGpioServesNoTransceiverButRegisterBits ) {
    args_.driverArgs = { { "type", "gpio" }, { "register", "9" }, { "bitpos", "3" } };
    Component::HardwareDevice &device = make( Drivers::MirelundSFP::create );
    EXPECT_TRUE( host_.traced( 5, "Creating Mirelund SFP device" ) );
    EXPECT_EQ( dynamic_cast<Drivers::GPIOExpander *>( &device ), nullptr );
    EXPECT_EQ( device.init(), 0 );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
    EXPECT_TRUE( device.expectedValues()->empty() );
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio( device.newGpio( args_ ) );
    EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 9 ], 0x08 );
}

TEST_F( MirelundPCA9698Test, AnyOtherTypeServesTransceivers ) {
    for ( const char *type : { "sfp", "GPIO", "" } ) {
        args_.driverArgs[ "type" ] = type;
        make( Drivers::MirelundSFP::create );
        EXPECT_NE( sfp( 1 ), nullptr ) << type;
    }
}

TEST_F( MirelundPCA9698Test, SimulationHoldsEveryRegisterThatTheDriversUse ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        const Utils::ExpectedValues &values = *make( create ).expectedValues();
        EXPECT_EQ( values.size(), 12u );
        for ( const unsigned reg : { 0, 1, 2, 3, 8, 9, 10, 11, 24, 25, 26, 27 } ) {
            EXPECT_EQ( values.at( reg ).size(), 1u ) << reg;
            EXPECT_TRUE( values.at( reg ).isNumeric() ) << reg;
        }
    }
}

TEST( MirelundPCA9698Registry, KeysOfTheDrivers ) {
    Drivers::DriverArgs args;
    const auto make = [ & ]( const char *key ) {
        return std::unique_ptr<Component::DeviceBase>(
            Drivers::drivers.at( key )( args, nullptr ) );
    };
    EXPECT_NE( dynamic_cast<Drivers::MirelundSFP *>( make( "MirelundSFP" ).get() ), nullptr );
    EXPECT_NE( dynamic_cast<Drivers::MireYQSFP *>( make( "MireYQSFP" ).get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireZQSFP" ), 0u );
}

} // namespace
