#include "smbusd/emulation/chips/FanMotor.h"

#include <gtest/gtest.h>

namespace {

using smbusd::Duration;
using smbusd::FanMotor;
using namespace std::chrono_literals;

TEST( FanMotor, WithoutATimeConstantItTurnsAsItIsDriven ) {
    FanMotor motor;
    EXPECT_EQ( motor.speed( 0s ), 0 );
    motor.drive( 5000, 1s );
    EXPECT_EQ( motor.speed( 1s ), 5000 );
    motor.force( 100, 2s );
    EXPECT_EQ( motor.speed( 2s ), 5000 );
}

TEST( FanMotor, AfterOneTimeConstant63PercentOfTheWayAreDoneAfterThree95 ) {
    FanMotor motor( 2s );
    motor.drive( 10000, 10s );
    EXPECT_EQ( motor.speed( 10s ), 0 );
    EXPECT_NEAR( motor.speed( 12s ), 6321.2, 0.1 ); // 1 - 1/e
    EXPECT_NEAR( motor.speed( 16s ), 9502.1, 0.1 ); // 1 - 1/e^3
    EXPECT_NEAR( motor.speed( 100s ), 10000, 0.001 );
}

TEST( FanMotor, ANewTargetIsNearedFromTheSpeedOfThatMoment ) {
    FanMotor motor( 1s );
    motor.drive( 10000, 0s );
    motor.drive( 0, 1s );
    EXPECT_NEAR( motor.speed( 1s ), 6321.2, 0.1 );
    EXPECT_NEAR( motor.speed( 2s ), 2325.4, 0.1 ); // 6321.2 / e
}

TEST( FanMotor, WhatMakesItTurnOtherwiseWearsOff ) {
    FanMotor motor( 1s );
    motor.drive( 1000, 0s );
    motor.force( 5000, 10s );
    EXPECT_NEAR( motor.speed( 10s ), 5000, 0.001 );
    EXPECT_NEAR( motor.speed( 11s ), 2471.5, 0.1 ); // 1000 + 4000 / e
    EXPECT_NEAR( motor.speed( 60s ), 1000, 0.001 );
}

} // namespace
