/**
 * @file
 * A slot: a bay for a pluggable unit (fan tray, power supply).
 */
#ifndef PL_SLOT_H
#define PL_SLOT_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A slot as the host knows it. */
typedef struct pl_slot pl_slot;

/** Callbacks of a slot. */
typedef struct pl_slot_ops {
    uint32_t size; ///< of this table, in bytes
    /**
     * Tells what is plugged in: on PL_STATUS_OK @p fdl receives a text of field data, allocated
     * with malloc; the caller frees it. PL_STATUS_NOT_PRESENT: empty; @p fdl is left alone.
     */
    pl_status ( *get_presence )( pl_slot *slot, char **fdl );
} pl_slot_ops;

/** A slot as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_slot {
    uint32_t id;            ///< for the host's use; 0 at first
    const pl_slot_ops *ops; ///< what it can do; never null
    void *priv;             ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_slot_init( const char *topology );

/** Adds the slot that @p description (JSON text) describes; null on failure. */
pl_slot *pl_slot_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
