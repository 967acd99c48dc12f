/**
 * @file
 * PMBus supplies, in step with their model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/Psu.h"
#include "OrvanGeneric/Components/TempSensor.h"
#include "tests/model/Place.h"
#include "tests/model/PmbusModel.h"
#include "tests/model/PsuSteps.h"

namespace model {

namespace {

namespace logical = Component::LogicalDevice;

struct PmbusSetting {
    Place place;
    std::string voutExponent; ///< empty: not given
    bool hasLine;
    uint8_t lineReg;
    int lineBit;
    std::string lineActiveLow; ///< empty: not given
};

PmbusSetting randomSetting( Random &random ) {
    return { randomPlace( random ),  random.oneIn( 2 ) ? "" : std::to_string( random.byte() ),
             random.oneIn( 2 ),      random.byte(),
             random.between( 0, 7 ), random.of( { "", "true", "false", "TRUE" } ) };
}

ArgMap argsOf( const PmbusSetting &setting ) {
    ArgMap args;
    if ( !setting.voutExponent.empty() ) {
        args[ "voutExponent" ] = setting.voutExponent;
    }
    if ( setting.hasLine ) {
        args[ "gpioDevice" ] = linesLabel;
        args[ "powerOkReg" ] = std::to_string( setting.lineReg );
        args[ "powerOkBit" ] = std::to_string( setting.lineBit );
    }
    if ( !setting.lineActiveLow.empty() ) {
        args[ "powerOkActiveLow" ] = setting.lineActiveLow;
    }
    return args;
}

PmbusModel modelOf( World &world, const PmbusSetting &setting ) {
    std::optional<PmbusModel::PowerLine> line;
    if ( setting.hasLine ) {
        const std::string &activeLow = setting.lineActiveLow;
        line = { { HamModel( world, linesPath() ), setting.lineReg, setting.lineBit },
                 activeLow.empty() || activeLow == "true" };
    }
    const std::string &exponent = setting.voutExponent;
    return { world, setting.place.path,
             exponent.empty() ? PmbusModel::exponentFromMode : std::stoi( exponent ), line };
}

class PmbusLife : public Life {
  public:
    explicit PmbusLife( Bench &bench ) : PmbusLife( bench, randomSetting( bench.random ) ) {}

    void step() override {
        Random &random = bench_.random;
        const uint32_t fan = random.below( 2 );
        switch ( random.below( 16 ) ) {
        case 0:
            return bench_.setByte( setting_.place.chip(), 0x20,
                                   random.oneIn( 4 ) ? random.of<uint8_t>( { 0xFF, 0x20, 0x40 } )
                                                     : random.byte() & 0x1F );
        case 1:
            return bench_.setByte( setting_.place.chip(), 0x81, random.byte() & random.byte() );
        case 2:
            return bench_.setByte( linesChip, setting_.lineReg, random.byte() );
        case 3:
        case 4:
        case 5:
            return bench_.setWord( setting_.place.chip(), 0x70 + random.below( 0x30 ),
                                   random.word() );
        case 6:
            return getPowerOk( bench_, psu_, [ & ]( int *ok ) { return model_.getPowerOk( ok ); } );
        case 7:
            return getRpm( bench_, realFans_[ fan ]->record(),
                           [ & ]( int *rpm ) { return model_.getRpm( fans_[ fan ], rpm ); } );
        case 8:
            return setRpm( bench_, realFans_[ fan ]->record(), fans_[ fan ].maxRpm,
                           [ & ]( int rpm ) { return model_.setRpm( fans_[ fan ], rpm ); } );
        case 9:
            return getTemperature( random.below( 3 ) );
        default:
            return read( randomReading( random ) );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    PmbusLife( Bench &bench, const PmbusSetting &setting )
        : bench_( bench ), setting_( setting ), model_( modelOf( bench.world, setting ) ),
          driver_( setting.place, "Pmbus", argsOf( setting ) ) {
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, setting_.place, "Pmbus", [ & ] { create(); }, [] {} );
                return "made";
            } );
        addPsu();
        for ( int index = 0; index < 2; ++index ) {
            addFan( index );
        }
        for ( int n = 0; n < 3; ++n ) {
            addSensor();
        }
    }

    void create() {
        bench_.world.trace( 0, "Creating Pmbus Device" );
        if ( setting_.hasLine ) {
            traceLinesFound( bench_.world );
        }
    }

    void addPsu() {
        static std::vector<logical::Psu *> all; // a supply cannot be deleted
        bench_.act(
            "newPsu",
            [ & ] {
                all.push_back( driver_->newPsu( {} ) );
                psu_ = all.back()->record();
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating Pmbus Psu Device" );
                return 0;
            } );
    }

    void addFan( int index ) {
        Random &random = bench_.random;
        const std::string pec = random.of( { "", "true", "false" } );
        fans_.push_back( { index, random.between( 1, 30000 ), pec == "true" } );
        ArgMap args{ { "fanId", std::to_string( index + 1 ) },
                     { "maxFanRpm", std::to_string( fans_.back().maxRpm ) } };
        if ( !pec.empty() ) {
            args[ "pec" ] = pec;
        }
        bench_.act(
            "newFan",
            [ & ] {
                realFans_.emplace_back( driver_->newFan( peripheralArgs( args ) ) );
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating Pmbus Fan Device" );
                return 0;
            } );
    }

    void addSensor() {
        Random &random = bench_.random;
        const bool isChosen = random.oneIn( 2 );
        const int sensor = random.between( 1, 3 );
        const int id = isChosen ? random.between( 0, 300 ) : sensor;
        ArgMap args{ { "sensorId", std::to_string( id ) } };
        if ( isChosen ) {
            args[ "tempSensor" ] = std::to_string( sensor );
        }
        sensors_.push_back( static_cast<uint8_t>( 0x8C + sensor ) );
        bench_.act(
            "newTempSensor",
            [ & ] {
                realSensors_.emplace_back( driver_->newTempSensor( peripheralArgs( args ) ) );
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating Pmbus TempSensor device %d using sensor %d",
                                    id & 0xFF, sensor );
                return 0;
            } );
    }

    void read( const PsuReading &reading ) {
        readPsu( bench_, psu_, reading, model_, [ & ]( float *value ) {
            return reading.kind == PsuReading::OutputVoltage
                       ? model_.getOutputVoltage( value )
                       : model_.readLinear( reading.command, value );
        } );
    }

    void getTemperature( uint32_t n ) {
        pl_temp_sensor *sensor = realSensors_[ n ]->record();
        bench_.get(
            fmt::format( "getTemperature of sensor {}", n ), -77.0f,
            [ & ]( float *value ) { return sensor->ops->get_temperature( sensor, value ); },
            [ & ]( float *value ) {
                bench_.world.trace( 4, "getTemperatureCallback(%p)",
                                    static_cast<void *>( sensor ) );
                return model_.getTemperature( sensors_[ n ], value );
            } );
    }

    Bench &bench_;
    PmbusSetting setting_;
    PmbusModel model_;
    Device driver_;
    pl_psu *psu_ = nullptr;
    std::vector<PmbusModel::Fan> fans_;
    std::vector<uint8_t> sensors_; ///< their commands
    std::vector<std::unique_ptr<logical::Fan>> realFans_;
    std::vector<std::unique_ptr<logical::TempSensor>> realSensors_;
};

TEST( InStep, Pmbus ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<PmbusLife>( bench ); } );
}

} // namespace

} // namespace model
