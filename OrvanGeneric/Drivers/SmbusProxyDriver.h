#pragma once

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/SmbusProxy.h"

namespace Drivers {

/**
 * Raw SMBus access to one device: each call of the host is one access, never retried, followed by
 * an optional pause for devices that need time between transfers.
 *
 * Arguments: "localReadDelayMs", "localWriteDelayMs" (decimal milliseconds, default 0).
 */
class SmbusProxyDriver : public Component::HardwareDevice {
  public:
    /** The host's endpoint. quickCommand and blockProcessCall are not offered. */
    class SmbusProxy : public Component::LogicalDevice::SmbusProxy {
      public:
        /** Pauses in microseconds. */
        SmbusProxy( SmbusProxyDriver *driver, int readDelay, int writeDelay )
            : driver_( driver ), readDelay_( readDelay ), writeDelay_( writeDelay ) {}

        pl_status receiveByte( unsigned char *value ) override;
        pl_status sendByte( unsigned char value ) override;
        pl_status readByte( unsigned char command, unsigned char *value ) override;
        pl_status writeByte( unsigned char command, unsigned char value ) override;
        pl_status readWord( unsigned char command, unsigned short *value ) override;
        pl_status writeWord( unsigned char command, unsigned short value ) override;
        /** Copies whatever came, up to 255 bytes; a longer block answers PL_STATUS_TRANSPORT. */
        pl_status blockRead( unsigned char command, unsigned char *data,
                             unsigned int *length ) override;
        pl_status blockWrite( unsigned char command, const unsigned char *data,
                              unsigned int length ) override;
        /** Exactly @p length bytes, or PL_STATUS_TRANSPORT immediately, without copy and pause. */
        pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                                unsigned int length ) override;
        pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                                 unsigned int length ) override;
        pl_status processCall( unsigned char command, unsigned short value,
                               unsigned short *reply ) override;

      private:
        pl_status afterRead( int status );
        pl_status afterWrite( int status );

        SmbusProxyDriver *driver_;
        int readDelay_;
        int writeDelay_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    Component::LogicalDevice::SmbusProxy *newSmbusProxy( const DriverArgs &args ) override;
};

} // namespace Drivers
