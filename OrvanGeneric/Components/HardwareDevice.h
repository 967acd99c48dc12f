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
 * the result, which may be null for a failure that was traced. A driver overrides those of the kinds
 * it serves, the others throw NotImplementedException. Missing or malformed arguments abort. The
 * order of the virtual operations is fixed.
 */
class DeviceBase {
  public:
    /**
     * Brings the device up. Called once, after the instance got its Ham.
     * @return 0, otherwise the failed access's status; the creation ignores it, a caller that
     *         initialises the device again may look
     */
    virtual int init() { return 0; }
    /** Makes a Power-over-Ethernet port. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::PoePort *newPoePort( const DriverArgs &args );
    /** Makes a temperature sensor. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args );
    /** Makes a slot. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::Slot *newSlot( const DriverArgs &args );
    /**
     * Makes an SFP cage.
     * @param id    the port's number as the description gives it
     * @param args  the description
     * @throws NotImplementedException unless a driver offers it
     */
    virtual LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id, const DriverArgs &args );
    /**
     * Makes a QSFP cage.
     * @param id    the port's number as the description gives it
     * @param args  the description
     * @throws NotImplementedException unless a driver offers it
     */
    virtual LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id, const DriverArgs &args );
    /** Makes an LED. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::Led *newLed( const DriverArgs &args );
    /** Makes a fan. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::Fan *newFan( const DriverArgs &args );
    /**
     * Makes one downstream channel of a multiplexer.
     * @param args    the mux's description
     * @param select  what is written to the mux to open the channel
     * @throws NotImplementedException unless a driver offers it
     */
    virtual LogicalDevice::Mux *newMux( const DriverArgs &args, unsigned int select );
    /** Makes a power supply. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::Psu *newPsu( const DriverArgs &args );
    /** Makes a raw SMBus endpoint. @throws NotImplementedException unless a driver offers it */
    virtual LogicalDevice::SmbusProxy *newSmbusProxy( const DriverArgs &args );
    virtual ~DeviceBase() = default;

    DeviceBase() = default;
    DeviceBase( const DeviceBase & ) = delete;
    DeviceBase &operator=( const DeviceBase & ) = delete;

    /**
     * Finds or makes the driver instance that a description asks for.
     * @param text  the description, JSON; must outlive @p args
     * @param args  receives the parsed description
     * @return the instance, which the process keeps; null, after a trace: not JSON, no such driver,
     *         no Ham
     */
    static DeviceBase *create( const char *text, DriverArgs &args );

    /** The instance made earlier for the same device identity, whatever its driver, or null. */
    static DeviceBase *findDevice( const DriverArgs &args );
    /** Makes an instance through the table of drivers; null, after a trace, when that fails. */
    static DeviceBase *callDriverFactoryFunc( const DriverArgs &args, Ham::Ham *ham );

    /** Every instance, by device identity ("did"); entries stay. */
    static std::map<uint32_t, DeviceBase *> devices;
};

/** A driver instance that talks to its device through a Ham. */
class HardwareDevice : public DeviceBase {
  public:
    /**
     * Makes a GPIO line: one register bit of this device (see LogicalDevice::RegGpio), unless the
     * driver has lines of its own. The caller owns it.
     */
    virtual LogicalDevice::Gpio *newGpio( const DriverArgs &args );
    /** The registers that a simulation of the device has; a table that lives as long as the process. */
    virtual const Utils::ExpectedValues *expectedValues();

    /** The device's Ham; aborts on "ham" for a device that was described as needing none. */
    Ham::Ham *ham() const;
    /** Sets the Ham, which is not owned; null for none. */
    void hamIs( Ham::Ham *ham ) { ham_ = ham; }

    /**
     * Finds or makes the instance for a device.
     * @param args  the device's description
     * @param ham   what a new instance talks through, not owned; null for the Ham that the topology
     *              tells, or for none where the description wants none
     * @return the instance, which the process keeps; null, after a trace, on failure
     */
    static DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

  private:
    Ham::Ham *ham_ = nullptr;
};

/** What a device declares that has nothing to simulate. */
extern const Utils::ExpectedValues emptyExpectedValues;

} // namespace Component
