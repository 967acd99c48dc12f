#include "OrvanGeneric/Drivers/Mirelund/MirelundPsoc.h"

#include <climits>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/TracesOnAbort.h"

namespace {

using Log = std::vector<std::string>;
using Arguments = std::map<std::string, std::string>;
using FanPointer = std::unique_ptr<Component::LogicalDevice::Fan>;
using SensorPointer = std::unique_ptr<Component::LogicalDevice::TempSensor>;

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

class MirelundPsocTest : public testing::Test {
  protected:
    MirelundPsocTest() : driver_( Drivers::MirelundPsoc::create( args_, &ham_ ) ) {
        driver_->hamIs( &ham_ );
        timer_ = host_.timers.begin()->first;
        host_.traces.clear();
    }

    FanPointer fan( const std::string &id, Arguments more = {} ) {
        more.insert( { { "fanId", id }, { "maxRpm", "10000" }, { "registerOffset", "0" } } );
        FanPointer made( driver_->newFan( withArguments( more ) ) );
        host_.traces.clear();
        return made;
    }
    FanPointer masterFan( const std::string &maxRpm = "10000" ) {
        return fan( "1", { { "pwmMaster", "true" }, { "maxRpm", maxRpm } } );
    }
    /** Has the stall alerts polled as @p alerts. */
    void poll( uint8_t alerts ) {
        ham_.bytes[ 50 ] = alerts;
        if ( !host_.timers.at( timer_ ).armed ) {
            driver_->init();
        }
        host_.fire( timer_ );
        ham_.takeLog();
        host_.traces.clear();
    }
    FakeHost &host_ = FakeHost::instance();
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
    uint32_t timer_;
};

// Life cycle and polling

TEST_F( MirelundPsocTest, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "MirelundPsoc" )( args_, &ham_ ) );
    EXPECT_NE( dynamic_cast<Drivers::MirelundPsoc *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Creating MirelundPsoc Device" }, { 0, "creating timer" } } ) );
}

TEST_F( MirelundPsocTest, CreationMakesTheTimerUnarmedAndLeavesTheBusAlone ) {
    EXPECT_EQ( host_.timers.size(), 1u );
    EXPECT_FALSE( host_.timers.at( timer_ ).armed );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPsocTest, DestructionDeletesTheTimer ) {
    driver_.reset();
    EXPECT_EQ( host_.deletedTimers, std::vector<uint32_t>{ timer_ } );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "destroying timer" } } ) );
}

TEST_F( MirelundPsocTest, InitWritesTheConfigurationInOneBatchAndArmsTheTimerWithoutPolling ) {
    EXPECT_EQ( driver_->init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x33 0x01", "write8 0x30 0x01",
                                "write8 0x31 0xff", "execute" } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "setting polling interval to 1000ms" } } ) );
    EXPECT_TRUE( host_.timers.at( timer_ ).armed );
    EXPECT_EQ( host_.timers.at( timer_ ).milliseconds, 1000u );
}

TEST_F( MirelundPsocTest, FailedConfigurationIsTracedAndPollingStarts ) {
    ham_.statuses = { 4 };
    EXPECT_EQ( driver_->init(), 0 );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "MirelundPsoc init: failed to write configuration" },
                                       { 0, "setting polling interval to 1000ms" } } ) );
    EXPECT_TRUE( host_.timers.at( timer_ ).armed );
}

TEST_F( MirelundPsocTest, SecondInitWritesTheConfigurationAgainAndKeepsTheTimer ) {
    driver_->init();
    ham_.takeLog();
    host_.traces.clear();
    EXPECT_EQ( driver_->init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x33 0x01", "write8 0x30 0x01",
                                "write8 0x31 0xff", "execute" } ) );
    EXPECT_EQ( host_.timers.at( timer_ ).sets, 1 );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( MirelundPsocTest, TimerThatCannotBeArmedAborts ) {
    host_.refuseTimerSet = true;
    EXPECT_DEATH( driver_->init(), "Assertion `pollStart\\(\\)' failed" );
}

TEST_F( MirelundPsocTest, TimerThatCannotBeArmedIsTracedBeforeTheAbort ) {
    host_.refuseTimerSet = true;
    EXPECT_DEATH(
        {
            const TracesOnAbort traces;
            driver_->init();
        },
        "trace 0: setting polling interval to 1000ms\ntrace 0: failed to set timer interval\n" );
}

