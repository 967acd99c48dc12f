/**
 * @file
 * The time that the host's timers run on.
 */
#pragma once

#include <chrono>

#include <asio/io_context.hpp>

namespace orvan {

/** Tells the time and waits; the event loop's one contact with real time. */
class HostClock {
  public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~HostClock() = default;
    virtual Time now() const = 0;
    /** Runs at most one ready handler of @p loop; returns after that, or once @p time has come. */
    virtual void waitUntil( asio::io_context &loop, Time time ) = 0;
};

/** Real, monotonic time. */
class SystemClock : public HostClock {
  public:
    Time now() const override { return std::chrono::steady_clock::now(); }
    void waitUntil( asio::io_context &loop, Time time ) override { loop.run_one_until( time ); }
};

/**
 * Time that jumps: waiting costs nothing, and the next timer is due at once. For scripts and tests
 * that want a minute of polling without the minute.
 */
class SkippingClock : public HostClock {
  public:
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
