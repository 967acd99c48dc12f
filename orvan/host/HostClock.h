/**
 * @file
 * The time that the host's timers run on.
 */
#pragma once

#include <chrono>

#include <asio/io_context.hpp>

namespace orvan {

/** Tells the time and waits; all that the event loop knows of time. */
class HostClock {
  public:
    /** A moment of monotonic time; only differences have a meaning. */
    using Time = std::chrono::steady_clock::time_point;

    virtual ~HostClock() = default;
    /** The present moment; never before an earlier answer. */
    virtual Time now() const = 0;
    /** Runs at most one ready handler of @p loop; returns after that, or once @p time has come. */
    virtual void waitUntil( asio::io_context &loop, Time time ) = 0;
};

/** Real time: the system's monotonic clock. */
class SystemClock : public HostClock {
  public:
    /** The system's monotonic time. */
    Time now() const override { return std::chrono::steady_clock::now(); }
    void waitUntil( asio::io_context &loop, Time time ) override { loop.run_one_until( time ); }
};

/**
 * Time that jumps: a wait with nothing to handle ends immediately, at the moment waited for. For scripts
 * and tests that want a minute of polling without waiting a minute. It starts at Time{}.
 */
class SkippingClock : public HostClock {
  public:
    /** The moment that the last wait ended at. */
    Time now() const override { return now_; }
    void waitUntil( asio::io_context &loop, Time time ) override {
        if ( loop.poll_one() == 0 && now_ < time ) {
            now_ = time;
        }
    }

  private:
    Time now_{};
};

} // namespace orvan
