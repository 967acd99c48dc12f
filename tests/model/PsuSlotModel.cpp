#include "tests/model/PsuSlotModel.h"

#include "tests/model/FdlModel.h"

namespace model {

namespace {

enum Register : uint8_t { WedgePresence = 0x08, MfrModel = 0x9A, MfrSerial = 0x9E };

constexpr uint32_t tlvHeaderSize = 11;
constexpr uint8_t tlvModel = 0x22;
constexpr uint8_t tlvSerial = 0x23;

std::string trimmed( const std::string &text ) {
    const size_t first = text.find_first_not_of( " \t" );
    if ( first == std::string::npos ) {
        return "";
    }
    return text.substr( first, text.find_last_not_of( " \t" ) + 1 - first );
}

/** An identity ends where an EEPROM filled its field up. */
std::string cut( const std::string &text ) {
    return text.c_str();
}

void require( bool condition, const char *assertion ) {
    if ( !condition ) {
        throw WouldAbort{ assertion };
    }
}

/** Where the TLV area ends; the two bytes of its length are taken as signed. */
uint32_t tlvEnd( const std::string &header ) {
    const int length =
        static_cast<int8_t>( header[ 9 ] ) * 256 + static_cast<int8_t>( header[ 10 ] );
    return tlvHeaderSize + ( static_cast<uint32_t>( length ) & 0xFFFF );
}

} // namespace

int PsuSlotModel::readPmbus( Identity *identity ) {
    world_->trace( 7, "readSerialAndModelPmbus" );
    ham_.prepare();
    uint32_t model = ham_.addRead8( MfrModel );
    uint32_t serial = ham_.addRead8( MfrSerial );
    if ( const int status = ham_.execute() ) {
        return status;
    }
    const uint8_t modelLength = ham_.get8( model );
    const uint8_t serialLength = ham_.get8( serial );
    ham_.prepare();
    model = ham_.addRead( MfrModel, ( modelLength + 1 ) % 256 );
    serial = ham_.addRead( MfrSerial, ( serialLength + 1 ) % 256 );
    if ( const int status = ham_.execute() ) {
        return status;
    }
    identity->model = trimmed( cut( ham_.getBlock( model ).substr( 1 ) ) );
    identity->serial = trimmed( cut( ham_.getBlock( serial ).substr( 1 ) ) );
    return 0;
}

int PsuSlotModel::readWedge( Identity *identity ) {
    uint8_t bits = 0;
    if ( ham_.read8( WedgePresence, &bits ) || bits >> ( 1 - index_ ) & 1 ) {
        return 1;
    }
    *identity = { "N/A", "PWR-WEDGE" };
    return 0;
}

int PsuSlotModel::readTlv( Identity *identity ) {
    std::string header;
    if ( ham_.read( 0, tlvHeaderSize, &header ) ) {
        return 1;
    }
    require( header.substr( 0, 7 ) == "TlvInfo", "header.substr( 0, 7 ) == \"TlvInfo\"" );
    require( header[ 7 ] == '\0', "header[ 7 ] == '\\0'" );
    require( header[ 8 ] == '\x01', "header[ 8 ] == '\\x01'" );
    const uint32_t end = tlvEnd( header );
    uint32_t offset = tlvHeaderSize;
    while ( ( identity->serial.empty() || identity->model.empty() ) && offset < end ) {
        std::string entry;
        require( ham_.read( offset, 2, &entry ) == 0, "res == PL_STATUS_OK" );
        const auto type = static_cast<uint8_t>( entry[ 0 ] );
        const auto length = static_cast<uint8_t>( entry[ 1 ] );
        if ( type == tlvSerial || type == tlvModel ) {
            std::string &field = type == tlvSerial ? identity->serial : identity->model;
            field.clear(); // and so it stays if it cannot be read
            if ( length ) {
                ham_.read( offset + 2, length, &field );
            }
        }
        offset += 2u + length;
    }
    const bool found = !identity->serial.empty() && !identity->model.empty();
    *identity = { cut( identity->serial ), cut( identity->model ) };
    return found ? 0 : 1;
}

int PsuSlotModel::read( Identity *identity ) {
    switch ( type_ ) {
    case Type::Pmbus:
        return readPmbus( identity );
    case Type::Wedge:
        return readWedge( identity );
    default:
        return readTlv( identity );
    }
}

int PsuSlotModel::identify( Identity *identity ) {
    world_->trace( 7, "readSerialAndModel_" );
    if ( read( identity ) || identity->serial.empty() || identity->model.empty() ) {
        world_->trace( 7, "Failed to read PSU info '%s' '%s'", identity->serial.c_str(),
                       identity->model.c_str() );
        return 1;
    }
    return 0;
}

int PsuSlotModel::getPresence( std::optional<std::string> *fdl ) {
    world_->trace( 7, "getPresence" );
    if ( lines_ ) {
        int isPresent = 0;
        if ( const int status = lines_->presence.line.read( &isPresent ) ) {
            return status;
        }
        int isPowered = 0;
        if ( const int status = lines_->powerOk.line.read( &isPowered ) ) {
            return status;
        }
        if ( isPresent == lines_->presence.isActiveLow ) {
            return 1;
        }
        if ( isPowered == lines_->powerOk.isActiveLow ) {
            return unknown();
        }
    }
    Identity identity;
    if ( const int status = identify( &identity ) ) {
        cached_.reset();
        return status;
    }
    return tell( identity, fdl );
}

int PsuSlotModel::unknown() {
    require( !assertsOnUnknown_, "!assertOnUnknownModelName_" );
    world_->trace( 0, "Unknown modelName. PSU is unmanaged" );
    cached_.reset();
    return 1;
}

int PsuSlotModel::tell( const Identity &identity, std::optional<std::string> *fdl ) {
    const auto it = templates_.find( identity.model );
    if ( it == templates_.end() ) {
        return unknown();
    }
    if ( cached_ && cached_->identity == identity ) {
        world_->trace( 7, "Using cached fdl" );
    } else {
        world_->trace( 0, "PSU serialNum = '%s'", identity.serial.c_str() );
        world_->trace( 0, "PSU modelName = '%s'", identity.model.c_str() );
        FdlModel text( *world_, it->second );
        text.set( "serialNum", identity.serial );
        cached_ = { identity, text.text };
    }
    *fdl = cached_->fdl;
    return 0;
}

} // namespace model
