#include "smbusd/emulation/chips/Eeprom.h"

#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr std::string_view writeProtectInput = "wp";
constexpr uint8_t erased = 0xFF;
constexpr uint32_t longestWriteCycle = 1000;

/** Sizes are powers of two, or addresses would not wrap as they do. */
uint32_t powerOfTwo( const JsonView &json, uint32_t most ) {
    const uint32_t number = json.number( 1, most );
    if ( !std::has_single_bit( number ) ) {
        json.fail( fmt::format( "a power of two, at most {}", most ) );
    }
    return number;
}

EepromLayout readLayout( const JsonView &json ) {
    EepromLayout layout;
    if ( const auto addressing = json.find( "addressing" ) ) {
        const uint32_t bits = addressing->number( 8, 16 );
        if ( bits != 8 && bits != 16 ) {
            addressing->fail( "8 or 16" );
        }
        layout.addressBytes = bits / 8;
    }
    if ( layout.addressBytes == 2 ) {
        layout.size = 8192;
        layout.pageSize = 32;
    }
    if ( const auto size = json.find( "size" ) ) {
        layout.size = powerOfTwo( *size, 1u << ( 8 * layout.addressBytes ) );
    }
    layout.pageSize = std::min( layout.pageSize, layout.size );
    if ( const auto page = json.find( "pageSize" ) ) {
        layout.pageSize = powerOfTwo( *page, layout.size );
    }
    if ( const auto cycle = json.find( "writeCycleMs" ) ) {
        layout.writeCycle = std::chrono::milliseconds( cycle->number( 0, longestWriteCycle ) );
    }
    return layout;
}

std::string readContent( const ChipOptions &options, uint32_t size ) {
    std::string content;
    const auto image = options.json.find( "image" );
    const auto data = options.json.find( "data" );
    if ( image && data ) {
        data->fail( "either \"image\" or \"data\"" );
    }
    if ( data ) {
        data->forEachElement( [ & ]( const JsonView &byte ) {
            content.push_back( static_cast<char>( byte.number( 0, 0xFF ) ) );
        } );
    }
    if ( image ) {
        const std::filesystem::path path = std::filesystem::path( options.folder ) / image->text();
        std::ifstream stream( path, std::ios::binary );
        content.assign( ( std::istreambuf_iterator<char>( stream ) ),
                        std::istreambuf_iterator<char>() );
        if ( !stream ) {
            image->fail( fmt::format( "a file that can be read, relative to this one ({} cannot)",
                                      path.string() ) );
        }
    }
    if ( content.size() > size ) {
        ( image ? *image : *data )
            .fail( fmt::format( "at most {} bytes, the EEPROM's size, not {}", size,
                                content.size() ) );
    }
    return content;
}

} // namespace

std::unique_ptr<Chip> Eeprom::create( ChipContext context, const ChipOptions &options ) {
    const EepromLayout layout = readLayout( options.json );
    return std::make_unique<Eeprom>( std::move( context ), layout,
                                     readContent( options, layout.size ) );
}

Eeprom::Eeprom( ChipContext context, const EepromLayout &layout, const std::string &content )
    : Chip( std::move( context ) ), layout_( layout ), memory_( content.begin(), content.end() ) {
    memory_.resize( layout.size, erased );
}

void Eeprom::reset() {
    pointer_ = 0;
    addressBytesSeen_ = 0;
    page_.clear();
    busyUntil_ = {};
}

bool Eeprom::start( bool read ) {
    if ( scheduler().now() < busyUntil_ ) {
        return false;
    }
    // Without a STOP after them, written bytes are not stored.
    page_.clear();
    if ( !read ) {
        addressBytesSeen_ = 0;
        incoming_ = 0;
    }
    return true;
}

bool Eeprom::write( uint8_t byte ) {
    if ( addressBytesSeen_ < layout_.addressBytes ) {
        incoming_ = incoming_ << 8 | byte;
        if ( ++addressBytesSeen_ == layout_.addressBytes ) {
            pointer_ = incoming_ & ( layout_.size - 1 );
        }
        return true;
    }
    page_[ pointer_ ] = byte;
    const uint32_t withinPage = layout_.pageSize - 1;
    pointer_ = ( pointer_ & ~withinPage ) | ( ( pointer_ + 1 ) & withinPage );
    return true;
}

uint8_t Eeprom::read() {
    const uint8_t byte = memory_[ pointer_ ];
    pointer_ = ( pointer_ + 1 ) & ( layout_.size - 1 );
    return byte;
}

void Eeprom::stop() {
    if ( page_.empty() ) {
        return;
    }
    if ( writeProtected_ ) {
        misuse( fmt::format( "write of {} byte(s) at 0x{:02X} while write-protected", page_.size(),
                             page_.begin()->first ) );
    } else {
        for ( const auto &[ address, byte ] : page_ ) {
            memory_[ address ] = byte;
        }
        busyUntil_ = scheduler().now() + layout_.writeCycle;
    }
    page_.clear();
}

std::vector<RegisterInfo> Eeprom::registers() const {
    std::vector<RegisterInfo> list;
    list.reserve( memory_.size() );
    for ( uint32_t reg = 0; reg < memory_.size(); reg++ ) {
        list.push_back( { reg, 1 } );
    }
    return list;
}

RegisterContent Eeprom::peek( uint32_t reg ) const {
    if ( reg >= memory_.size() ) {
        noSuchRegister( reg );
    }
    return uint32_t{ memory_[ reg ] };
}

void Eeprom::poke( uint32_t reg, const RegisterContent &content ) {
    if ( reg >= memory_.size() ) {
        noSuchRegister( reg );
    }
    memory_[ reg ] = static_cast<uint8_t>( numberFor( reg, content, 1 ) );
}

std::vector<InputInfo> Eeprom::inputs() const {
    return { { std::string( writeProtectInput ), writeProtected_ ? 1.0 : 0.0 } };
}

void Eeprom::setInput( std::string_view input, double value ) {
    if ( input != writeProtectInput ) {
        Chip::setInput( input, value );
    }
    writeProtected_ = lineLevel( input, value );
}

} // namespace smbusd
