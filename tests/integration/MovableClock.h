#pragma once

/**
 * The monotonic clock as this program and the libraries that it loads see it: it stands still, and
 * moves when a test says so. Deadlines that the kernel keeps go on as ever.
 */
struct MovableClock {
    static void advance( double seconds );
};
