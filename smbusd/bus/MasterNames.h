#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <smbus.pb.h>

namespace smbusd {

/** @return the name that board files use for a kind of master: "SCD", "I2C", "IOPort"... */
std::string_view masterName( Smbus::MasterType master );
/** @return the kind of master of that name, nothing if there is none */
std::optional<Smbus::MasterType> masterFromName( std::string_view name );
/** @return the names of all kinds of master */
std::vector<std::string_view> masterNames();

} // namespace smbusd
