#pragma once

#include <chrono>
#include <functional>

namespace smbusd {

/** A span of time, or a moment: the time since the scheduler's fixed start. */
using Duration = std::chrono::nanoseconds;

/**
 * The service's only source of time. Everything that waits or that moves with time (a delayed
 * operation, a fan that spins up) asks here, so that tests advance time by hand.
 */
class Scheduler {
  public:
    virtual ~Scheduler() = default;

    /** Time since some fixed start; never goes back. */
    virtual Duration now() const = 0;
    /** Calls back once, that much later, never before returning. */
    virtual void after( Duration delay, std::function<void()> callback ) = 0;
    /** Calls back soon, in the order of the posts, never before returning. May be called from any thread. */
    virtual void post( std::function<void()> callback ) = 0;
};

} // namespace smbusd
