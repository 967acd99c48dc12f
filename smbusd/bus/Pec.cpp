#include "smbusd/bus/Pec.h"

#include <array>

namespace smbusd {

namespace {

constexpr uint8_t polynomial = 0x07;

constexpr std::array<uint8_t, 256> makeTable() {
    std::array<uint8_t, 256> table{};
    for ( unsigned byte = 0; byte < table.size(); byte++ ) {
        unsigned crc = byte;
        for ( int bit = 0; bit < 8; bit++ ) {
            crc = ( crc & 0x80 ) != 0 ? ( crc << 1 ) ^ polynomial : crc << 1;
        }
        table[ byte ] = static_cast<uint8_t>( crc );
    }
    return table;
}

constexpr std::array<uint8_t, 256> table = makeTable();

} // namespace

void Pec::add( uint8_t byte ) {
    value_ = table[ value_ ^ byte ];
}

} // namespace smbusd
