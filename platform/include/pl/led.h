/**
 * @file
 * An LED.
 */
#ifndef PL_LED_H
#define PL_LED_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An LED as the host knows it. */
typedef struct pl_led pl_led;

/** What an LED is to show. Colours and blinking are the driver's choice. */
typedef enum pl_led_status {
    PL_LED_STATUS_OFF = 0,      ///< dark
    PL_LED_STATUS_GOOD = 1,     ///< all is well
    PL_LED_STATUS_WARNING = 2,  ///< needs attention
    PL_LED_STATUS_BAD = 3,      ///< failed
    PL_LED_STATUS_INACTIVE = 4, ///< not in use
    PL_LED_STATUS_UNKNOWN = 5,  ///< state not known
    PL_LED_STATUS_BEACON = 6    ///< blinks, so that somebody finds the unit
} pl_led_status;

/** Callbacks of an LED. */
typedef struct pl_led_ops {
    uint32_t size; ///< of this table, in bytes
    /** PL_STATUS_INVALID: the LED cannot show @p status. */
    pl_status ( *set_light_setting )( pl_led *led, pl_led_status status );
} pl_led_ops;

/** An LED as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_led {
    uint32_t id;           ///< for the host's use; 0 at first
    const pl_led_ops *ops; ///< what it can do; never null
    void *priv;            ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_led_init( const char *topology );

/** Adds the LED that @p description (JSON text) describes; null on failure. */
pl_led *pl_led_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
