/**
 * @file
 * The switch itself: its power.
 */
#ifndef PL_SYSTEM_H
#define PL_SYSTEM_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The system as the host knows it. */
typedef struct pl_system pl_system;

#define PL_RELOAD_CAUSE_SIZE 100       ///< room for the cause that get_reload_cause fills, in bytes
#define PL_RELOAD_DESCRIPTION_SIZE 500 ///< room for its description, in bytes

/** Callbacks of the system. */
typedef struct pl_system_ops {
    uint32_t size; ///< of this table, in bytes
    /** Switches the switch off. */
    pl_status ( *poweroff )( pl_system *system );
    /** Switches the switch off and on again. */
    pl_status ( *powercycle )( pl_system *system );
    /** PL_STATUS_UNSUPPORTED: the board keeps no cause; nothing is written. */
    pl_status ( *get_reload_cause )( pl_system *system, char *cause, long *time,
                                     char *description );
    pl_status ( *reserved )( pl_system *system ); ///< empty
} pl_system_ops;

/** The system as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_system {
    uint32_t id;              ///< 0
    const pl_system_ops *ops; ///< what it can do; never null
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_system_init( const char *topology );

/** Adds the system. @p description is traced, not read. */
pl_system *pl_system_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
