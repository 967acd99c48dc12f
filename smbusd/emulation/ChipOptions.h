#pragma once

#include <string>

#include "smbusd/base/JsonView.h"

namespace smbusd {

/** Where a chip's part of the configuration is read from. */
struct ChipOptions {
    JsonView json;      ///< the chip's whole object; refers to the parsed document
    std::string folder; ///< that file names within it are relative to
};

} // namespace smbusd
