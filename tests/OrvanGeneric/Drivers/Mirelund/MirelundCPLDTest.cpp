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

/** Register and lowest bit of each of a CPLD's sixteen ports. */
struct Position {
    unsigned reg;
    unsigned bit;
};
constexpr Position positions[ 16 ] = {
    { 1, 12 }, { 1, 8 }, { 1, 4 }, { 1, 0 }, { 2, 12 }, { 2, 8 }, { 2, 4 }, { 2, 0 },
    { 3, 12 }, { 3, 8 }, { 3, 4 }, { 3, 0 }, { 4, 12 }, { 4, 8 }, { 4, 4 }, { 4, 0 },
};

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
    /** Polls registers that hold @p rest but for one nibble. */
    void pollNibble( Position position, unsigned nibble, bool rest ) {
        const unsigned background = rest ? 0xFFFF : 0;
        unsigned words[ 5 ] = { 0, background, background, background, background };
        words[ position.reg ] &= ~( 0xFu << position.bit );
        words[ position.reg ] |= nibble << position.bit;
        poll16( words[ 1 ], words[ 2 ], words[ 3 ], words[ 4 ] );
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

TEST_F( MirelundCPLDTest, EachSfpPortReadsItsOwnNibble ) {
    start();
    for ( unsigned id = 1; id <= 48; ++id ) {
        const auto port = sfp( id );
        for ( const bool rest : { false, true } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                pollNibble( positions[ ( id - 1 ) % 16 ], nibble, rest );
                int los = -1, disabled = -1, fault = -1;
                EXPECT_EQ( port->getRxLos( &los ), PL_STATUS_OK );
                EXPECT_EQ( port->getTxDisable( &disabled ), PL_STATUS_OK );
                EXPECT_EQ( port->getTxFault( &fault ), PL_STATUS_OK );
                SCOPED_TRACE( "SFP " + std::to_string( id ) + ", " + std::to_string( nibble ) );
                EXPECT_EQ( los, nibble & 1 ? 1 : 0 );
                EXPECT_EQ( port->getPresence(), nibble & 2 ? 1 : 0 );
                EXPECT_EQ( disabled, nibble & 4 ? 1 : 0 );
                EXPECT_EQ( fault, nibble & 8 ? 1 : 0 );
                EXPECT_TRUE( ham_.log.empty() ) << "reads are answered from memory";
            }
        }
    }
}

TEST_F( MirelundCPLDTest, EachQsfpPortReadsItsOwnNibble ) {
    start();
    for ( unsigned id = 1; id <= 32; ++id ) {
        const auto port = qsfp( id );
        for ( const bool rest : { false, true } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                pollNibble( positions[ ( id - 1 ) % 16 ], nibble, rest );
                int lowPower = -1, interrupt = -1, reset = -1;
                EXPECT_EQ( port->getLpMode( &lowPower ), PL_STATUS_OK );
                EXPECT_EQ( port->getInterrupt( &interrupt ), PL_STATUS_OK );
                EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
                SCOPED_TRACE( "QSFP " + std::to_string( id ) + ", " + std::to_string( nibble ) );
                EXPECT_EQ( lowPower, nibble & 1 ? 1 : 0 );
                EXPECT_EQ( port->getPresence(), nibble & 2 ? 1 : 0 );
                EXPECT_EQ( interrupt, nibble & 4 ? 0 : 1 );
                EXPECT_EQ( reset, nibble & 8 ? 0 : 1 );
                EXPECT_TRUE( ham_.log.empty() ) << "reads are answered from memory";
            }
        }
    }
}

TEST_F( MirelundCPLDTest, EachSfpPortIsCreatedWithItsWholeIndex ) {
    start();
    for ( unsigned id = 1; id <= 48; ++id ) {
        host_.traces.clear();
        const auto port = sfp( id );
        const Position position = positions[ ( id - 1 ) % 16 ];
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "creating new SfpXcvr for id " + std::to_string( id ) },
                             { 5, "id=" + std::to_string( id - 1 ) + " reg=0x" +
                                      std::to_string( position.reg ) +
                                      " bit=" + std::to_string( position.bit ) } } ) );
        EXPECT_EQ( port->record()->id, id );
        host_.traces.clear();
        port->getPresence();
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "getSfpPresence(): id=" + std::to_string( id - 1 ) } } ) );
    }
}

TEST_F( MirelundCPLDTest, EachQsfpPortIsCreatedWithItsIndexWithinTheCpld ) {
    start();
    for ( unsigned id = 1; id <= 32; ++id ) {
        host_.traces.clear();
        const auto port = qsfp( id );
        const unsigned index = id <= 16 ? id - 1 : id - 17;
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "creating new QsfpXcvr for id " + std::to_string( id ) },
                             { 5, "id=" + std::to_string( index ) + " reg=0x" +
                                      std::to_string( positions[ index ].reg ) +
                                      " bit=" + std::to_string( positions[ index ].bit ) } } ) );
        EXPECT_EQ( port->record()->id, id );
        host_.traces.clear();
        port->getPresence();
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "getQsfpPresence(): id=" + std::to_string( index ) } } ) );
    }
}

