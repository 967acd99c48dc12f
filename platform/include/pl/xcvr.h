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

/** A cage as the host knows it. */
typedef struct pl_xcvr pl_xcvr;

/** Which of the two sub-tables of pl_xcvr_ops is filled. */
typedef enum pl_xcvr_type {
    PL_XCVR_TYPE_SFP = 0, ///< the one of an SFP cage
    PL_XCVR_TYPE_QSFP = 1 ///< the one of a QSFP cage
} pl_xcvr_type;

/** Callbacks of an SFP cage. Outputs are 0 or 1 and are set on PL_STATUS_OK only. */
typedef struct pl_sfp_ops {
    uint32_t size; ///< of this sub-table, in bytes
    /** 1: a module is present; 0: none; a failure answers its pl_status, which is not 0 either. */
    int ( *get_presence )( pl_xcvr *xcvr );
    /** Reads TX_FAULT. 1: the transmitter reports a fault. */
    pl_status ( *get_tx_fault )( pl_xcvr *xcvr, int *fault );
    /** Reads RX_LOS. 1: no signal is received. */
    pl_status ( *get_rx_los )( pl_xcvr *xcvr, int *los );
    /** Reads back TX_DISABLE. 1: the transmitter is off. */
    pl_status ( *get_tx_disable )( pl_xcvr *xcvr, int *disabled );
    /** Switches the transmitter off, or with 0 on. */
    pl_status ( *set_tx_disable )( pl_xcvr *xcvr, int disable );
} pl_sfp_ops;

/** Callbacks of a QSFP cage. Outputs are 0 or 1 and are set on PL_STATUS_OK only. */
typedef struct pl_qsfp_ops {
    uint32_t size; ///< of this sub-table, in bytes
    /** As pl_sfp_ops::get_presence. */
    int ( *get_presence )( pl_xcvr *xcvr );
    /** Reads back ModSelL. 1: the module answers on its two-wire bus. */
    pl_status ( *get_mod_sel )( pl_xcvr *xcvr, int *selected );
    /** Lets the module answer on its bus, or with 0 not. */
    pl_status ( *set_mod_sel )( pl_xcvr *xcvr, int select );
    /** Reads back LPMode. 1: the module is held in low power. */
    pl_status ( *get_lp_mode )( pl_xcvr *xcvr, int *low_power );
    /** Holds the module in low power, or with 0 not. */
    pl_status ( *set_lp_mode )( pl_xcvr *xcvr, int low_power );
    /** Reads back ResetL. 1: the module is held in reset. */
    pl_status ( *get_reset )( pl_xcvr *xcvr, int *in_reset );
    /** Holds the module in reset, or with 0 not. */
    pl_status ( *set_reset )( pl_xcvr *xcvr, int reset );
    /** Reads IntL. 1: the module asks for attention. */
    pl_status ( *get_interrupt )( pl_xcvr *xcvr, int *pending );
} pl_qsfp_ops;

/** Callbacks of a cage. The space after a shorter sub-table is zero: empty entries. */
typedef struct pl_xcvr_ops {
    uint32_t size; ///< of this table, in bytes; the same for both types
    uint32_t type; ///< a pl_xcvr_type
    union {
        pl_qsfp_ops qsfp; ///< of a QSFP cage
        pl_sfp_ops sfp;   ///< of an SFP cage
    } u;                  ///< the sub-table of the type
} pl_xcvr_ops;

/** A cage as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_xcvr {
    uint32_t id;            ///< the port's number
    const pl_xcvr_ops *ops; ///< what it can do; never null
    void *priv;             ///< the library's own
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