TEST_F( MirelundPsocTest, HostWithoutTimersAborts ) {
    host_.refuseTimers = true;
    std::unique_ptr<Component::HardwareDevice> driver(
        Drivers::MirelundPsoc::create( args_, &ham_ ) );
    driver->hamIs( &ham_ );
    EXPECT_DEATH( driver->init(), "Assertion `pollStart\\(\\)' failed" );
}

TEST_F( MirelundPsocTest, EveryExpiryReadsTheStallAlertsAndArmsTheTimerAgain ) {
    driver_->init();
    ham_.takeLog();
    host_.traces.clear();
    for ( int expiry = 1; expiry <= 2; ++expiry ) {
        EXPECT_TRUE( host_.fire( timer_ ) );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x32", "execute" } ) );
        EXPECT_EQ( host_.timers.at( timer_ ).sets, 1 + expiry );
        EXPECT_EQ( host_.timers.at( timer_ ).milliseconds, 1000u );
    }
    EXPECT_EQ( host_.traces,
               ( Traces{ { 6, "pollCallbackWrapper" }, { 6, "pollCallbackWrapper" } } ) );
}

TEST_F( MirelundPsocTest, FailedPollIsTracedAndPollingGoesOn ) {
    driver_->init();
    host_.traces.clear();
    ham_.statuses = { 6 };
    host_.fire( timer_ );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 6, "pollCallbackWrapper" },
                         { 0, "Error status 6 reading fan stall alert register" } } ) );
    EXPECT_TRUE( host_.timers.at( timer_ ).armed );
}

TEST_F( MirelundPsocTest, FailedPollLeavesTheLastAlerts ) {
    const FanPointer first = fan( "1" );
    poll( 0x01 );
    ham_.bytes[ 50 ] = 0x00;
    ham_.statuses = { 4 };
    host_.fire( timer_ );
    int rpm = 0;
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_FAULT );
    host_.fire( timer_ );
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_OK );
}

TEST_F( MirelundPsocTest, PollCallbackTellsWhetherTheReadSucceeded ) {
    auto *psoc = static_cast<Drivers::MirelundPsoc *>( driver_.get() );
    EXPECT_TRUE( psoc->pollCallback() );
    ham_.statuses = { 4 };
    EXPECT_FALSE( psoc->pollCallback() );
}

TEST_F( MirelundPsocTest, OtherKindsAreNotOffered ) {
    EXPECT_THROW( driver_->newLed( args_ ), Component::NotImplementedException );
    EXPECT_THROW( driver_->newSlot( args_ ), Component::NotImplementedException );
    EXPECT_THROW( driver_->newPsu( args_ ), Component::NotImplementedException );
}

// Fans

