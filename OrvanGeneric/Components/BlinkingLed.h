#pragma once

#include "OrvanGeneric/Components/Led.h"

namespace Component::LogicalDevice {

/** An LED that blinks as a beacon; it is on the notification list once, or not at all. */
class BlinkingLed : public Led {
  public:
    BlinkingLed() : Led( true ) {}
    ~BlinkingLed() override { stopBlinking(); }

  protected:
    /**
     * What a new setting begins with: the blinking ends, whatever the setting is, unless it asks
     * for what the LED does already.
     * @return true when there is nothing else to do
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

    /** The name of @p status for traces; "Unknown" for a value that is none, too. */
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
