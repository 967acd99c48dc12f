/**
 * @file
 * The timer of the blinking LEDs, in step with its model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Led.h"
#include "tests/model/Bench.h"
#include "tests/model/BlinkModel.h"

namespace model {

namespace {

using Component::LogicalDevice::Led;

/** What the LEDs of both sides answer to the ticks of a step, and what they were shown. */
struct Answers {
    std::vector<bool> stays;
    std::string shown;

    bool show( int led, bool phase ) {
        shown += fmt::format( "{}:{:d} ", led, phase );
        return stays[ shown.size() % stays.size() ];
    }
};

class NumberedLed : public Led {
  public:
    explicit NumberedLed( int number ) : Led( true ), number_( number ) {}
    bool handleBlinkTimer( bool phase ) override { return answers->show( number_, phase ); }
    pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }

    static Answers *answers;

  private:
    int number_;
};

Answers *NumberedLed::answers = nullptr;

class BlinkLife : public Life {
  public:
    explicit BlinkLife( Bench &bench )
        : bench_( bench ), model_( bench.world, Led::blinkTimer_, Led::blinkStatus_ ) {
        for ( int n = 0; n < 5; ++n ) {
            leds_.push_back( std::make_unique<NumberedLed>( n ) );
        }
        bench.act(
            "createBlinkTimer()",
            [ & ] {
                Led::createBlinkTimer();
                return 0;
            },
            [ & ] {
                model_.create();
                return 0;
            } );
    }

    void step() override {
        const int led = bench_.random.between( 0, 4 );
        bench_.world.refuseTimerSet = bench_.random.oneIn( 20 );
        switch ( bench_.random.below( 6 ) ) {
        case 5:
            return beaconAgain();
        case 0:
        case 1:
            return notify( led );
        case 2:
            return bench_.random.oneIn( 3 ) ? forget( led ) : expire();
        default:
            return expire();
        }
    }
    void end() override {
        bench_.world.refuseTimerSet = false;
        for ( int led = 0; led < 5; ++led ) {
            forget( led );
        }
    }

  private:
    void notify( int led ) {
        if ( model_.listed().size() > 20 ) {
            return;
        }
        bench_.act(
            fmt::format( "notifyOnBlink( {} )", led ),
            [ & ] {
                Led::notifyOnBlink( leds_[ static_cast<size_t>( led ) ].get() );
                return 0;
            },
            [ & ] {
                model_.notify( led );
                return 0;
            } );
    }

    void beaconAgain() {
        if ( model_.listed().empty() ) {
            return;
        }
        bench_.act(
            "keepBlinkTimerRunning()",
            [ & ] {
                Led::keepBlinkTimerRunning();
                return 0;
            },
            [ & ] {
                model_.beaconAgain();
                return 0;
            } );
    }

    void forget( int led ) {
        bench_.act(
            fmt::format( "stopBlinkNotification( {} )", led ),
            [ & ] {
                Led::stopBlinkNotification( leds_[ static_cast<size_t>( led ) ].get() );
                return 0;
            },
            [ & ] {
                model_.forget( led );
                return 0;
            } );
    }

    void expire() {
        if ( !model_.isArmed() ) {
            return;
        }
        Answers real;
        for ( int n = 0; n < 17; ++n ) {
            real.stays.push_back( !bench_.random.oneIn( 3 ) );
        }
        Answers modelled = real;
        NumberedLed::answers = &real;
        bench_.both(
            "tick",
            [ & ] {
                Bench::fire( model_.timer() );
                return real.shown;
            },
            [ & ] {
                model_.expire(
                    [ & ]( int led, bool phase ) { return modelled.show( led, phase ); } );
                return modelled.shown;
            } );
    }

    Bench &bench_;
    BlinkModel model_;
    std::vector<std::unique_ptr<NumberedLed>> leds_;
};

TEST( InStep, Blink ) {
    runInStep( []( Bench &bench ) { return std::make_unique<BlinkLife>( bench ); } );
}

} // namespace

} // namespace model
