#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "smbusd/base/JsonView.h"
#include "smbusd/emulation/Chip.h"

namespace smbusd {

/** Where a chip's part of the configuration is read from. */
struct ChipOptions {
    JsonView json;      ///< the chip's whole object
    std::string folder; ///< that file names within it are relative to
};

/** A kind of emulated chip. A new chip is a file in chips/ and a row in the table. */
struct ChipType {
    std::string_view name;
    /** Keys of a chip's object besides those that every chip has. */
    std::vector<std::string_view> keys;
    std::unique_ptr<Chip> ( *create )( ChipContext context, const ChipOptions &options );
};

/** @return the type of that name, null if there is none */
const ChipType *findChipType( std::string_view name );
std::vector<std::string_view> chipTypeNames();

} // namespace smbusd
