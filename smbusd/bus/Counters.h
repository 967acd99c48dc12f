#pragma once

#include <cstdint>

namespace smbusd {

/** What happened at one chip or on one bus since the service started. */
struct Counters {
    uint64_t transactions = 0; ///< that reached it with at least one operation
    uint64_t operations = 0;   ///< attempts on the wire, repeated ones included
    uint64_t acknowledges = 0; ///< bytes acknowledged, address bytes included
    uint64_t retries = 0;      ///< operations that were attempted again
    uint64_t errors = 0;       ///< operations that failed, and a chip's uses against its rules
    uint64_t faults = 0;       ///< injected faults that took effect
};

} // namespace smbusd
