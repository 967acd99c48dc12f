#pragma once

#include <pl/fan.h>

namespace Component::LogicalDevice {

/** A fan. Speeds are in revolutions per minute. The order of the virtual operations is fixed. */
class Fan {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    Fan() : record_{ 0, &ops_, this } {}
    virtual ~Fan() = default;
    Fan( const Fan & ) = delete;
    Fan &operator=( const Fan & ) = delete;

    /**
     * Gives a text for people. Without a driver's own version there is none.
     * @param text  receives the text, from malloc and the caller's; left alone when there is none
     * @return PL_STATUS_OK
     */
    virtual pl_status debugInfo( char **text ) const;
    /**
     * Reads the speed.
     * @param rpm  receives revolutions per minute, 0 or more
     * @return PL_STATUS_OK; PL_STATUS_FAULT: the fan is stalled; otherwise the failed access's status
     */
    virtual pl_status getRpm( int *rpm ) = 0;
    /**
     * Asks for a speed.
     * @param rpm  revolutions per minute; what is out of range is the driver's to limit or refuse
     * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: out of range, or the bus failed; otherwise the
     *         failed access's status
     */
    virtual pl_status setRpm( int rpm ) = 0;

    /** What the host gets; part of this object. */
    pl_fan *record() { return &record_; }

    /** The host's debug_info: traces, then debugInfo(). */
    static pl_status debugInfoCallback( pl_fan *fan, char **text );
    /** The host's get_rpm: traces, then getRpm(). */
    static pl_status getRpmCallback( pl_fan *fan, int *rpm );
    /** The host's set_rpm: traces, then setRpm(). */
    static pl_status setRpmCallback( pl_fan *fan, int rpm );
    /** The callbacks of every fan, for the host's records. */
    static const pl_fan_ops ops_;

  private:
    pl_fan record_;
};

} // namespace Component::LogicalDevice