TEST_F( MirelundCPLDTest, IdsBeyondTheBoundsAbort ) {
    EXPECT_DEATH( sfp( 0 ), "MirelundCPLD.cpp.*id >= 1 && id <= 48" );
    EXPECT_DEATH( sfp( 49 ), "MirelundCPLD.cpp.*id >= 1 && id <= 48" );
    EXPECT_DEATH( sfp( 257 ), "id >= 1 && id <= 48" );
    EXPECT_DEATH( qsfp( 0 ), "MirelundCPLD.cpp.*id >= 1 && id <= 32" );
    EXPECT_DEATH( qsfp( 33 ), "MirelundCPLD.cpp.*id >= 1 && id <= 32" );
    EXPECT_DEATH( qsfp( 258 ), "id >= 1 && id <= 32" );
}

TEST_F( MirelundCPLDTest, EachSfpPortWritesTransmitDisableInOneWord ) {
    start();
    for ( unsigned id = 1; id <= 48; ++id ) {
        const Position position = positions[ ( id - 1 ) % 16 ];
        const auto port = sfp( id );
        pollNibble( position, 0x0, true );
        const unsigned before = 0xFFFFu & ~( 0xFu << position.bit );
        EXPECT_EQ( port->setTxDisable( 7 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( before | 4u << position.bit ) ) << id;
        EXPECT_EQ( ham_.takeLog().size(), 3u );
        int disabled = -1;
        port->getTxDisable( &disabled );
        EXPECT_EQ( disabled, 1 );
        EXPECT_EQ( port->setTxDisable( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( before ) ) << id;
        port->getTxDisable( &disabled );
        EXPECT_EQ( disabled, 0 );
    }
}

TEST_F( MirelundCPLDTest, EachQsfpPortWritesResetAndLowPowerModeInOneWordEach ) {
    start();
    for ( unsigned id = 1; id <= 32; ++id ) {
        const Position position = positions[ ( id - 1 ) % 16 ];
        const auto port = qsfp( id );
        pollNibble( position, 0xE, false );
        EXPECT_EQ( port->setReset( 1 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( 0x6u << position.bit ) ) << id;
        EXPECT_EQ( port->setLpMode( 1 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( 0x7u << position.bit ) ) << id;
        EXPECT_EQ( port->setReset( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( 0xFu << position.bit ) ) << id;
        EXPECT_EQ( port->setLpMode( 0 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.words[ position.reg ], onTheBus( 0xEu << position.bit ) ) << id;
    }
}

TEST_F( MirelundCPLDTest, WriteChangesThePolledCopyAndCostsOneWordWrite ) {
    start();
    poll16( 0x1234, 0, 0, 0 );
    ham_.words[ 1 ] = 0; // changed without the driver: the cached copy counts
    const auto port = sfp( 1 );
    EXPECT_EQ( port->setTxDisable( 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x01 0x3452", "execute" } ) );
}

TEST_F( MirelundCPLDTest, FailedWriteReturnsTheHamsStatusAndKeepsTheCache ) {
    start();
    poll16( 0x8000, 0, 0, 0 );
    const auto sfpPort = sfp( 1 );
    ham_.statuses = { 4 };
    EXPECT_EQ( sfpPort->setTxDisable( 1 ), PL_STATUS_TRANSPORT );
    int value = -1;
    EXPECT_EQ( sfpPort->getTxDisable( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    const auto qsfpPort = qsfp( 1 );
    ham_.statuses = { 6, 6 };
    EXPECT_EQ( qsfpPort->setReset( 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( qsfpPort->setLpMode( 1 ), PL_STATUS_FAILED );
    qsfpPort->getReset( &value );
    EXPECT_EQ( value, 0 );
    qsfpPort->getLpMode( &value );
    EXPECT_EQ( value, 0 );
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

TEST_F( MirelundCPLDTest, SfpOperationsTraceTheirNamesAndTheStoredId ) {
    const auto port = sfp( 17 );
    host_.traces.clear();
    int value;
    port->getPresence();
    port->getRxLos( &value );
    port->getTxFault( &value );
    port->getTxDisable( &value );
    port->setTxDisable( 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "getSfpPresence(): id=16" },
                                       { 5, "getSfpRxLos(): id=16" },
                                       { 5, "getSfpTxFault(): id=16" },
                                       { 5, "getSfpTxDisable(): id=16" },
                                       { 5, "setSfpTxDisable(): id=16" } } ) );
}

TEST_F( MirelundCPLDTest, QsfpOperationsTraceTheirNamesAndTheStoredId ) {
    const auto port = qsfp( 18 );
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
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "getQsfpPresence(): id=1" },
                                       { 5, "getQsfpInterrupt(): id=1" },
                                       { 5, "getQsfpReset(): id=1" },
                                       { 5, "setQsfpReset(): id=1" },
                                       { 5, "getQsfpLpMode(): id=1" },
                                       { 5, "setQsfpLpMode(): id=1" },
                                       { 5, "getQsfpModSel(): id=1" },
                                       { 5, "setQsfpModSel(): id=1" } } ) );
}

TEST_F( MirelundCPLDTest, ModuleSelectIsNotWired ) {
    start();
    const auto port = qsfp( 1 );
    int selected = -7;
    EXPECT_EQ( port->getModSel( &selected ), PL_STATUS_OK );
    EXPECT_EQ( selected, -7 );
    EXPECT_EQ( port->setModSel( 1 ), PL_STATUS_OK );
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
