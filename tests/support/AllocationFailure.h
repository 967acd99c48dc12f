#pragma once

#include <cstddef>

/**
 * Makes operator new fail while it lives: of the allocations of at least @p smallest bytes, the
 * first @p spared succeed and all later ones throw std::bad_alloc. One at a time; meant for
 * single-threaded tests. malloc itself goes on working.
 */
class AllocationFailure {
  public:
    explicit AllocationFailure( size_t smallest, size_t spared = 0 );
    ~AllocationFailure();
    AllocationFailure( const AllocationFailure & ) = delete;
    AllocationFailure &operator=( const AllocationFailure & ) = delete;

    /** Whether any allocation failed so far. */
    bool happened() const;
};
