#include "tests/model/BlinkModel.h"

#include <algorithm>

namespace model {

void BlinkModel::create() {
    if ( timer_ == 0 ) {
        world_->trace( 0, "creating unique led blink timer" );
        timer_ = world_->timerAdd();
    }
}

void BlinkModel::notify( int led ) {
    world_->trace( 4, "notifyOnBlink() adding led to blink notification list" );
    if ( timer_ == 0 ) {
        throw WouldAbort{ "blinkTimer_" };
    }
    list_.push_back( led );
    if ( list_.size() == 1 || refused_ ) {
        arm();
    }
}

void BlinkModel::arm() {
    refused_ = world_->timerSet( timer_ ) != 0;
    if ( refused_ ) {
        world_->trace( 0, "failed to arm led blink timer" );
    }
}

void BlinkModel::beaconAgain() {
    if ( refused_ ) {
        arm();
    }
}

void BlinkModel::forget( int led ) {
    list_.erase( std::remove( list_.begin(), list_.end(), led ), list_.end() );
}

void BlinkModel::expire( const std::function<bool( int led, bool phase )> &show ) {
    world_->timers.at( timer_ ).armed = false;
    world_->trace( 4, "handleBlinkTimerCallback() led blink timer hit notifying %zu leds",
                   list_.size() );
    for ( size_t n = 0; n < list_.size(); ) {
        if ( show( list_[ n ], phase_ ) ) {
            ++n;
        } else {
            // The LED after a removed one has to wait for the next tick.
            list_.erase( list_.begin() + static_cast<std::ptrdiff_t>( n ) );
            ++n;
        }
    }
    if ( !list_.empty() ) {
        arm();
    }
    phase_ = !phase_;
}

} // namespace model
