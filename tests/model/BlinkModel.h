#pragma once

#include <functional>
#include <vector>

#include "tests/model/World.h"

namespace model {

/** The one timer by which all LEDs blink. LEDs are known by a number. */
class BlinkModel {
  public:
    /** @param timer, @param phase  as the process has them already; timer 0: none yet */
    BlinkModel( World &world, uint32_t timer, bool phase )
        : world_( &world ), timer_( timer ), phase_( phase ) {}

    void create();
    void notify( int led );
    /** An LED that blinks already is told to: a timer that the host refused to arm is armed again. */
    void beaconAgain();
    /** Takes every entry of an LED off the list. */
    void forget( int led );
    /** The timer expires; @p show shows a phase on an LED and tells whether it stays. */
    void expire( const std::function<bool( int led, bool phase )> &show );

    uint32_t timer() const { return timer_; }
    bool isArmed() const { return timer_ != 0 && world_->timers.at( timer_ ).armed; }
    const std::vector<int> &listed() const { return list_; }

  private:
    void arm();

    World *world_;
    uint32_t timer_;
    bool phase_;
    bool refused_ = false; ///< the host did not take the last arming
    std::vector<int> list_;
};

} // namespace model
