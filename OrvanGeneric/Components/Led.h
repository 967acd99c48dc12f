#pragma once

#include <cstdint>
#include <list>

#include <pl/led.h>

namespace Component::LogicalDevice {

/**
 * An LED. The order of the virtual operations is fixed.
 *
 * LEDs that blink own no timers. One host timer serves them all: it tells every LED on the
 * notification list which phase to show, until the LED leaves the list.
 */
class Led {
  public:
    /**
     * Fills the record: number 0, this class's callbacks, the way back to this object.
     * @param blinks  whether the LED may ever blink, so that the timer must exist for it
     */
    explicit Led( bool blinks = false ) : record_{ 0, &ops_, this }, blinks_( blinks ) {}
    virtual ~Led() = default;
    Led( const Led & ) = delete;
    Led &operator=( const Led & ) = delete;

    /**
     * Shows a phase of the blinking. The base version shows nothing and leaves the list.
     * @param phase  true: on, false: off
     * @return true to stay on the notification list, false to leave it
     */
    virtual bool handleBlinkTimer( bool phase );
    /**
     * Shows @p status.
     * @return PL_STATUS_OK; PL_STATUS_INVALID: the LED cannot show that; otherwise the failed
     *         access's status
     */
    virtual pl_status setLightSetting( pl_led_status status ) = 0;

    /** What the host gets; part of this object. */
    pl_led *record() { return &record_; }
    /** Whether the LED may ever blink. */
    bool blinks() const { return blinks_; }

    /** The name of @p status for traces, a constant text; aborts on a value that is none. */
    static const char *getLedStatusString( pl_led_status status );
    /** Makes the blink timer, not armed, unless there is one; aborts when the host makes none. */
    static void createBlinkTimer();
    /**
     * Puts @p led at the end of the notification list, once more if it is on it. The first one arms
     * the timer, and so does any other when the host refused to arm it before. Aborts when there is
     * no timer.
     */
    static void notifyOnBlink( Led *led );
    /** Arms the timer again when the host refused to, so that the LEDs on the list go on. */
    static void keepBlinkTimerRunning();
    /** Takes every entry of @p led off the notification list. */
    static void stopBlinkNotification( Led *led );
    /** The host's callback of the blink timer; @p context is not used. */
    static void handleBlinkTimerCallback( void *context );

    /** The host's set_light_setting: traces, then setLightSetting(). */
    static pl_status setLightSettingCallback( pl_led *led, pl_led_status status );
    /** The callbacks of every LED, for the host's records. */
    static const pl_led_ops ops_;

    static uint32_t blinkTimer_;         ///< the host's timer, 0 until made
    static uint32_t blinkPeriod_;        ///< milliseconds
    static bool blinkStatus_;            ///< the phase that the next tick shows
    static std::list<Led *> notifyList_; ///< in the order added; not owned

  private:
    /** Arms the timer for one tick; a host's refusal is traced. */
    static void armBlinkTimer();

    static bool blinkTimerArmed_; ///< false when the host refused the last arming

    pl_led record_;
    bool blinks_;
};

} // namespace Component::LogicalDevice
