/** The transceiver drivers on simulation files: what the simulated boards show, and what is kept. */
#include <filesystem>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Xcvr.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"
#include "OrvanGeneric/Ham/SimHam.h"
#include "tests/support/SimulationFixture.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;

class XcvrSimulationTest : public SimulationFixture {
  protected:
    XcvrSimulationTest() { args_.driverArgs = { { "bank-io-0", "102" }, { "bank-io-1", "102" } }; }

    /** Brings a driver up as its first peripheral does. */
    void start( const std::string &driver ) {
        device_.reset( dynamic_cast<Component::HardwareDevice *>(
            Drivers::drivers.at( driver )( args_, &ham_ ) ) );
        device_->hamIs( &ham_ );
        ham_.setDriverName( driver, "front" );
        ham_.setExpected( device_->expectedValues() );
        initResult_ = device_->init();
        file_ = folder_.file( driver + "-front" );
    }
    std::string fileText() const { return common::readFile( file_ ); }
    /** Changes the file as a test harness does. */
    void put( size_t offset, const std::string &text ) {
        std::fstream file( file_ );
        file.seekp( static_cast<std::streamoff>( offset ) );
        file << text;
    }
    std::unique_ptr<SfpXcvr> sfp( unsigned id ) {
        return std::unique_ptr<SfpXcvr>( device_->newSfpXcvr( id, args_ ) );
    }
    std::unique_ptr<QsfpXcvr> qsfp( unsigned id ) {
        return std::unique_ptr<QsfpXcvr>( device_->newQsfpXcvr( id, args_ ) );
    }
    bool warned() const {
        for ( const std::string &text : host_.texts( 0 ) ) {
            if ( text.find( "WARNING" ) != std::string::npos ) {
                return true;
            }
        }
        return false;
    }

    Drivers::DriverArgs args_;
    Ham::SimHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
    int initResult_ = -1;
    std::string file_;
};

TEST_F( XcvrSimulationTest, CpldStartsWithEmptyCages ) {
    start( "MireQCPLD" );
    EXPECT_EQ( initResult_, 0 );
    EXPECT_EQ( fileText(), "00000000\n" );
    for ( unsigned id = 1; id <= 48; ++id ) {
        EXPECT_EQ( sfp( id )->getPresence(), 0 ) << id;
    }
    for ( unsigned id = 1; id <= 32; ++id ) {
        EXPECT_EQ( qsfp( id )->getPresence(), 0 ) << id;
    }
    EXPECT_FALSE( warned() );
    EXPECT_TRUE( host_.traced( 6, "Register cache updated for MireXcvrCPLD" ) );
}

TEST_F( XcvrSimulationTest, CpldPollSeesWhatTheHarnessWrites ) {
    start( "MireQCPLD" );
    // The word of register 1 is the first four digits, swapped: 0x2000, the first port's presence.
    put( 0, "0020" );
    EXPECT_EQ( sfp( 1 )->getPresence(), 0 );
    EXPECT_EQ( host_.fireAll(), 1 );
    EXPECT_EQ( sfp( 1 )->getPresence(), 1 );
}

TEST_F( XcvrSimulationTest, CpldWriteSucceedsAndIsCachedButDoesNotReachTheFile ) {
    start( "MireQCPLD" );
    EXPECT_EQ( sfp( 1 )->setTxDisable( 1 ), PL_STATUS_OK );
    int disabled = -1;
    EXPECT_EQ( sfp( 1 )->getTxDisable( &disabled ), PL_STATUS_OK );
    EXPECT_EQ( disabled, 1 );
    EXPECT_EQ( fileText(), "00000000\n" );
}

TEST_F( XcvrSimulationTest, CpldWithoutATableHasNoFileAndReadsZero ) {
    start( "MireYCPLD" );
    EXPECT_EQ( initResult_, 0 );
    EXPECT_FALSE( std::filesystem::exists( file_ ) );
    EXPECT_EQ( sfp( 1 )->getPresence(), 0 );
    EXPECT_TRUE( warned() );
}

