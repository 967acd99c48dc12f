#pragma once

#include <cmath>

#include "smbusd/base/Scheduler.h"

namespace smbusd {

/**
 * How fast a fan turns: its speed nears what it is driven to, ever more slowly. After one time
 * constant 63 % of the way are done, after three 95 %.
 */
class FanMotor {
  public:
    /** Stands still. @param timeConstant  0: every change of speed is immediate */
    explicit FanMotor( Duration timeConstant = Duration::zero() ) : timeConstant_( timeConstant ) {}

    /** @return revolutions per minute at that moment, which is not before the last change */
    double speed( Duration now ) const {
        if ( timeConstant_ <= Duration::zero() ) {
            return target_;
        }
        const double passed = std::chrono::duration<double>( now - since_ ) / timeConstant_;
        return target_ + ( from_ - target_ ) * std::exp( -passed );
    }
    /** From now on it is driven to that speed. */
    void drive( double target, Duration now ) {
        from_ = speed( now );
        target_ = target;
        since_ = now;
    }
    /** Something made it turn at that speed immediately; it is driven on as before. */
    void force( double speed, Duration now ) {
        from_ = speed;
        since_ = now;
    }

  private:
    Duration timeConstant_;
    Duration since_{};
    double from_ = 0;
    double target_ = 0;
};

} // namespace smbusd
