#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Drivers/Drivers.h"
#include "tests/model/Bench.h"
#include "tests/model/HamModel.h"

namespace Ham {
class Ham;
}

namespace model {

/** A place of the board where a device can sit, and what leads there. */
struct Place {
    Path path;
    uint32_t did;
    Topology::HamAddress address; ///< as a description gives it

    uint8_t chip() const { return static_cast<uint8_t>( address.address ); }
};

/** Loads the topology of all places, and makes the devices that carry GPIO lines. */
void loadBoard();
/** One of the places, with random delays. loadBoard() must have been called. */
Place randomPlace( Random &random );
/** The Ham that the library has for a place. It stays until the process ends, as Hams do. */
Ham::Ham *realHam( const Place &place );

/** The device whose register bits serve as lines of other drivers; loadBoard() makes it. */
constexpr const char *linesLabel = "lines";
constexpr uint8_t linesChip = 127;
Path linesPath();
/** The place of the device that the supplies look up as their expander. */
Place psuExpanderPlace();
/** What is traced when a driver looks the lines' device up. */
void traceLinesFound( World &world );

using ArgMap = std::map<std::string, std::string>;

/** A driver instance at a place, made through the driver registry and deleted at the end. */
class Device {
  public:
    Device( const Place &place, const std::string &driver, const ArgMap &driverArgs );
    ~Device();
    Device( const Device & ) = delete;
    Device &operator=( const Device & ) = delete;

    /** The real creation; the outcome tells whether there is a device. */
    std::string make();
    /**
     * What is traced as the model's is made: @p factory is what the driver's own factory function
     * does, @p init what its init() does.
     */
    static void model( World &world, const Place &place, const std::string &driver,
                       const std::function<void()> &factory, const std::function<void()> &init );
    /** The real destruction. */
    std::string destroy();

    Component::HardwareDevice *operator->() const { return device_; }
    Component::HardwareDevice *get() const { return device_; }

    Drivers::DriverArgs args;

  private:
    Place place_;
    Component::HardwareDevice *device_ = nullptr;
};

/** Arguments of one of a device's peripherals. */
Drivers::DriverArgs peripheralArgs( const ArgMap &driverArgs );

} // namespace model
