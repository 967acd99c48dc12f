/**
 * @file
 * The LEDs on the expander of the supplies, in step with their model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Led.h"
#include "tests/model/LedSteps.h"
#include "tests/model/Place.h"
#include "tests/model/PsuExpanderModel.h"

namespace model {

namespace {

class PsuExpanderLife : public Life {
  public:
    explicit PsuExpanderLife( Bench &bench )
        : PsuExpanderLife( bench, randomPlace( bench.random ) ) {}

    void step() override {
        Random &random = bench_.random;
        const int n = random.between( 0, static_cast<int>( leds_.size() ) - 1 );
        switch ( random.below( 10 ) ) {
        case 0:
            return bench_.setByte( place_.chip(), random.below( 8 ), random.byte() );
        case 1:
            return bench_.act(
                "init()", [ & ] { return driver_->init(); }, [ & ] { return model_.init(); } );
        case 2:
        case 3:
        case 4:
            return expire();
        default:
            return setLed( bench_, leds_[ static_cast<size_t>( n ) ]->record(),
                           [ & ]( int setting ) { return model_.setLight( n, setting ); } );
        }
    }
    void end() override {
        constexpr int inactive = 4;
        for ( size_t n = 0; n < leds_.size(); ++n ) {
            setLedTo( bench_, leds_[ n ]->record(), inactive, [ & ]( int setting ) {
                return model_.setLight( static_cast<int>( n ), setting );
            } );
        }
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    PsuExpanderLife( Bench &bench, const Place &place )
        : bench_( bench ), place_( place ),
          model_( bench.world, place.path, blinkNow( bench.world ) ),
          driver_( place, "MirePsuPCA9555", {} ) {
        createBlinkTimer( bench, model_.blink );
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, "MirePsuPCA9555", [ & ] { model_.create(); },
                    [ & ] { model_.init(); } );
                return "made";
            } );
        addLed( "psu", { 0, 10, 11 } );
        addLed( "psu", { 1, 12, 13 } );
        addLed( "multifan", { bench.random.between( 0, 1 ), 14, 15 } );
    }

    void addLed( const char *type, const PsuExpanderModel::Led &led ) {
        const int id = led.index + 1;
        model_.addLed( led );
        bench_.act(
            "newLed",
            [ & ] {
                leds_.emplace_back( driver_->newLed(
                    peripheralArgs( { { "id", std::to_string( id ) }, { "type", type } } ) ) );
                return leds_.back()->blinks() ? 1 : 0;
            },
            [ & ] {
                bench_.world.trace( 5, "creating new MirePCA9555 %s LED with id %d", type, id );
                return 1;
            } );
    }

    void expire() {
        if ( !model_.blink.isArmed() ) {
            return;
        }
        bench_.act(
            "tick",
            [ & ] {
                Bench::fire( model_.blink.timer() );
                return 0;
            },
            [ & ] {
                model_.expire();
                return 0;
            } );
    }

    Bench &bench_;
    Place place_;
    PsuExpanderModel model_;
    Device driver_;
    std::vector<std::unique_ptr<Component::LogicalDevice::Led>> leds_;
};

TEST( InStep, PsuExpander ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<PsuExpanderLife>( bench ); } );
}

} // namespace

} // namespace model
