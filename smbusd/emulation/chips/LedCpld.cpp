#include "smbusd/emulation/chips/LedCpld.h"

#include <iterator>
#include <string_view>

namespace smbusd {

namespace {

constexpr uint8_t lampTest = 0xFF;
constexpr uint8_t closed = 0;

/** By register: what it is called, and what it holds after power-on. */
constexpr struct {
    std::string_view name;
    uint8_t reset;
} rows[] = {
    { "leds0", lampTest }, { "leds1", lampTest }, { "leds2", lampTest },  { "leds3", lampTest },
    { "leds4", lampTest }, { "leds5", lampTest }, { "enable0", closed },  { "enable1", closed },
    { "leds8", lampTest }, { "leds9", lampTest }, { "leds10", lampTest }, { "leds11", lampTest },
};
constexpr uint32_t registerCount = std::size( rows );

} // namespace

std::unique_ptr<Chip> LedCpld::create( ChipContext context, const ChipOptions & ) {
    return std::make_unique<LedCpld>( std::move( context ) );
}

LedCpld::LedCpld( ChipContext context )
    : RegisterFile( std::move( context ), { 1, false, registerCount, 0 } ) {
    for ( uint32_t reg = 0; reg < registerCount; reg++ ) {
        setResetValue( reg, rows[ reg ].reset );
    }
    reset();
}

std::vector<RegisterInfo> LedCpld::registers() const {
    std::vector<RegisterInfo> list = RegisterFile::registers();
    for ( RegisterInfo &info : list ) {
        info.name = rows[ info.number ].name;
    }
    return list;
}

} // namespace smbusd