TEST_F( XcvrSimulationTest, SfpExpanderShowsSixModulesAndNoFault ) {
    start( "MirelundSFP" );
    EXPECT_EQ( initResult_, 0 );
    EXPECT_EQ( fileText(), "77373322773733"
                           "22bbbbbbbb\n" );
    for ( unsigned id = 1; id <= 8; ++id ) {
        const auto port = sfp( id );
        int fault = -1, disabled = -1, los = -1;
        EXPECT_EQ( port->getPresence(), id <= 6 ? 1 : 0 ) << id;
        EXPECT_EQ( port->getTxFault( &fault ), PL_STATUS_OK );
        EXPECT_EQ( fault, 0 ) << id;
        EXPECT_EQ( port->getTxDisable( &disabled ), PL_STATUS_OK );
        EXPECT_EQ( disabled, id <= 3 ? 1 : 0 ) << id;
        EXPECT_EQ( port->getRxLos( &los ), PL_STATUS_OK );
        EXPECT_EQ( los, 1 ) << id;
    }
    EXPECT_FALSE( warned() );
}

TEST_F( XcvrSimulationTest, YQsfpExpanderShowsThreeModulesAndNoInterrupt ) {
    start( "MireYQSFP" );
    EXPECT_EQ( initResult_, 0 );
    for ( unsigned id = 49; id <= 56; ++id ) {
        const auto port = qsfp( id );
        int reset = -1, interrupt = -1, lowPower = -1;
        EXPECT_EQ( port->getPresence(), id <= 51 ? 1 : 0 ) << id;
        EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
        EXPECT_EQ( reset, id <= 54 ? 0 : 1 ) << id;
        EXPECT_EQ( port->getInterrupt( &interrupt ), PL_STATUS_OK );
        EXPECT_EQ( interrupt, 0 ) << id;
        EXPECT_EQ( port->getLpMode( &lowPower ), PL_STATUS_OK );
        EXPECT_EQ( lowPower, 0 ) << id;
    }
    EXPECT_FALSE( warned() );
}

TEST_F( XcvrSimulationTest, ZQsfpExpanderWritesItsOwnDirections ) {
    Drivers::MireZQSFP expander;
    expander.hamIs( &ham_ );
    ham_.setDriverName( "MireZQSFP", "" );
    ham_.setExpected( expander.expectedValues() );
    EXPECT_EQ( expander.init(), 0 );
    file_ = folder_.file( "MireZQSFP" );
    EXPECT_EQ( fileText(), "7737332277373322"
                           "66666666\n" );
}

TEST_F( XcvrSimulationTest, ExpanderWritesReachTheOutputRegister ) {
    start( "MirelundSFP" );
    EXPECT_EQ( sfp( 4 )->setTxDisable( 1 ), PL_STATUS_OK );
    EXPECT_EQ( fileText(), "7737332277773322"
                           "bbbbbbbb\n" );
    EXPECT_FALSE( warned() );
}

TEST_F( XcvrSimulationTest, SmallExpanderShowsTwoModulesAndNoInterrupt ) {
    start( "MireSPCA9555" );
    EXPECT_EQ( initResult_, 0 );
    EXPECT_EQ( fileText(), "377337736666\n" );
    const bool present[] = { true, false, false, true };
    for ( unsigned id = 49; id <= 52; ++id ) {
        const auto port = qsfp( id );
        int reset = -1, interrupt = -1, lowPower = -1;
        EXPECT_EQ( port->getPresence(), present[ id - 49 ] ? 1 : 0 ) << id;
        EXPECT_EQ( port->getReset( &reset ), PL_STATUS_OK );
        EXPECT_EQ( port->getInterrupt( &interrupt ), PL_STATUS_OK );
        EXPECT_EQ( port->getLpMode( &lowPower ), PL_STATUS_OK );
        EXPECT_EQ( reset, 0 ) << id;
        EXPECT_EQ( interrupt, 0 ) << id;
        EXPECT_EQ( lowPower, 0 ) << id;
    }
    EXPECT_EQ( qsfp( 49 )->setReset( 1 ), PL_STATUS_OK );
    EXPECT_EQ( fileText(), "377336736666\n" );
    EXPECT_FALSE( warned() );
}

} // namespace
