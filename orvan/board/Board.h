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

/** One entry of peripherals.json, good and ready to be added. */
struct PeripheralDescription {
    std::string kind;            ///< the name of a Kind: "fan"
    std::string name;            ///< what commands call it; unique on the board
    std::string device;          ///< handed to the add function: JSON text, or for smbus a label
    uint32_t address = 0;        ///< smbus with a label: the device's 7-bit address
    float alert = 0;             ///< temp_sensor: warns from here on, in degrees Celsius
    float critical = 0;          ///< temp_sensor: too hot from here on, in degrees Celsius
    ArgTexts args;               ///< "driverArgs", some of which readings need
    std::vector<ArgTexts> parts; ///< of a multi-device: each part's arguments and the slot's
    std::string driver;          ///< the driver's name, to be shown
    std::string place;           ///< the way to the device and its address, to be shown
};

/** A board whose files have been read and found good. It must not be moved: its topology refers into it. */
struct Board {
    std::filesystem::path folder;                   ///< as the user named it
    JsonFile topologyFile;                          ///< topology.json; its text goes to the library
    TopologyIndex topology;                         ///< the devices of topologyFile
    std::vector<PeripheralDescription> peripherals; ///< in the order of peripherals.json

    /** The path of the description of the emulated hardware, which the SMBus service reads. */
    std::filesystem::path hardware() const { return folder / "hardware.json"; }
    /** The peripheral @p name, owned by the board; null when there is none of this name. */
    const PeripheralDescription *find( const std::string &name ) const;
};

/**
 * Reads topology.json and peripherals.json of @p folder into @p board, which must be new. What is wrong
 * with them goes into @p problems; with an error among these, the board must not be brought up.
 */
void loadBoard( const std::filesystem::path &folder, Board &board, Problems &problems );

} // namespace orvan
