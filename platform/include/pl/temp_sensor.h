/**
 * @file
 * A temperature sensor.
 */
#ifndef PL_TEMP_SENSOR_H
#define PL_TEMP_SENSOR_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A sensor as the host knows it. */
typedef struct pl_temp_sensor pl_temp_sensor;

/** Callbacks of a temperature sensor. */
typedef struct pl_temp_sensor_ops {
    uint32_t size;                                     ///< of this table, in bytes
    pl_status ( *reserved )( pl_temp_sensor *sensor ); ///< empty
    /** Reads the temperature in degrees Celsius; @p celsius is set on PL_STATUS_OK only. */
    pl_status ( *get_temperature )( pl_temp_sensor *sensor, float *celsius );
} pl_temp_sensor_ops;

/** A sensor as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_temp_sensor {
    uint32_t id;                   ///< for the host's use; 0 at first
    const pl_temp_sensor_ops *ops; ///< what it can do; never null
    void *priv;                    ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_temp_sensor_init( const char *topology );

/**
 * Adds a sensor; null on failure.
 * @param description  what to add, JSON text
 * @param alert        warning threshold, degrees Celsius
 * @param critical     critical threshold, degrees Celsius
 */
pl_temp_sensor *pl_temp_sensor_add( const char *description, float alert, float critical );

#ifdef __cplusplus
}
#endif

#endif
