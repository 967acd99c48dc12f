#pragma once

#include <functional>

#include "tests/model/World.h"

namespace model {

/** The host timer of a device that polls. */
class PollingModel {
  public:
    explicit PollingModel( World &world ) : world_( &world ) {}

    void construct() {
        world_->trace( 0, "creating timer" );
        timer_ = world_->timerAdd();
    }
    /** Starts the polling. The host must not refuse. */
    void start() {
        world_->trace( 0, "setting polling interval to %ums", 1000u );
        if ( world_->timerSet( timer_ ) ) {
            world_->trace( 0, "failed to set timer interval" );
            throw WouldAbort{ "pollStart()" };
        }
        isStarted_ = true;
    }
    /** The timer expires. */
    void expire( const std::function<void()> &pollCallback ) {
        world_->timers.at( timer_ ).armed = false;
        world_->trace( 6, "pollCallbackWrapper" );
        pollCallback();
        if ( world_->timerSet( timer_ ) ) {
            world_->trace( 0, "failed to set timer interval" );
        } else {
            isStarted_ = true;
        }
    }
    void destroy() {
        world_->trace( 0, "destroying timer" );
        world_->timers.erase( timer_ );
    }

    bool isStarted() const { return isStarted_; }
    bool isArmed() const { return world_->timers.at( timer_ ).armed; }
    uint32_t timer() const { return timer_; }

  private:
    World *world_;
    uint32_t timer_ = 0;
    bool isStarted_ = false;
};

} // namespace model
