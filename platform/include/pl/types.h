/**
 * @file
 * Status codes shared by every call between the host and a driver library.
 */
#ifndef PL_TYPES_H
#define PL_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What a driver library's entry points and callbacks return. */
typedef enum pl_status {
    PL_STATUS_OK = 0,          ///< done; outputs are set
    PL_STATUS_NOT_PRESENT = 1, ///< nothing plugged in, or it could not be identified
    PL_STATUS_FAULT = 2,       ///< the device itself reports a fault
    PL_STATUS_INVALID = 3,     ///< malformed text, or a setting that the hardware cannot show
    PL_STATUS_TRANSPORT = 4,   ///< bus failure, time-out, or a value out of range
    PL_STATUS_UNSUPPORTED = 5, ///< the board offers no such thing
    PL_STATUS_FAILED = 6       ///< refused or short answer, failed command or allocation
} pl_status;

#ifdef __cplusplus
}
#endif

#endif
