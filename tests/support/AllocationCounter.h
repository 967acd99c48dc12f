#pragma once

#include <cstddef>

namespace support {

/**
 * Counts the heap allocations (malloc and everything on top of it, in all libraries) that the
 * calling thread makes while it lives. One at a time per thread. Its source must be linked into the
 * program itself, whose malloc it replaces or, under AddressSanitizer, watches.
 */
class AllocationCounter {
  public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter( const AllocationCounter & ) = delete;
    AllocationCounter &operator=( const AllocationCounter & ) = delete;

    size_t count() const;
};

} // namespace support
