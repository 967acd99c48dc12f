/**
 * @file
 * The fan and temperature controller, in step with its model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/TempSensor.h"
#include "tests/model/Place.h"
#include "tests/model/PsocModel.h"
#include "tests/model/PsuSteps.h"

namespace model {

namespace {

namespace logical = Component::LogicalDevice;

class PsocLife : public Life {
  public:
    explicit PsocLife( Bench &bench ) : PsocLife( bench, randomPlace( bench.random ) ) {}

    void step() override {
        Random &random = bench_.random;
        const uint32_t fan = random.below( 4 );
        switch ( random.below( 10 ) ) {
        case 0:
            return bench_.setByte( place_.chip(), 50,
                                   random.oneIn( 2 ) ? 0 : random.byte() & random.byte() );
        case 1:
            return bench_.setWord( place_.chip(), random.below( 256 ), random.word() );
        case 2:
            return bench_.setByte( place_.chip(), random.below( 256 ), random.byte() );
        case 3:
            return bench_.both(
                "init()", [ & ] { return fmt::format( "{}", driver_->init() ); },
                [ & ] { return fmt::format( "{}", model_.init() ); } );
        case 4:
            return expire();
        case 5:
            return getTemperature( random.below( 5 ) );
        case 6:
            return setRpm( bench_, realFans_[ fan ]->record(), fans_[ fan ].maxRpm,
                           [ & ]( int rpm ) { return model_.setRpm( fans_[ fan ], rpm ); } );
        case 7:
            return debugInfo( fan );
        default:
            return getRpm( fan );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); },
            [ & ] {
                model_.poll.destroy();
                return "";
            } );
    }

  private:
    PsocLife( Bench &bench, const Place &place )
        : bench_( bench ), place_( place ), model_( bench.world, place.path ),
          driver_( place, "MirelundPsoc", {} ) {
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, "MirelundPsoc", [ & ] { model_.create(); },
                    [ & ] { model_.init(); } );
                return "made";
            } );
        for ( int index = 0; index < 4; ++index ) {
            addFan( index );
        }
        for ( int n = 0; n < 5; ++n ) {
            addSensor();
        }
    }

    void addFan( int index ) {
        Random &random = bench_.random;
        const int maxRpm = random.between( 1, 30000 );
        const int offset = random.between( 0, 200 );
        const std::string master = random.of( { "true", "true", "false", "True", "" } );
        fans_.push_back(
            { index, maxRpm, static_cast<uint8_t>( 64 + 2 * offset ), master == "true" } );
        ArgMap args{ { "fanId", std::to_string( index + 1 ) },
                     { "maxRpm", std::to_string( maxRpm ) },
                     { "registerOffset", std::to_string( offset ) } };
        if ( !master.empty() ) {
            args[ "pwmMaster" ] = master;
        }
        bench_.both(
            "newFan",
            [ & ] {
                realFans_.emplace_back( driver_->newFan( peripheralArgs( args ) ) );
                return "";
            },
            [ & ] {
                bench_.world.trace( 0, "Creating new MirelundPsoc Fan id %d", index + 1 );
                return "";
            } );
    }

    void addSensor() {
        const int id = bench_.random.between( 0, 300 );
        const int reg = bench_.random.between( 0, 300 );
        sensors_.push_back( { static_cast<uint8_t>( id ), static_cast<uint8_t>( reg ) } );
        bench_.both(
            "newTempSensor",
            [ & ] {
                const ArgMap args{ { "sensorId", std::to_string( id ) },
                                   { "register", std::to_string( reg ) } };
                realSensors_.emplace_back( driver_->newTempSensor( peripheralArgs( args ) ) );
                return "";
            },
            [ & ] {
                bench_.world.trace( 0, "Creating MirelundPsoc TempSensor Device" );
                bench_.world.trace( 5, "TempSensor id=%d, register=%d", id & 0xFF, reg & 0xFF );
                return "";
            } );
    }

    void expire() {
        if ( !model_.poll.isArmed() ) {
            return;
        }
        bench_.world.refuseTimerSet = bench_.random.oneIn( 50 );
        bench_.both(
            "poll",
            [ & ] {
                Bench::fire( model_.poll.timer() );
                return "";
            },
            [ & ] {
                model_.poll.expire( [ & ] { model_.pollCallback(); } );
                return "";
            } );
        bench_.world.refuseTimerSet = false;
    }

    void getRpm( uint32_t n ) {
        if ( !model_.isSpeedOpen() ) {
            model::getRpm( bench_, realFans_[ n ]->record(),
                           [ & ]( int *rpm ) { return model_.getRpm( fans_[ n ], rpm ); } );
        }
    }

    void debugInfo( uint32_t n ) {
        pl_fan *fan = realFans_[ n ]->record();
        char *text = nullptr;
        bench_.both(
            fmt::format( "debugInfo of fan {}", n ),
            [ & ] {
                const int status = fan->ops->debug_info( fan, &text );
                return fmt::format( "{} {}", status, text != nullptr );
            },
            [ & ] {
                bench_.world.trace( 4, "debugInfoCallback(%p)", static_cast<void *>( fan ) );
                return "0 false";
            } );
    }

    void getTemperature( uint32_t n ) {
        pl_temp_sensor *sensor = realSensors_[ n ]->record();
        float got = -77;
        float expected = -77;
        bench_.both(
            fmt::format( "getTemperature of sensor {}", n ),
            [ & ] {
                const int status = sensor->ops->get_temperature( sensor, &got );
                return fmt::format( "{} {}", status, got );
            },
            [ & ] {
                bench_.world.trace( 4, "getTemperatureCallback(%p)",
                                    static_cast<void *>( sensor ) );
                const int status =
                    model_.getTemperature( sensors_[ n ].id, sensors_[ n ].reg, &expected );
                return fmt::format( "{} {}", status, expected );
            } );
    }

    struct Sensor {
        uint8_t id;
        uint8_t reg;
    };
    Bench &bench_;
    Place place_;
    PsocModel model_;
    Device driver_;
    std::vector<PsocModel::Fan> fans_;
    std::vector<Sensor> sensors_;
    std::vector<std::unique_ptr<logical::Fan>> realFans_;
    std::vector<std::unique_ptr<logical::TempSensor>> realSensors_;
};

TEST( InStep, Psoc ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<PsocLife>( bench ); } );
}

} // namespace

} // namespace model
