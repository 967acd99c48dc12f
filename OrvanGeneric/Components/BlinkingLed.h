#pragma once

#include "OrvanGeneric/Components/Led.h"

namespace Component::LogicalDevice {

/** An LED that blinks as a beacon; it is on the notification list once, or not at all. */
class BlinkingLed : public Led {
  public:
    /** An LED that the blink timer must exist for; it does not blink at first. */
    BlinkingLed() : Led( true ) {}
    ~BlinkingLed() override { stopBlinking(); }

  protected:
    /**
     * To be called first for a new setting: ends the blinking, unless the LED blinks and @p status is
     * the beacon again.
     * @return true when the LED goes on blinking and there is nothing else to do
     */
    bool keepsBlinking( pl_led_status status ) {
        if ( blinking_ && status == PL_LED_STATUS_BEACON ) {
            keepBlinkTimerRunning();
            return true;
        }
        stopBlinking();
        return false;
    }
    /** From the next tick on handleBlinkTimer() is called. */
    void startBlinking() {
        notifyOnBlink( this );
        blinking_ = true;
    }

    /** The name of @p status for traces; also "Unknown" for a value that is none. */
    static const char *settingName( pl_led_status status ) {
        return status > PL_LED_STATUS_BEACON ? "Unknown" : getLedStatusString( status );
    }

  private:
    void stopBlinking() {
        if ( blinking_ ) {
            stopBlinkNotification( this );
        }
        blinking_ = false;
    }

    bool blinking_ = false;
};

} // namespace Component::LogicalDevice
