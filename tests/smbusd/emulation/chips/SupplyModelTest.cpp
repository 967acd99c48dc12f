#include "smbusd/emulation/chips/SupplyModel.h"

#include <gtest/gtest.h>

#include "tests/support/ManualScheduler.h"

namespace {

using namespace std::chrono_literals;

class SupplyModel : public testing::Test {
  protected:
    void surround( void ( *change )( smbusd::SupplySurroundings & ) ) {
        smbusd::SupplySurroundings next = model.surroundings();
        change( next );
        model.setSurroundings( next );
    }

    test::ManualScheduler scheduler;
    smbusd::SupplyModel model{ scheduler, { 12, 600, 0.8 } };
};

TEST_F( SupplyModel, PowerFollowsFromTheLoadAndTheEfficiency ) {
    surround( []( auto &now ) {
        now.vin = 200;
        now.iout = 10;
    } );
    EXPECT_DOUBLE_EQ( model.outputVoltage(), 12 );
    EXPECT_DOUBLE_EQ( model.outputCurrent(), 10 );
    EXPECT_DOUBLE_EQ( model.outputPower(), 120 );
    EXPECT_DOUBLE_EQ( model.inputPower(), 150 );
    EXPECT_DOUBLE_EQ( model.inputCurrent(), 0.75 );
    EXPECT_DOUBLE_EQ( model.inputVoltage(), 200 );
}

TEST_F( SupplyModel, MainsBelow85VoltsAreNone ) {
    surround( []( auto &now ) {
        now.vin = 85;
        now.iout = 1;
    } );
    EXPECT_TRUE( model.hasMains() );
    EXPECT_TRUE( model.isDelivering() );
    surround( []( auto &now ) { now.vin = 84.9; } );
    EXPECT_FALSE( model.hasMains() );
    EXPECT_FALSE( model.isOn() );
    EXPECT_EQ( model.outputVoltage(), 0 );
    EXPECT_EQ( model.outputCurrent(), 0 );
    EXPECT_EQ( model.inputCurrent(), 0 );
    EXPECT_DOUBLE_EQ( model.inputVoltage(), 84.9 );
}

TEST_F( SupplyModel, IsOnOnlyWhenLineAndControllerBothSaySo ) {
    EXPECT_TRUE( model.isOn() );
    model.setEnabled( false );
    EXPECT_FALSE( model.isOn() );
    model.setEnabled( true );
    surround( []( auto &now ) { now.switchedOn = false; } );
    EXPECT_FALSE( model.isOn() );
    EXPECT_TRUE( model.hasMains() );
}

TEST_F( SupplyModel, ACollapsedOutputIsOnButDeliversNothing ) {
    surround( []( auto &now ) {
        now.iout = 5;
        now.outputFault = true;
    } );
    EXPECT_TRUE( model.isOn() );
    EXPECT_FALSE( model.isDelivering() );
    EXPECT_EQ( model.outputPower(), 0 );
}

TEST_F( SupplyModel, TemperaturesRiseWithTheLoad ) {
    model.addTemperature( 40 );
    model.addTemperature( 10 );
    EXPECT_EQ( model.temperatures(), 2u );
    EXPECT_DOUBLE_EQ( model.temperature( 0 ), 25 );
    surround( []( auto &now ) {
        now.iout = 25; // 300 of 600 W
        now.ambient = 30;
    } );
    EXPECT_DOUBLE_EQ( model.temperature( 0 ), 50 );
    EXPECT_DOUBLE_EQ( model.temperature( 1 ), 35 );
}

TEST_F( SupplyModel, FansKeepWithinTheirRangeAndStopWithTheMains ) {
    model.addFan( 10000, 0ns );
    EXPECT_EQ( model.fanRpm( 0 ), 0 );
    model.setFanRpm( 0, 12000 );
    EXPECT_EQ( model.fanRpm( 0 ), 10000 );
    model.setFanRpm( 0, -1 );
    EXPECT_EQ( model.fanRpm( 0 ), 0 );
    model.setFanRpm( 0, 4000 );
    surround( []( auto &now ) { now.vin = 0; } );
    EXPECT_EQ( model.fanRpm( 0 ), 0 );
    surround( []( auto &now ) { now.vin = 230; } );
    EXPECT_EQ( model.fanRpm( 0 ), 4000 );
}

TEST_F( SupplyModel, ABlockedFanStandsStillAndIsStalledWhileThereAreMains ) {
    model.addFan( 10000, 1s );
    model.addFan( 8000, 1s );
    model.setFanRpm( 0, 5000 );
    model.setFanRpm( 1, 5000 );
    model.settleFans();
    EXPECT_DOUBLE_EQ( model.fanRpm( 0 ), 5000 );
    surround( []( auto &now ) { now.fanBlocked[ 0 ] = true; } );
    EXPECT_EQ( model.fanRpm( 0 ), 0 );
    EXPECT_DOUBLE_EQ( model.fanRpm( 1 ), 5000 );
    EXPECT_TRUE( model.isStalled( 0 ) );
    EXPECT_FALSE( model.isStalled( 1 ) );
    surround( []( auto &now ) { now.vin = 0; } );
    EXPECT_FALSE( model.isStalled( 0 ) );
}

TEST_F( SupplyModel, FansSpinUpFromStandstill ) {
    model.addFan( 10000, 1s );
    model.setFanRpm( 0, 10000 );
    model.settleFans();
    model.stopFans();
    EXPECT_EQ( model.fanRpm( 0 ), 0 );
    scheduler.advance( 1s );
    EXPECT_NEAR( model.fanRpm( 0 ), 6321.2, 0.1 );
}

} // namespace
