#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"

namespace smbusd {

/** A kind of emulated chip: a row of the table in ChipTypes.cpp. */
struct ChipType {
    std::string_view name; ///< as "type" in hardware.json
    /** Keys of a chip's object besides those that every chip has. */
    std::vector<std::string_view> keys;
    /** Makes one, with its reset values. Throws ConfigError for options that are wrong. */
    std::unique_ptr<Chip> ( *create )( ChipContext context, const ChipOptions &options );
};

/** @return the type of that name, null if there is none; lives as long as the program */
const ChipType *findChipType( std::string_view name );

/** @return the names of all types, in the order of the table */
std::vector<std::string_view> chipTypeNames();

} // namespace smbusd
