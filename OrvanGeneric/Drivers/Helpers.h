#pragma once

#include <cstdint>
#include <string>

#include <pl/types.h>

namespace Component {
class HardwareDevice;
namespace LogicalDevice {
class Gpio;
}
} // namespace Component

namespace Drivers {

/**
 * Fills the template of a slot's field-data text (FDL).
 *
 * Placeholders are key names in braces; those in the template are the keys there are. Every fill is
 * start(), one or more set(), then exactly one str() or charPtr(). Anything else, an unknown key
 * included, is a programming or configuration error and aborts.
 */
class FormatFdl {
  public:
    /** @param format  the template */
    explicit FormatFdl( const std::string &format ) : template_( format ) {}

    /** Begins a new fill of the template. */
    void start();
    /**
     * Replaces every placeholder of a key.
     * @param key    the name without its braces
     * @param value  the text; must not hold that placeholder
     * @return true
     */
    bool set( const std::string &key, const std::string &value );
    /** Ends the fill. @return the text */
    std::string str();
    /** Ends the fill. @return the text, valid until the next start() */
    const char *charPtr();

  private:
    bool active_ = false; ///< between start() and str() or charPtr()
    std::string template_;
    std::string text_;
};

/** @p text without the spaces and tabs at both ends. */
std::string trim( const std::string &text );

/** Whether the bytes of @p data add up to 0 modulo 256, as an intact IPMI FRU area's do. */
bool zeroChecksum( const std::string &data );

/**
 * Finds or makes the driver instance of a labelled device of the loaded topology. Aborts when there
 * is no such device with driver arguments ("device"), or when it can have no instance ("dev").
 * @param label       the device's label in the topology
 * @param driverName  the driver of a device that names none; the topology keeps it
 * @return the instance, which the process keeps
 */
Component::HardwareDevice *getHardwareDeviceByLabel( const char *label,
                                                     const std::string &driverName );

/**
 * One bit of a device's register as a GPIO, which the caller owns; aborts on "gpio" when the device
 * makes none.
 * @param device  the register's device
 * @param reg     the register
 * @param bit     0 is the least significant
 */
Component::LogicalDevice::Gpio *getRegGpioForDevice( Component::HardwareDevice *device,
                                                     uint32_t reg, uint32_t bit );
/** The same of a labelled device, which needs no driver of its own. */
Component::LogicalDevice::Gpio *getRegGpioForDevice( const char *label, uint32_t reg,
                                                     uint32_t bit );

} // namespace Drivers
