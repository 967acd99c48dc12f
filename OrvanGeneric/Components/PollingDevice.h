#pragma once

#include <cassert>
#include <cstdint>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component {

/**
 * A device that is polled: it owns one host timer, which is armed again after each poll, so that a
 * slow poll delays the next one rather than overlapping it.
 * @tparam Device  the class of device that is polled, a DeviceBase
 */
template <class Device>
class PollingDevice : public Device {
  public:
    /** Makes the timer, not armed yet. */
    PollingDevice() {
        TRACE( 0, "creating timer" );
        timer_ = Host::timerAdd( handlePollTimerCallback, this );
    }

    ~PollingDevice() override {
        TRACE( 0, "destroying timer" );
        Host::timerDelete( timer_ );
    }

    /**
     * Polls the device; called on every expiry of the timer.
     * @return whether the poll was good; the timer ignores it and is armed again in any case
     */
    virtual bool pollCallback() = 0;

    /** The host's callback: polls @p device, then arms its timer again. */
    static void handlePollTimerCallback( void *device ) {
        TRACE( 6, "pollCallbackWrapper" );
        auto *self = static_cast<PollingDevice *>( device );
        self->pollCallback();
        self->arm();
    }

  protected:
    /** Whether the timer was ever armed. */
    bool pollStarted() const { return started_; }
    /** Milliseconds between polls. */
    void pollIntervalIs( uint32_t milliseconds ) { interval_ = milliseconds; }

    /** Arms the timer for the first time. @return false, after a trace, when the host refuses */
    bool pollStart() {
        TRACE( 0, "setting polling interval to %ums", interval_ );
        return arm();
    }

  private:
    bool arm() {
        if ( Host::timerSet( timer_, interval_ ) ) {
            TRACE( 0, "failed to set timer interval" );
            return false;
        }
        started_ = true;
        return true;
    }

    bool started_ = false;
    uint32_t timer_ = 0;
    uint32_t interval_ = 0;
};

} // namespace Component
