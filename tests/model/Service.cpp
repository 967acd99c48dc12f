#include "tests/model/Service.h"

#include <algorithm>

#include <fmt/format.h>

namespace model {

namespace {

/** How many of @p count requests take effect. */
size_t applied( const Fault &fault, size_t count ) {
    switch ( fault.kind ) {
    case Fault::LostBefore:
        return 0;
    case Fault::LostAt:
    case Fault::FailedAt:
        return count ? fault.at % count : 0;
    default:
        return count;
    }
}

std::string read( const Chip &chip, uint32_t reg, uint32_t length ) {
    const auto byte = [ & ]( uint32_t n ) { return static_cast<char>( chip.bytes[ n % 512 ] ); };
    if ( length == 0 ) {
        return std::string( 1, byte( 0 ) );
    }
    const auto block = chip.blocks.find( reg );
    if ( length > 1 && block != chip.blocks.end() ) {
        std::string bytes = block->second;
        bytes.resize( length, ' ' );
        return bytes;
    }
    if ( length == 2 && !chip.isMemory ) {
        const uint16_t word = chip.words[ reg % 256 ];
        return { static_cast<char>( word & 0xFF ), static_cast<char>( word >> 8 ) };
    }
    std::string bytes;
    for ( uint32_t n = 0; n < length; ++n ) {
        bytes += byte( reg + n );
    }
    return bytes;
}

void write( Chip &chip, uint32_t reg, const std::string &data ) {
    const auto byte = [ & ]( size_t n ) { return static_cast<uint8_t>( data[ n ] ); };
    if ( data.empty() ) {
        chip.sent = reg;
    } else if ( data.size() == 1 ) {
        chip.bytes[ reg % 512 ] = byte( 0 );
    } else {
        chip.words[ reg % 256 ] = static_cast<uint16_t>( byte( 0 ) | byte( 1 ) << 8 );
    }
}

} // namespace

std::string Service::apply( const Request &request ) {
    constexpr int readType = 0;
    Chip &chip = chips[ static_cast<uint8_t>( request.address >> 32 & 0x7F ) ];
    const auto reg = static_cast<uint32_t>( request.address );
    if ( request.type == readType ) {
        return read( chip, reg, request.length );
    }
    write( chip, reg, request.data.value_or( "" ) );
    return "";
}

Reply Service::carry( const Transaction &transaction ) {
    log.push_back( transaction );
    Fault fault;
    if ( !faults.empty() ) {
        fault = faults.front();
        faults.pop_front();
    }
    Reply reply;
    const size_t count = transaction.requests.size();
    for ( size_t n = 0; n < applied( fault, count ); ++n ) {
        reply.data.push_back( apply( transaction.requests[ n ] ) );
    }
    switch ( fault.kind ) {
    case Fault::LostBefore:
    case Fault::LostAfter:
    case Fault::LostAt:
        reply.error = fault.error;
        break;
    case Fault::FailedAt:
    case Fault::FailedLate:
        reply.failed = true;
        reply.reason = fault.reason;
        break;
    case Fault::Short:
        reply.data.resize( count ? fault.at % count : 0 );
        break;
    case Fault::Long:
        reply.data.resize( count + 1 + fault.at % 3, std::string( 1, '\x5A' ) );
        break;
    default:
        break;
    }
    return reply;
}

std::string inWords( const Transaction &transaction ) {
    std::string text =
        transaction.retries ? fmt::format( "retries {}", *transaction.retries ) : "transaction";
    for ( const Request &request : transaction.requests ) {
        text += fmt::format(
            "\n      type {} length {} address {:016x} pci {:08x} master {} pec {:d}", request.type,
            request.length, request.address, request.pci, request.master, request.pec );
        for ( const char byte : request.data.value_or( "" ) ) {
            text += fmt::format( " {:02x}", static_cast<uint8_t>( byte ) );
        }
        text += request.data ? " sent" : "";
    }
    return text;
}

std::string inWords( const Fault &fault ) {
    static const char *const names[] = { "well",      "lost before", "lost after", "lost at",
                                         "failed at", "failed late", "short",      "long" };
    return fmt::format( "{} {}", names[ fault.kind ], fault.at );
}

} // namespace model
