#include "smbusd/bus/WireTrace.h"

namespace smbusd {

void WireTrace::start( uint8_t address, bool read, bool repeated ) {
    if ( !text_.empty() ) {
        text_ += ' ';
    }
    text_ += repeated ? "Sr " : "S ";
    hex( address );
    text_ += read ? " R" : " W";
}

void WireTrace::byte( uint8_t value ) {
    text_ += ' ';
    hex( value );
}

void WireTrace::note( const char *what ) {
    if ( !text_.empty() ) {
        text_ += ' ';
    }
    text_ += '(';
    text_ += what;
    text_ += ')';
}

void WireTrace::hex( uint8_t value ) {
    static constexpr char digits[] = "0123456789ABCDEF";
    text_ += digits[ value >> 4 ];
    text_ += digits[ value & 0xF ];
}

} // namespace smbusd
