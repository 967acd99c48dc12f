#include "OrvanGeneric/Drivers/Mirelund/MirelundSystem.h"

#include <cstring>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;

class MirelundSystemTest : public testing::Test {
  protected:
    MirelundSystemTest() {
        Ham::hams[ "Scripted" ] = []( const Topology::Topology &, const Drivers::DriverArgs & ) {
            return ham = new ScriptedHam();
        };
        Topology::loadTopology( R"([{ "type": "I2C", "ham": "Scripted", "id": 1, "devices": [
            { "did": 5, "label": "PSoC", "driver": "Dummy", "address": { "address": 80 } } ] }])" );
        system_ = pl_system_add( "the switch" );
        FakeHost::instance().traces.clear();
    }

    pl_system *system_;
    static ScriptedHam *ham;
};

ScriptedHam *MirelundSystemTest::ham = nullptr;

TEST( MirelundSystem, AddTracesTheTextAndDoesNotReadIt ) {
    pl_system *system = pl_system_add( "no json at all {" );
    ASSERT_NE( system, nullptr );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "MirelundSystem::pl_system_add( 'no json at all {' )" } } ) );
    EXPECT_EQ( system->id, 0u );
}

TEST( MirelundSystem, EachAddMakesARecord ) {
    EXPECT_NE( pl_system_add( "" ), pl_system_add( "" ) );
}

TEST( MirelundSystem, TheTableHoldsTheThreeCallbacksAndAnEmptyEntry ) {
    const pl_system_ops &ops = *pl_system_add( "" )->ops;
    EXPECT_EQ( ops.size, sizeof( ops ) );
    if ( sizeof( void * ) == 4 ) {
        EXPECT_EQ( ops.size, 20u );
    }
    EXPECT_EQ( ops.poweroff, pl_system_poweroff );
    EXPECT_EQ( ops.powercycle, pl_system_powercycle );
    EXPECT_EQ( ops.get_reload_cause, pl_system_get_reload_cause );
    EXPECT_EQ( ops.reserved, nullptr );
}

TEST_F( MirelundSystemTest, PowerOffWritesItsBitAloneWithoutReading ) {
    EXPECT_EQ( system_->ops->poweroff( system_ ), PL_STATUS_OK );
    EXPECT_EQ( ham->log, ( Log{ "prepare", "write8 0x0a 0x02", "execute" } ) );
}

TEST_F( MirelundSystemTest, PowerCycleWritesItsBitAloneWithoutReading ) {
    EXPECT_EQ( system_->ops->powercycle( system_ ), PL_STATUS_OK );
    EXPECT_EQ( ham->log, ( Log{ "prepare", "write8 0x08 0x01", "execute" } ) );
}

TEST_F( MirelundSystemTest, AFailedWriteReturnsTheHamsStatus ) {
    EXPECT_EQ( system_->ops->poweroff( system_ ), PL_STATUS_OK );
    ham->statuses = { 6, 4 };
    EXPECT_EQ( system_->ops->poweroff( system_ ), PL_STATUS_FAILED );
    EXPECT_EQ( system_->ops->powercycle( system_ ), PL_STATUS_TRANSPORT );
}

TEST_F( MirelundSystemTest, BothRequestsShareTheControllersDriver ) {
    system_->ops->poweroff( system_ );
    ScriptedHam *first = ham;
    system_->ops->powercycle( system_ );
    EXPECT_EQ( ham, first );
}

TEST_F( MirelundSystemTest, TheReloadCauseIsNotKeptAndNothingIsWritten ) {
    char cause[ PL_RELOAD_CAUSE_SIZE ];
    char description[ PL_RELOAD_DESCRIPTION_SIZE ];
    std::memset( cause, 'c', sizeof( cause ) );
    std::memset( description, 'd', sizeof( description ) );
    long time = 77;
    EXPECT_EQ( system_->ops->get_reload_cause( system_, cause, &time, description ),
               PL_STATUS_UNSUPPORTED );
    EXPECT_EQ( time, 77 );
    for ( const char c : cause ) {
        ASSERT_EQ( c, 'c' );
    }
    for ( const char c : description ) {
        ASSERT_EQ( c, 'd' );
    }
}

TEST( MirelundSystemDeathTest, ABoardWithoutTheControllerAborts ) {
    Topology::loadTopology( "[]" );
    pl_system *system = pl_system_add( "" );
    EXPECT_DEATH( system->ops->poweroff( system ), "Assertion `device' failed" );
    EXPECT_DEATH( system->ops->powercycle( system ), "Assertion `device' failed" );
}

} // namespace