TEST_F( MirelundPsocTest, NewFanIsTraced ) {
    FanPointer( driver_->newFan(
        withArguments( { { "fanId", "3" }, { "maxRpm", "10000" }, { "registerOffset", "0" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating new MirelundPsoc Fan id 3" } } ) );
}

TEST_F( MirelundPsocTest, MissingFanArgumentsAbort ) {
    const char *message = "Assertion `it != args.driverArgs.end\\(\\)' failed";
    EXPECT_DEATH(
        driver_->newFan( withArguments( { { "maxRpm", "10000" }, { "registerOffset", "0" } } ) ),
        message );
    EXPECT_DEATH(
        driver_->newFan( withArguments( { { "fanId", "1" }, { "registerOffset", "0" } } ) ),
        message );
}

TEST_F( MirelundPsocTest, FanIdOutsideOneToFourAborts ) {
    for ( const char *id : { "0", "5", "-1", "257" } ) {
        EXPECT_DEATH( fan( id ), "Assertion `fanId >= 1 && fanId <= 4' failed" ) << id;
    }
}

TEST_F( MirelundPsocTest, MissingRegisterOffsetThrowsFromTheConversion ) {
    EXPECT_THROW( driver_->newFan( withArguments( { { "fanId", "1" }, { "maxRpm", "10000" } } ) ),
                  std::invalid_argument );
}

TEST_F( MirelundPsocTest, FanArgumentThatIsNoNumberThrows ) {
    EXPECT_THROW( fan( "one" ), std::invalid_argument );
    EXPECT_THROW( fan( "1", { { "maxRpm", "" } } ), std::invalid_argument );
    EXPECT_THROW( fan( "1", { { "maxRpm", "4294967296" } } ), std::out_of_range );
}

TEST_F( MirelundPsocTest, SpeedIsTheByteSwappedWordOfTheFansRegister ) {
    const FanPointer first = fan( "1" );
    ham_.words[ 64 ] = 0x1027; // 10000 is 0x2710
    int rpm = 0;
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 10000 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read16 0x40", "execute" } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "MirelundPsoc::getFanRpm -- id: 0, rpm: 10000" } } ) );
}

TEST_F( MirelundPsocTest, HighestSpeedIsNotTakenForANegativeOne ) {
    const FanPointer first = fan( "1" );
    ham_.words[ 64 ] = 0xFFFF;
    int rpm = 0;
    first->getRpm( &rpm );
    EXPECT_EQ( rpm, 65535 );
}

TEST_F( MirelundPsocTest, RegisterOffsetSelectsTheSpeedRegister ) {
    const struct {
        const char *offset;
        const char *read;
    } cases[] = {
        { "0", "read16 0x40" },  { "1", "read16 0x42" },  { "2", "read16 0x44" },
        { "95", "read16 0xfe" }, { "96", "read16 0x00" }, { "-1", "read16 0x3e" },
    };
    for ( const auto &[ offset, read ] : cases ) {
        const FanPointer made = fan( "1", { { "registerOffset", offset } } );
        int rpm = 0;
        made->getRpm( &rpm );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", read, "execute" } ) ) << offset;
    }
}

TEST_F( MirelundPsocTest, FailedSpeedReadIsTracedAndLeavesTheResult ) {
    const FanPointer third = fan( "3", { { "registerOffset", "2" } } );
    ham_.statuses = { 6 };
    int rpm = 77;
    EXPECT_EQ( third->getRpm( &rpm ), PL_STATUS_FAILED );
    EXPECT_EQ( rpm, 77 );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Error: failed to read from fan 2 speed register 68" } } ) );
}

TEST_F( MirelundPsocTest, StalledFanIsAFaultWithoutABusAccess ) {
    const FanPointer fourth = fan( "4" );
    poll( 0x08 );
    int rpm = 77;
    EXPECT_EQ( fourth->getRpm( &rpm ), PL_STATUS_FAULT );
    EXPECT_EQ( rpm, 77 );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Fan 3 stalled" } } ) );
}

TEST_F( MirelundPsocTest, EachFanHasItsStallBit ) {
    for ( int id = 1; id <= 4; ++id ) {
        const FanPointer made = fan( std::to_string( id ) );
        for ( int bit = 0; bit < 8; ++bit ) {
            poll( static_cast<uint8_t>( 1 << bit ) );
            int rpm = 0;
            EXPECT_EQ( made->getRpm( &rpm ), bit == id - 1 ? PL_STATUS_FAULT : PL_STATUS_OK )
                << id << " " << bit;
        }
    }
}

TEST_F( MirelundPsocTest, UntilTheFirstPollEveryFanReadsItsSpeed ) {
    ham_.bytes[ 50 ] = 0xFF;
    driver_->init();
    for ( const char *id : { "1", "2", "3", "4" } ) {
        const FanPointer made = fan( id );
        int rpm = 0;
        EXPECT_EQ( made->getRpm( &rpm ), PL_STATUS_OK ) << id;
    }
}

TEST_F( MirelundPsocTest, RequestBecomesTheSharedDuty ) {
    const struct {
        int rpm;
        const char *write; ///< hundredths of a percent, high byte first on the wire
    } cases[] = {
        { 5000, "write16 0x3c 0x8813" },  // 5000 = 0x1388
        { 9900, "write16 0x3c 0xac26" },  // 9900 = 0x26ac
        { 9899, "write16 0x3c 0x4826" },  // 98.99 %: 9800 = 0x2648
        { 10000, "write16 0x3c 0xac26" }, // 100 %
        { 20000, "write16 0x3c 0xac26" }, // 200 %
        { 25500, "write16 0x3c 0xac26" }, // 255 %
        { 25600, "write16 0x3c 0x0000" }, // 256 % wraps to 0
        { 26000, "write16 0x3c 0x9001" }, // 260 % wraps to 4: 400 = 0x0190
        { 0, "write16 0x3c 0x0000" },      { 99, "write16 0x3c 0x0000" }, // less than 1 %
        { 100, "write16 0x3c 0x6400" },                                   // 100 = 0x0064
        { -99, "write16 0x3c 0x0000" },                                   // toward zero
        { -100, "write16 0x3c 0xac26" },                                  // -1 %: the byte is 255
        { -25000, "write16 0x3c 0x5802" }, // -250 %: the byte is 6: 600 = 0x0258
    };
    const FanPointer master = masterFan();
    for ( const auto &[ rpm, write ] : cases ) {
        EXPECT_EQ( master->setRpm( rpm ), PL_STATUS_OK ) << rpm;
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", write, "execute" } ) ) << rpm;
    }
}

TEST_F( MirelundPsocTest, RequestsAtTheEndsOfTheRangeAreDefined ) {
    const FanPointer master = masterFan();
    // 100 times these wrap around at 32 bits, to -100 and to 0.
    EXPECT_EQ( master->setRpm( INT_MAX ), PL_STATUS_OK );
    EXPECT_EQ( master->setRpm( INT_MIN ), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write16 0x3c 0x0000", "execute", "prepare",
                                      "write16 0x3c 0x0000", "execute" } ) );
    // 2^29 times 100 wraps around to -2^31, and the maximum of -1 makes 2^31 of that.
    const FanPointer odd = masterFan( "-1" );
    EXPECT_EQ( odd->setRpm( 1 << 29 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write16 0x3c 0x0000", "execute" } ) );
}

TEST_F( MirelundPsocTest, SettingIsTraced ) {
    FanPointer third = fan( "3", { { "pwmMaster", "true" }, { "maxRpm", "20000" } } );
    EXPECT_EQ( third->setRpm( 9000 ), PL_STATUS_OK );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "Setting fan 2 rpm to 9000" } } ) );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x3c 0x9411", "execute" } ) ); // 45 %: 0x1194
}

TEST_F( MirelundPsocTest, FailedSettingIsTracedAndReturned ) {
    const FanPointer master = masterFan();
    ham_.statuses = { 4 };
    EXPECT_EQ( master->setRpm( 5000 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 5, "Setting fan 0 rpm to 5000" },
                         { 0, "Error: setting fan 0 to 5000 rpm failed with status 4" } } ) );
}

