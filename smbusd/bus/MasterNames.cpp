#include "smbusd/bus/MasterNames.h"

#include <array>

namespace smbusd {

namespace {

struct Row {
    Smbus::MasterType master;
    std::string_view name;
};

// The media's names in a topology; a simulated I2C medium has a master of its own.
constexpr std::array<Row, 7> rows = { {
    { Smbus::SIMULATED, "Simulated" },
    { Smbus::I2C, "I2C" },
    { Smbus::SCD, "SCD" },
    { Smbus::IO_PORT, "IOPort" },
    { Smbus::CELESTICA, "Celestica" },
    { Smbus::PLM, "PLM" },
    { Smbus::SCC_SPI, "SccSpi" },
} };

} // namespace

std::string_view masterName( Smbus::MasterType master ) {
    for ( const Row &row : rows ) {
        if ( row.master == master ) {
            return row.name;
        }
    }
    return "unknown master";
}

std::optional<Smbus::MasterType> masterFromName( std::string_view name ) {
    for ( const Row &row : rows ) {
        if ( row.name == name ) {
            return row.master;
        }
    }
    return std::nullopt;
}

std::vector<std::string_view> masterNames() {
    std::vector<std::string_view> names;
    for ( const Row &row : rows ) {
        names.push_back( row.name );
    }
    return names;
}

} // namespace smbusd
