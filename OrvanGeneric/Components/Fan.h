#pragma once

#include <pl/fan.h>

namespace Component::LogicalDevice {

/** A fan; revolutions per minute. */
class Fan {
  public:
    Fan() : record_{ 0, &ops_, this } {}
    virtual ~Fan() = default;
    Fan( const Fan & ) = delete;
    Fan &operator=( const Fan & ) = delete;

    /** May give a text for people, from malloc; there is none unless a driver has one. */
    virtual pl_status debugInfo( char **text ) const;
    /** Reads the speed. PL_STATUS_FAULT: stalled. */
    virtual pl_status getRpm( int *rpm ) = 0;
    /** Asks for a speed. */
    virtual pl_status setRpm( int rpm ) = 0;

    /** What the host gets. */
    pl_fan *record() { return &record_; }

    static pl_status debugInfoCallback( pl_fan *fan, char **text );
    static pl_status getRpmCallback( pl_fan *fan, int *rpm );
    static pl_status setRpmCallback( pl_fan *fan, int rpm );
    static const pl_fan_ops ops_;

  private:
    pl_fan record_;
};

} // namespace Component::LogicalDevice
