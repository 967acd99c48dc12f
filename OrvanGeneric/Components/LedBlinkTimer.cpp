#include <cassert>

#include "OrvanGeneric/Components/Led.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

uint32_t Led::blinkTimer_ = 0;
uint32_t Led::blinkPeriod_ = 1000;
bool Led::blinkStatus_ = false;
std::list<Led *> Led::notifyList_;
bool Led::blinkTimerArmed_ = false;

const char *Led::getLedStatusString( pl_led_status status ) {
    static const char *const strs[] = {
        "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon",
    };
    // clang-format off
    assert( ( unsigned )status < sizeof ( strs ) / sizeof ( *strs ) );
    // clang-format on
    return strs[ status ];
}

void Led::createBlinkTimer() {
    if ( blinkTimer_ ) {
        return;
    }
    TRACE( 0, "creating unique led blink timer" );
    blinkTimer_ = Host::timerAdd( handleBlinkTimerCallback, nullptr );
    if ( !blinkTimer_ ) {
        TRACE( 0, "failed to create blink timer" );
    }
    assert( blinkTimer_ );
}

void Led::notifyOnBlink( Led *led ) {
    TRACE( 4, "%s() adding led to blink notification list", "notifyOnBlink" );
    assert( blinkTimer_ );
    notifyList_.push_back( led );
    if ( notifyList_.size() == 1 || !blinkTimerArmed_ ) {
        armBlinkTimer();
    }
}

void Led::armBlinkTimer() {
    blinkTimerArmed_ = Host::timerSet( blinkTimer_, blinkPeriod_ ) == 0;
    if ( !blinkTimerArmed_ ) {
        TRACE( 0, "failed to arm led blink timer" );
    }
}

void Led::keepBlinkTimerRunning() {
    if ( !blinkTimerArmed_ ) {
        armBlinkTimer();
    }
}

void Led::stopBlinkNotification( Led *led ) {
    notifyList_.remove( led );
}

void Led::handleBlinkTimerCallback( void * ) {
    TRACE( 4, "%s() led blink timer hit notifying %zu leds", "handleBlinkTimerCallback",
           notifyList_.size() );
    for ( auto it = notifyList_.begin(); it != notifyList_.end(); ) {
        if ( ( *it )->handleBlinkTimer( blinkStatus_ ) ) {
            ++it;
            continue;
        }
        it = notifyList_.erase( it );
        // The LED after a removed one is not called in this tick, only in the next.
        if ( it != notifyList_.end() ) {
            ++it;
        }
    }
    if ( notifyList_.empty() ) {
        blinkTimerArmed_ = false;
    } else {
        armBlinkTimer();
    }
    blinkStatus_ = !blinkStatus_;
}

} // namespace Component::LogicalDevice
