#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace smbusd {

/** What tells one adapter from another, whatever number the kernel gives it. */
struct AdapterIdentity {
    std::string name;   ///< what its driver calls it
    std::string parent; ///< the device in sysfs that it belongs to: the place on the PCI bus or USB

    /** Equal when all is equal; the order has no meaning. */
    bool operator==( const AdapterIdentity & ) const = default;
    /** For sorted containers. */
    auto operator<=>( const AdapterIdentity & ) const = default;

    /**
     * Whether it is in the same place on USB, under a name that differs in its numbers only: what
     * is plugged in again gets a new device number, which some drivers put in the name.
     */
    bool replugged( const AdapterIdentity &other ) const;
};

/** An adapter that is there now. */
struct PresentAdapter {
    unsigned number;          ///< N of /dev/i2c-N
    AdapterIdentity identity; ///< what it is
};

/** The adapters of the kernel, as sysfs shows them at the moment of asking. */
class AdapterDirectory {
  public:
    /** @param sysfs  where it is: /sys */
    explicit AdapterDirectory( std::string sysfs ) : sysfs_( std::move( sysfs ) ) {}

    /** @return none if there is no adapter of that number */
    std::optional<AdapterIdentity> identityOf( unsigned number ) const;
    /** All of them, by number. */
    std::vector<PresentAdapter> all() const;
    /** The kernel's driver that uses a device of an adapter; empty if none is known. */
    std::string driverOf( unsigned number, uint8_t address ) const;

  private:
    std::string devices() const { return sysfs_ + "/bus/i2c/devices/"; }

    std::string sysfs_;
};

} // namespace smbusd
