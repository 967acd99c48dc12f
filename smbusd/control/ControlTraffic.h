#pragma once

#include <string>

#include "smbusd/service/Dispatcher.h"

namespace smbusd {

/** @return a traffic event as one line of JSON, without its end. @param time  since the start */
std::string trafficLine( const TrafficEvent &event, Duration time );

/**
 * What waits to be sent to one follower. Bounded: when the follower is too slow, operations are
 * left out, and a line says how many.
 */
class TrafficQueue {
  public:
    /** Most bytes that wait. */
    static constexpr size_t limit = 256 * 1024;

    /** Adds a line without its end, or leaves it out when there is no room. */
    void add( const std::string &line );
    /** Whether nothing waits. */
    bool empty() const { return waiting_.empty(); }
    /** Takes everything that waits. */
    std::string take();

  private:
    std::string waiting_;
    uint64_t dropped_ = 0;
};

} // namespace smbusd
