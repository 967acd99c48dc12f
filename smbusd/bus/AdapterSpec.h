#pragma once

#include <stdexcept>
#include <string>

#include "smbusd/base/JsonView.h"

namespace smbusd {

/** Which adapter of the kernel a bus is, in the words of its configuration. */
struct AdapterSpec {
    /** What it is told by. */
    enum class By {
        Number, ///< N of /dev/i2c-N
        Name,   ///< what the kernel calls it: /sys/bus/i2c/devices/i2c-N/name
        Path,   ///< a device file of another name, such as udev's links
    };

    By by = By::Number;    ///< which of the members below counts
    unsigned number = 0;   ///< By::Number
    std::string text = {}; ///< By::Name and By::Path
    /** Devices that a driver of the kernel uses are used all the same. */
    bool force = false;

    /** Whether both mean the same adapter by their words alone. */
    bool sameWords( const AdapterSpec &other ) const;
    /** @return the device file, or the name in quotation marks. */
    std::string describe() const;
};

/** Highest number of an adapter: the kernel's character devices have 20 bits for it. */
inline constexpr unsigned lastAdapterNumber = 0xFFFFF;

/**
 * Reads an "adapter": a number, the text "i2c-N", a device file, or a name.
 * Throws ConfigError for anything else.
 */
AdapterSpec readAdapterSpec( const JsonView &json );

/** An adapter is a bus already; the text says which adapter and which bus. */
class AdapterTaken : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

} // namespace smbusd
