/**
 * @file
 * A fan.
 */
#ifndef PL_FAN_H
#define PL_FAN_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A fan as the host knows it. */
typedef struct pl_fan pl_fan;

/** Callbacks of a fan. */
typedef struct pl_fan_ops {
    uint32_t size; ///< of this table, in bytes
    /** Gives a text for people, allocated with malloc, or leaves @p text alone. */
    pl_status ( *debug_info )( pl_fan *fan, char **text );
    /** Reads the speed, revolutions per minute. PL_STATUS_FAULT: the fan is stalled. */
    pl_status ( *get_rpm )( pl_fan *fan, int *rpm );
    /** Asks for a speed, revolutions per minute. */
    pl_status ( *set_rpm )( pl_fan *fan, int rpm );
} pl_fan_ops;

/** A fan as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_fan {
    uint32_t id;           ///< for the host's use; 0 at first
    const pl_fan_ops *ops; ///< what it can do; never null
    void *priv;            ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_fan_init( const char *topology );

/** Adds the fan that @p description (JSON text) describes; null on failure. */
pl_fan *pl_fan_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
