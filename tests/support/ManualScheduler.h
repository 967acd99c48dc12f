#pragma once

#include <deque>
#include <map>

#include "smbusd/base/Scheduler.h"

namespace test {

/** Time that stands still until a test moves it. */
class ManualScheduler : public smbusd::Scheduler {
  public:
    smbusd::Duration now() const override { return now_; }
    void after( smbusd::Duration delay, std::function<void()> callback ) override {
        timers_.emplace( now_ + delay, std::move( callback ) );
    }
    void post( std::function<void()> callback ) override {
        posted_.push_back( std::move( callback ) );
    }

    /** Runs what was posted, until nothing is left. */
    void runPosted() {
        while ( !posted_.empty() ) {
            const auto callback = std::move( posted_.front() );
            posted_.pop_front();
            callback();
        }
    }
    /** Moves time on, calling back everything that falls due, in its order. */
    void advance( smbusd::Duration time ) {
        const smbusd::Duration end = now_ + time;
        runPosted();
        while ( !timers_.empty() && timers_.begin()->first <= end ) {
            now_ = timers_.begin()->first;
            const auto callback = std::move( timers_.begin()->second );
            timers_.erase( timers_.begin() );
            callback();
            runPosted();
        }
        now_ = end;
    }
    size_t waiting() const { return timers_.size(); }

  private:
    smbusd::Duration now_ = std::chrono::hours( 1 );
    std::multimap<smbusd::Duration, std::function<void()>> timers_;
    std::deque<std::function<void()>> posted_;
};

} // namespace test
