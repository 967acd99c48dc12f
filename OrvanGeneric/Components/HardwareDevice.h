#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "OrvanGeneric/Utils.h"

namespace Drivers {
struct DriverArgs;
}
namespace Ham {
class Ham;
}

namespace Component {

using Drivers::DriverArgs;

namespace LogicalDevice {
class Fan;
class Gpio;
class Led;
class Mux;
class PoePort;
class Psu;
class QsfpXcvr;
class SfpXcvr;
class Slot;
class SmbusProxy;
class TempSensor;
} // namespace LogicalDevice

/**
 * A driver instance: one for each physical device, made on the first description that names the
 * device and kept until the process ends.
 *
 * The factory operations make the logical devices that the host's peripherals are; the caller owns
 * the result. A driver overrides those of the kinds it serves, the others throw
 * NotImplementedException. The order of the virtual operations is fixed.
 */
class DeviceBase {
  public:
    /** Called once, when the instance has its Ham. The result is for those who call it again. */
    virtual int init() { return 0; }
    virtual LogicalDevice::PoePort *newPoePort( const DriverArgs &args );
    virtual LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args );
    virtual LogicalDevice::Slot *newSlot( const DriverArgs &args );
    virtual LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id, const DriverArgs &args );
    virtual LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id, const DriverArgs &args );
    virtual LogicalDevice::Led *newLed( const DriverArgs &args );
    virtual LogicalDevice::Fan *newFan( const DriverArgs &args );
    /** @param select  what opens the downstream channel wanted */
    virtual LogicalDevice::Mux *newMux( const DriverArgs &args, unsigned int select );
    virtual LogicalDevice::Psu *newPsu( const DriverArgs &args );
    virtual LogicalDevice::SmbusProxy *newSmbusProxy( const DriverArgs &args );
    virtual ~DeviceBase() = default;

    DeviceBase() = default;
    DeviceBase( const DeviceBase & ) = delete;
    DeviceBase &operator=( const DeviceBase & ) = delete;

    /**
     * Finds or makes the driver instance that a description asks for.
     * @param text  the description
     * @param args  receives the parsed description
     * @return the instance, or null: not JSON, no such driver, no Ham
     */
    static DeviceBase *create( const char *text, DriverArgs &args );

    /** The instance made earlier for the same device identity, whatever its driver, or null. */
    static DeviceBase *findDevice( const DriverArgs &args );
    /** Makes an instance through the driver registry; null when that fails. */
    static DeviceBase *callDriverFactoryFunc( const DriverArgs &args, Ham::Ham *ham );

    /** Every instance, by device identity. */
    static std::map<uint32_t, DeviceBase *> devices;
};

/** A driver instance that talks to its device through a Ham. */
class HardwareDevice : public DeviceBase {
  public:
    /** A GPIO that is one register bit of this device, unless the driver knows better. */
    virtual LogicalDevice::Gpio *newGpio( const DriverArgs &args );
    /** The registers that a simulation of the device has; not owned by the caller. */
    virtual const Utils::ExpectedValues *expectedValues();

    /** The device's Ham; aborts on "ham" for a device that was described as needing none. */
    Ham::Ham *ham() const;
    /** Sets the Ham, which is not owned; null for none. */
    void hamIs( Ham::Ham *ham ) { ham_ = ham; }

    /**
     * Finds or makes the instance for a device; @p ham is what a new one talks through, null for
     * the Ham that the topology tells. Null on failure.
     */
    static DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

  private:
    Ham::Ham *ham_ = nullptr;
};

/** What a device declares that has nothing to simulate. */
extern const Utils::ExpectedValues emptyExpectedValues;

} // namespace Component
