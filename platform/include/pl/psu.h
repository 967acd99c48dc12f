/**
 * @file
 * A power supply.
 */
#ifndef PL_PSU_H
#define PL_PSU_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A supply as the host knows it. */
typedef struct pl_psu pl_psu;

/** Callbacks of a supply. Outputs are set on PL_STATUS_OK only, unless the driver says otherwise. */
typedef struct pl_psu_ops {
    uint32_t size;                          ///< of this table, in bytes
    pl_status ( *reserved )( pl_psu *psu ); ///< empty
    /** 1: the output is good; 0: off. PL_STATUS_FAULT: input is there, but the output is bad. */
    pl_status ( *get_power_ok )( pl_psu *psu, int *ok );
    /** Reads the input current in amperes. */
    pl_status ( *get_input_current )( pl_psu *psu, float *amperes );
    /** Reads the output current in amperes. */
    pl_status ( *get_output_current )( pl_psu *psu, float *amperes );
    /** Reads the input voltage in volts. */
    pl_status ( *get_input_voltage )( pl_psu *psu, float *volts );
    /** Reads the output voltage in volts. */
    pl_status ( *get_output_voltage )( pl_psu *psu, float *volts );
    /** Reads the input power in watts. */
    pl_status ( *get_input_power )( pl_psu *psu, float *watts );
    /** Reads the output power in watts. */
    pl_status ( *get_output_power )( pl_psu *psu, float *watts );
} pl_psu_ops;

/** A supply as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_psu {
    uint32_t id;           ///< for the host's use; 0 at first
    const pl_psu_ops *ops; ///< what it can do; never null
    void *priv;            ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_psu_init( const char *topology );

/** Adds the supply that @p description (JSON text) describes; null on failure. */
pl_psu *pl_psu_add( const char *description );

#ifdef __cplusplus
}
#endif

#endif
