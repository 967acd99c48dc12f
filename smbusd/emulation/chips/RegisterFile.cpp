#include "smbusd/emulation/chips/RegisterFile.h"

#include <fmt/format.h>

namespace smbusd {

namespace {

RegisterLayout readLayout( const JsonView &json ) {
    RegisterLayout layout;
    if ( const auto width = json.find( "width" ) ) {
        const uint32_t bits = width->number( 8, 16 );
        if ( bits != 8 && bits != 16 ) {
            width->fail( "8 or 16" );
        }
        layout.width = bits / 8;
    }
    if ( const auto order = json.find( "byteOrder" ) ) {
        const std::string text = order->text();
        if ( text != "low-first" && text != "high-first" ) {
            order->fail( "\"low-first\" or \"high-first\"" );
        }
        layout.highFirst = text == "high-first";
    }
    if ( const auto count = json.find( "count" ) ) {
        layout.count = count->number( 1, 256 );
    }
    if ( const auto fill = json.find( "fill" ) ) {
        layout.fill = fill->number( 0, layout.width == 1 ? 0xFF : 0xFFFF );
    }
    return layout;
}

} // namespace

std::unique_ptr<Chip> RegisterFile::create( ChipContext context, const ChipOptions &options ) {
    const RegisterLayout layout = readLayout( options.json );
    auto chip = std::make_unique<RegisterFile>( std::move( context ), layout );
    if ( const auto registers = options.json.find( "registers" ) ) {
        registers->forEachMember( [ & ]( std::string_view key, const JsonView &value ) {
            chip->setResetValue( value.keyNumber( key, 0, layout.count - 1 ),
                                 value.number( 0, chip->largest() ) );
        } );
    }
    if ( const auto readOnly = options.json.find( "readOnly" ) ) {
        readOnly->forEachElement( [ & ]( const JsonView &reg ) {
            chip->setReadOnly( reg.number( 0, layout.count - 1 ) );
        } );
    }
    chip->reset();
    return chip;
}

RegisterFile::RegisterFile( ChipContext context, const RegisterLayout &layout )
    : Chip( std::move( context ) ), layout_( layout ),
      registers_( layout.count, Register{ layout.fill, layout.fill, false } ) {}

void RegisterFile::setResetValue( uint32_t reg, uint32_t value ) {
    registers_.at( reg ).resetValue = value;
}

void RegisterFile::reset() {
    for ( Register &reg : registers_ ) {
        reg.value = reg.resetValue;
    }
    command_ = 0;
    pointer_ = 0;
    byteIndex_ = 0;
    commandSeen_ = false;
    receiving_ = false;
}

unsigned RegisterFile::shiftOf( unsigned byteIndex ) const {
    return 8 * ( layout_.highFirst ? layout_.width - 1 - byteIndex : byteIndex );
}

void RegisterFile::advance() {
    if ( ++byteIndex_ == layout_.width ) {
        byteIndex_ = 0;
        pointer_ = ( pointer_ + 1 ) % layout_.count;
    }
}

bool RegisterFile::start( bool read ) {
    if ( read ) {
        if ( commandSeen_ ) {
            stop();
            pointer_ = command_;
        }
        byteIndex_ = 0;
    } else {
        commandSeen_ = false;
        receiving_ = true;
    }
    return true;
}

bool RegisterFile::write( uint8_t byte ) {
    if ( !commandSeen_ ) {
        if ( byte >= layout_.count ) {
            misuse( fmt::format( "register 0x{:02X} does not exist", byte ) );
            return false;
        }
        command_ = byte;
        pointer_ = byte;
        byteIndex_ = 0;
        pending_ = 0;
        commandSeen_ = true;
        return true;
    }
    pending_ |= uint32_t{ byte } << shiftOf( byteIndex_ );
    const uint32_t reg = pointer_;
    advance();
    if ( byteIndex_ == 0 ) {
        if ( registers_[ reg ].readOnly ) {
            misuse( fmt::format( "write of 0x{:X} to the read-only register 0x{:02X}", pending_,
                                 reg ) );
        } else {
            registers_[ reg ].value = pending_;
            written( reg );
        }
        pending_ = 0;
    }
    return true;
}

uint8_t RegisterFile::read() {
    if ( byteIndex_ == 0 ) {
        reading_ = valueOf( pointer_ );
    }
    const auto byte = static_cast<uint8_t>( reading_ >> shiftOf( byteIndex_ ) );
    advance();
    return byte;
}

void RegisterFile::stop() {
    if ( receiving_ && byteIndex_ != 0 ) {
        misuse( fmt::format( "register 0x{:02X} was written only in part", pointer_ ) );
        byteIndex_ = 0;
    }
    receiving_ = false;
    commandSeen_ = false;
}

std::vector<RegisterInfo> RegisterFile::registers() const {
    std::vector<RegisterInfo> list;
    for ( uint32_t reg = 0; reg < layout_.count; reg++ ) {
        list.push_back( { reg, layout_.width, registers_[ reg ].readOnly } );
    }
    return list;
}

RegisterContent RegisterFile::peek( uint32_t reg ) const {
    if ( reg >= layout_.count ) {
        noSuchRegister( reg );
    }
    return valueOf( reg );
}

void RegisterFile::poke( uint32_t reg, const RegisterContent &content ) {
    if ( reg >= layout_.count ) {
        noSuchRegister( reg );
    }
    registers_[ reg ].value = numberFor( reg, content, layout_.width );
}

} // namespace smbusd