TEST_F( MirelundPsocTest, OnlyThePwmMasterWrites ) {
    for ( const char *text : { "false", "True", "1", "", "true " } ) {
        const FanPointer made = fan( "1", { { "pwmMaster", text } } );
        EXPECT_EQ( made->setRpm( 5000 ), PL_STATUS_OK ) << text;
    }
    EXPECT_EQ( fan( "1" )->setRpm( 5000 ), PL_STATUS_OK );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( MirelundPsocTest, MaximumOfZeroCannotBeSet ) {
    const FanPointer master = masterFan( "0" );
    EXPECT_EQ( master->setRpm( 5000 ), PL_STATUS_TRANSPORT );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Error: setting fan 0 to 5000 rpm failed with status 4" } } ) );
}

TEST_F( MirelundPsocTest, MaximumOfZeroDoesNotMatterToOtherFans ) {
    EXPECT_EQ( fan( "1", { { "maxRpm", "0" } } )->setRpm( 5000 ), PL_STATUS_OK );
}

// Temperature sensors

TEST_F( MirelundPsocTest, SensorReadsWholeDegreesFromItsRegister ) {
    const SensorPointer sensor(
        driver_->newTempSensor( withArguments( { { "sensorId", "2" }, { "register", "33" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating MirelundPsoc TempSensor Device" },
                                       { 5, "TempSensor id=2, register=33" } } ) );
    EXPECT_EQ( sensor->id(), 2 );
    EXPECT_EQ( sensor->reg(), 33 );
    ham_.bytes[ 33 ] = 200;
    float celsius = 0;
    EXPECT_EQ( sensor->getTemperature( &celsius ), PL_STATUS_OK );
    EXPECT_EQ( celsius, 200.0f );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x21", "execute" } ) );
}

TEST_F( MirelundPsocTest, FailedTemperatureIsTracedAndLeavesTheResult ) {
    const SensorPointer sensor(
        driver_->newTempSensor( withArguments( { { "sensorId", "5" }, { "register", "37" } } ) ) );
    host_.traces.clear();
    ham_.statuses = { 4 };
    float celsius = 12.5f;
    EXPECT_EQ( sensor->getTemperature( &celsius ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( celsius, 12.5f );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Error status 4 reading temperature from Psoc sensor 5" } } ) );
}

TEST_F( MirelundPsocTest, SensorsNumbersAreKeptToEightBits ) {
    const SensorPointer sensor( driver_->newTempSensor(
        withArguments( { { "sensorId", "258" }, { "register", "289" } } ) ) );
    EXPECT_TRUE( host_.traced( 5, "TempSensor id=2, register=33" ) );
    EXPECT_EQ( sensor->id(), 2 );
    EXPECT_EQ( sensor->reg(), 33 );
}

TEST_F( MirelundPsocTest, MissingSensorArgumentsAbort ) {
    EXPECT_DEATH( driver_->newTempSensor( withArguments( { { "register", "33" } } ) ),
                  "Assertion `idIt != args.driverArgs.end\\(\\)' failed" );
    EXPECT_DEATH( driver_->newTempSensor( withArguments( { { "sensorId", "1" } } ) ),
                  "Assertion `regIt != args.driverArgs.end\\(\\)' failed" );
}

// Simulation

TEST_F( MirelundPsocTest, SimulatedRegisters ) {
    const Utils::ExpectedValues &values = *driver_->expectedValues();
    const struct {
        unsigned reg, value, width;
    } rows[] = { { 32, 40, 1 },  { 33, 39, 1 },    { 34, 39, 1 },    { 36, 39, 1 },   { 37, 38, 1 },
                 { 50, 136, 1 }, { 64, 65055, 2 }, { 66, 65055, 2 }, { 68, 65366, 2 } };
    EXPECT_EQ( values.size(), 9u );
    for ( const auto &[ reg, value, width ] : rows ) {
        ASSERT_EQ( values.count( reg ), 1u ) << reg;
        EXPECT_TRUE( values.at( reg ).isNumeric() ) << reg;
        EXPECT_EQ( values.at( reg ).val(), value ) << reg;
        EXPECT_EQ( values.at( reg ).size(), width ) << reg;
    }
}

using MirelundPsocSimulation = SimulationFixture;

TEST_F( MirelundPsocSimulation, FansAndSensorsAnswerFromTheSimulationFile ) {
    loadDevices( R"({ "did": 7 })" );
    const auto description = []( const std::string &arguments ) {
        return R"({ "driver": "MirelundPsoc", "did": 7, "name": "psoc",
                    "address": { "address": 16 }, "driverArgs": )" +
               arguments + "}";
    };
    pl_fan *third = pl_fan_add(
        description( R"({ "fanId": 3, "maxRpm": 25000, "registerOffset": 2 })" ).c_str() );
    pl_fan *fourth = pl_fan_add(
        description( R"({ "fanId": 4, "maxRpm": 25000, "registerOffset": 0 })" ).c_str() );
    pl_temp_sensor *sensor =
        pl_temp_sensor_add( description( R"({ "sensorId": 1, "register": 32 })" ).c_str(), 60, 70 );

    EXPECT_EQ( fileText( "MirelundPsoc", "psoc" ), "282727272688fe1ffe1fff56\n" );

    int rpm = 0;
    EXPECT_EQ( fourth->ops->get_rpm( fourth, &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 8190 );
    EXPECT_EQ( third->ops->get_rpm( third, &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 22271 );
    float celsius = 0;
    EXPECT_EQ( sensor->ops->get_temperature( sensor, &celsius ), PL_STATUS_OK );
    EXPECT_EQ( celsius, 40.0f );

    EXPECT_EQ( host_.fireAll(), 1 );
    EXPECT_EQ( fourth->ops->get_rpm( fourth, &rpm ), PL_STATUS_FAULT );
    EXPECT_EQ( third->ops->get_rpm( third, &rpm ), PL_STATUS_OK );

    for ( pl_fan *fan : { third, fourth } ) {
        delete static_cast<Component::LogicalDevice::Fan *>( fan->priv );
    }
    delete static_cast<Component::LogicalDevice::TempSensor *>( sensor->priv );
    deleteDevice( 7 );
}

} // namespace
