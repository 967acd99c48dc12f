/**
 * @file
 * The driver of single GPIO lines on a PCA9555, in step with its model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <pl/gpio.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "tests/model/LineModel.h"
#include "tests/model/Place.h"

namespace model {

namespace {

struct LineSetting {
    Place place;
    int config[ 2 ];
    int cacheTimeout;
    ExpanderModel::Registers registers;
    bool areDefaults; ///< of the time-out and the registers
};

LineSetting randomSetting( Random &random ) {
    const Place place = randomPlace( random );
    if ( random.oneIn( 2 ) ) {
        return { place, { random.byte(), random.byte() }, 2, { 0, 2, 6 }, true };
    }
    return { place,
             { random.byte(), random.byte() },
             random.between( 0, 600 ),
             { random.byte(), random.byte(), random.byte() },
             false };
}

ArgMap argsOf( const LineSetting &setting ) {
    ArgMap args{ { "bank-io-0", std::to_string( setting.config[ 0 ] ) },
                 { "bank-io-1", std::to_string( setting.config[ 1 ] ) } };
    if ( !setting.areDefaults ) {
        args[ "cacheTimeout" ] = std::to_string( setting.cacheTimeout );
        args[ "inputBankBase" ] = std::to_string( setting.registers.input );
        args[ "outputBankBase" ] = std::to_string( setting.registers.output );
        args[ "configBankBase" ] = std::to_string( setting.registers.config );
    }
    return args;
}

class LineLife : public Life {
  public:
    explicit LineLife( Bench &bench ) : LineLife( bench, randomSetting( bench.random ) ) {}

    void step() override {
        Random &random = bench_.random;
        switch ( random.below( 8 ) ) {
        case 0:
            return bench_.pass( random.between( 0, 3 ), random.of( { 0, 1, 999999999 } ) );
        case 1:
            return bench_.setByte( setting_.place.chip(), random.below( 256 ), random.byte() );
        case 2:
            return bench_.both(
                "init()", [ & ] { return fmt::format( "{}", driver_->init() ); },
                [ & ] { return fmt::format( "{}", model_.init() ); } );
        default:
            return useLine( static_cast<uint8_t>( random.below( 16 ) ) );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    LineLife( Bench &bench, const LineSetting &setting )
        : bench_( bench ), setting_( setting ),
          model_( bench.world, setting.place.path,
                  { static_cast<uint8_t>( setting.config[ 0 ] ),
                    static_cast<uint8_t>( setting.config[ 1 ] ) },
                  static_cast<uint8_t>( setting.cacheTimeout ), setting.registers ),
          driver_( setting.place, "GenericPCA9555", argsOf( setting ) ) {
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); }, [ & ] { return create(); } );
        for ( int pin = 0; pin < 16; ++pin ) {
            lines_.emplace_back(
                driver_->newGpio( peripheralArgs( { { "bank", std::to_string( pin / 8 ) },
                                                    { "bit", std::to_string( pin % 8 ) } } ) ) );
        }
    }

    std::string create() {
        const auto factory = [ & ] {
            bench_.world.trace( 0, "Creating ambiguous PCA9555 Device: cacheTimeout %ds",
                                setting_.cacheTimeout & 0xFF );
        };
        Device::model( bench_.world, setting_.place, "GenericPCA9555", factory,
                       [ & ] { model_.init(); } );
        return "made";
    }

    void useLine( uint8_t pin ) {
        pl_gpio *line = lines_[ pin ]->record();
        const auto bank = static_cast<uint8_t>( pin / 8 );
        const auto bit = static_cast<uint8_t>( pin % 8 );
        unsigned got = 0xAAAA;
        unsigned expected = 0xAAAA;
        switch ( bench_.random.below( 3 ) ) {
        case 0:
            return bench_.both(
                fmt::format( "set line {}", pin ),
                [ & ] { return fmt::format( "{:d}", line->ops->bit_set( line ) ); },
                [ & ] { return fmt::format( "{}", model_.bitSet( bank, bit ) ); } );
        case 1:
            return bench_.both(
                fmt::format( "clear line {}", pin ),
                [ & ] { return fmt::format( "{:d}", line->ops->bit_clear( line ) ); },
                [ & ] { return fmt::format( "{}", model_.bitClear( bank, bit ) ); } );
        default:
            return bench_.both(
                fmt::format( "read line {}", pin ),
                [ & ] {
                    const int status = line->ops->bit_read( line, &got );
                    return fmt::format( "{} {}", status, got );
                },
                [ & ] {
                    const int status = model_.bitRead( bank, bit, &expected );
                    return fmt::format( "{} {}", status, expected );
                } );
        }
    }

    Bench &bench_;
    LineSetting setting_;
    LineModel model_;
    Device driver_;
    std::vector<std::unique_ptr<Component::LogicalDevice::Gpio>> lines_;
};

TEST( InStep, Lines ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<LineLife>( bench ); } );
}

} // namespace

} // namespace model
