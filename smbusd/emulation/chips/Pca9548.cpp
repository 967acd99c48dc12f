#include "smbusd/emulation/chips/Pca9548.h"

namespace smbusd {

namespace {
// The chip has no register numbers; by hand its one register is number 0.
constexpr uint32_t controlRegister = 0;
} // namespace

std::unique_ptr<Chip> Pca9548::create( ChipContext context, const ChipOptions & ) {
    return std::make_unique<Pca9548>( std::move( context ) );
}

bool Pca9548::write( uint8_t byte ) {
    written_ = byte;
    return true;
}

void Pca9548::reset() {
    written_ = 0;
    open_ = 0;
}

std::vector<RegisterInfo> Pca9548::registers() const {
    return { { controlRegister, 1, false, "control" } };
}

RegisterContent Pca9548::peek( uint32_t reg ) const {
    if ( reg != controlRegister ) {
        noSuchRegister( reg );
    }
    return uint32_t{ written_ };
}

void Pca9548::poke( uint32_t reg, const RegisterContent &content ) {
    if ( reg != controlRegister ) {
        noSuchRegister( reg );
    }
    written_ = static_cast<uint8_t>( numberFor( reg, content, 1 ) );
    open_ = written_;
}

} // namespace smbusd
