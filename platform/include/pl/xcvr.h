/**
 * @file
 * A transceiver cage: SFP or QSFP.
 */
#ifndef PL_XCVR_H
#define PL_XCVR_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct pl_xcvr pl_xcvr;

/** Which of the two sub-tables of pl_xcvr_ops is filled. */
typedef enum pl_xcvr_type { PL_XCVR_TYPE_SFP = 0, PL_XCVR_TYPE_QSFP = 1 } pl_xcvr_type;

/** Callbacks of an SFP cage. Outputs are 0 or 1 and are set on PL_STATUS_OK only. */
typedef struct pl_sfp_ops {
    uint32_t size; ///< of this sub-table, in bytes
    /** 1: a module is present; 0: none; a failure answers its pl_status, which is not 0 either. */
    int ( *get_presence )( pl_xcvr *xcvr );
    pl_status ( *get_tx_fault )( pl_xcvr *xcvr, int *fault );
    pl_status ( *get_rx_los )( pl_xcvr *xcvr, int *los ); ///< 1: receive signal lost
    pl_status ( *get_tx_disable )( pl_xcvr *xcvr, int *disabled );
    pl_status ( *set_tx_disable )( pl_xcvr *xcvr, int disable );
} pl_sfp_ops;

/** Callbacks of a QSFP cage. Outputs are 0 or 1 and are set on PL_STATUS_OK only. */
typedef struct pl_qsfp_ops {
    uint32_t size; ///< of this sub-table, in bytes
    /** As pl_sfp_ops::get_presence. */
    int ( *get_presence )( pl_xcvr *xcvr );
    pl_status ( *get_mod_sel )( pl_xcvr *xcvr, int *selected );
    pl_status ( *set_mod_sel )( pl_xcvr *xcvr, int select );
    pl_status ( *get_lp_mode )( pl_xcvr *xcvr, int *low_power );
    pl_status ( *set_lp_mode )( pl_xcvr *xcvr, int low_power );
    pl_status ( *get_reset )( pl_xcvr *xcvr, int *in_reset );
    pl_status ( *set_reset )( pl_xcvr *xcvr, int reset );
    pl_status ( *get_interrupt )( pl_xcvr *xcvr, int *pending );
} pl_qsfp_ops;

/** Callbacks of a cage. Behind a shorter sub-table the space is zero: empty entries. */
typedef struct pl_xcvr_ops {
    uint32_t size; ///< of this table, in bytes; the same for both types
    uint32_t type; ///< a pl_xcvr_type
    union {
        pl_qsfp_ops qsfp;
        pl_sfp_ops sfp;
    } u;
} pl_xcvr_ops;

/** A cage as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_xcvr {
    uint32_t id; ///< the port's number
    const pl_xcvr_ops *ops;
    void *priv; ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_xcvr_init( const char *topology );

/** Adds the cage that @p description (JSON text) describes; null on failure. */
pl_xcvr *pl_xcvr_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
