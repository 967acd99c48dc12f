/**
 * @file
 * A single GPIO line.
 */
#ifndef PL_GPIO_H
#define PL_GPIO_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A line as the host knows it. */
typedef struct pl_gpio pl_gpio;

/** Callbacks of a GPIO line. */
typedef struct pl_gpio_ops {
    uint32_t size; ///< of this table, in bytes
    /** Sets the line; "set" means asserted, whatever the level on the board. */
    pl_status ( *bit_set )( pl_gpio *gpio );
    /** Clears the line. */
    pl_status ( *bit_clear )( pl_gpio *gpio );
    /** Reads the line: @p value receives 0 or 1 on PL_STATUS_OK only. */
    pl_status ( *bit_read )( pl_gpio *gpio, unsigned int *value );
} pl_gpio_ops;

/** A line as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_gpio {
    uint32_t id;            ///< for the host's use; 0 at first
    const pl_gpio_ops *ops; ///< what it can do; never null
    void *priv;             ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_gpio_init( const char *topology );

/** Adds the line that @p description (JSON text) describes; null on failure. */
pl_gpio *pl_gpio_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
