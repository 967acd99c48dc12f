/**
 * @file
 * The expander of the fan trays, in step with its model.
 */
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Led.h"
#include "OrvanGeneric/Components/Slot.h"
#include "tests/model/FanTrayModel.h"
#include "tests/model/LedSteps.h"
#include "tests/model/Place.h"
#include "tests/model/SlotSteps.h"

namespace model {

namespace {

namespace logical = Component::LogicalDevice;

class FanTrayLife : public Life {
  public:
    explicit FanTrayLife( Bench &bench )
        : FanTrayLife( bench, randomPlace( bench.random ),
                       { bench.random.byte(), bench.random.byte() } ) {}

    void step() override {
        Random &random = bench_.random;
        const int n = random.between( 0, 3 );
        switch ( random.below( 10 ) ) {
        case 0:
            return bench_.pass( random.between( 0, 3 ), random.of( { 0, 1, 999999999 } ) );
        case 1:
            return bench_.setByte( place_.chip(), random.below( 8 ), random.byte() );
        case 2:
        case 3:
            return expire();
        case 4:
        case 5:
        case 6:
            return setLed( bench_, leds_[ static_cast<size_t>( n ) ]->record(),
                           [ & ]( int setting ) { return model_.setLight( n, setting ); } );
        case 7:
            return bench_.act(
                "init()", [ & ] { return driver_->init(); }, [ & ] { return model_.init(); } );
        default:
            return getPresence( n );
        }
    }
    void end() override {
        constexpr int inactive = 4;
        for ( int n = 0; n < 4; ++n ) {
            setLedTo( bench_, leds_[ static_cast<size_t>( n ) ]->record(), inactive,
                      [ & ]( int setting ) { return model_.setLight( n, setting ); } );
        }
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    FanTrayLife( Bench &bench, const Place &place, const std::vector<uint8_t> &config )
        : bench_( bench ), place_( place ),
          model_( bench.world, place.path, config, blinkNow( bench.world ) ),
          driver_( place, "MirelundPCA9555",
                   { { "bank-io-0", std::to_string( config[ 0 ] ) },
                     { "bank-io-1", std::to_string( config[ 1 ] ) } } ) {
        createBlinkTimer( bench, model_.blink );
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, "MirelundPCA9555", [ & ] { model_.create(); },
                    [ & ] { model_.init(); } );
                return "made";
            } );
        for ( int number = 1; number <= 4; ++number ) {
            addLed( number );
            addSlot( number );
        }
    }

    void addLed( int number ) {
        bench_.act(
            "newLed",
            [ & ] {
                leds_.emplace_back(
                    driver_->newLed( peripheralArgs( { { "id", std::to_string( number ) } } ) ) );
                return leds_.back()->blinks() ? 1 : 0;
            },
            [ & ] {
                bench_.world.trace( 5, "Creating new PCA9555 LED for fan id %d", number );
                return 1;
            } );
    }

    FanTrayModel::SlotTexts randomTexts() {
        Random &random = bench_.random;
        return { random.of( { "{airflowDirection} {maxRpm} {modelName}",
                              "{\"m\":\"{modelName}{modelName}\",{maxRpm},{airflowDirection}}",
                              "{maxRpm}{airflowDirection}{maxRpm}{{modelName}}" } ),
                 random.of( { "21000", "", "{modelName}" } ), random.of( { "16000", "{ x }" } ),
                 random.of( { "FAN-1", "", "{maxRpm}" } ) };
    }

    void addSlot( int number ) {
        const FanTrayModel::SlotTexts texts = randomTexts();
        model_.addSlot( texts );
        bench_.act(
            "newSlot",
            [ & ] {
                slots_.emplace_back(
                    driver_->newSlot( peripheralArgs( { { "fanId", std::to_string( number ) },
                                                        { "fanFdl", texts.fdl },
                                                        { "rpmF2B", texts.rpmF2B },
                                                        { "rpmB2F", texts.rpmB2F },
                                                        { "modelName", texts.modelName } } ) ) );
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating new MirelundPCA9555 Slot for Fan id %d", number );
                return 0;
            } );
    }

    void expire() {
        if ( !model_.blink.isArmed() ) {
            return;
        }
        bench_.bothUnlessAborting(
            "tick", model_,
            [ & ] {
                Bench::fire( model_.blink.timer() );
                return "";
            },
            [ & ] {
                model_.expire();
                return "";
            } );
    }

    void getPresence( int n ) {
        askPresence( bench_, slots_[ static_cast<size_t>( n ) ]->record(), model_,
                     [ & ]( auto *fdl ) { return model_.getPresence( n, fdl ); } );
    }

    Bench &bench_;
    Place place_;
    FanTrayModel model_;
    Device driver_;
    std::vector<std::unique_ptr<logical::Led>> leds_;
    std::vector<std::unique_ptr<logical::Slot>> slots_;
};

TEST( InStep, FanTray ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<FanTrayLife>( bench ); } );
}

} // namespace

} // namespace model
