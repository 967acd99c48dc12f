/**
 * @file
 * A board folder: what is on the board, and what the host adds from it.
 */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "orvan/board/DescriptionCheck.h"
#include "orvan/board/TopologyIndex.h"

namespace orvan {

/** One entry of peripherals.json. */
struct PeripheralDescription {
    std::string kind;
    std::string name;
    std::string device;          ///< handed to the add function: JSON text, or for smbus a label
    uint32_t address = 0;        ///< smbus with a label: the device's address
    float alert = 0;             ///< temp_sensor: degrees Celsius
    float critical = 0;          ///< temp_sensor: degrees Celsius
    ArgTexts args;               ///< "driverArgs", what the host itself shows or reckons with
    std::vector<ArgTexts> parts; ///< of a multi-device: each part's arguments and the slot's
    std::string driver;          ///< for people
    std::string place;           ///< for people: the way to the device, and its address
};

/** A board whose files have been read and found good. */
struct Board {
    std::filesystem::path folder;
    JsonFile topologyFile;
    TopologyIndex topology;
    std::vector<PeripheralDescription> peripherals;

    /** The emulated hardware, for the SMBus service. */
    std::filesystem::path hardware() const { return folder / "hardware.json"; }
    /** Null when there is none of this name. */
    const PeripheralDescription *find( const std::string &name ) const;
};

/**
 * Reads topology.json and peripherals.json of @p folder. What is wrong with them goes into
 * @p problems; with an error among these, the board must not be brought up.
 */
void loadBoard( const std::filesystem::path &folder, Board &board, Problems &problems );

} // namespace orvan
