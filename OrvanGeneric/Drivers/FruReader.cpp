#include "OrvanGeneric/Drivers/FruReader.h"

#include <array>
#include <cassert>

#include "OrvanGeneric/Drivers/Helpers.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

/** Bytes that a register number of one byte reaches. */
constexpr unsigned imageSize = 256;

constexpr unsigned headerSize = 8;
/** Where the common header holds the place of the product area, in units of eight bytes. */
constexpr unsigned productAreaOffset = 4;
constexpr unsigned areaUnit = 8;
constexpr unsigned noArea = 0;

/** The order in which the header is read: the place of the product area comes last. */
constexpr std::array<unsigned, headerSize> readingOrder = { 0, 1, 2, 3,
                                                            5, 6, 7, productAreaOffset };

/** The product area begins with version, length and language. */
constexpr unsigned firstField = 3;

/** The product area's fields, in their order. */
enum ProductField {
    manufacturer,
    productName,
    partNumber,
    productVersion,
    serialNumber,
    fieldCount
};

/** The type/length byte: type code in bits 7:6, length in bits 5:0; one value ends the fields. */
constexpr uint8_t endOfFields = 0xC1;
constexpr unsigned typeShift = 6;
constexpr uint8_t lengthMask = 0x3F;

} // namespace

pl_status FruReader::read( std::string &serial, std::string &productNameText ) {
    unsigned offset;
    pl_status status = readProductOffset( offset );
    offset += firstField;
    for ( int i = 0; status == PL_STATUS_OK && i < fieldCount; ++i ) {
        Field field;
        status = readTypeLength( offset, field );
        if ( status == PL_STATUS_OK && i == productName ) {
            status = readText( field, productNameText );
        }
        if ( status == PL_STATUS_OK && i == serialNumber ) {
            status = readText( field, serial );
        }
        offset = field.offset + field.length;
    }
    return status;
}

pl_status FruReader::readProductOffset( unsigned &offset ) {
    offset = 0;
    std::array<Ham::ResponseId, headerSize> ids;
    ham_->prepare();
    for ( const unsigned at : readingOrder ) {
        ids[ at ] = ham_->addRead8( at );
    }
    const int status = ham_->execute();
    if ( status ) {
        TRACE( 0, "PsuSlot%hhu: Error reading common header", psuIndex_ );
        return Utils::hostStatus( status );
    }
    std::string header;
    for ( const Ham::ResponseId id : ids ) {
        header += static_cast<char>( ham_->get8( id ) );
    }
    if ( !zeroChecksum( header ) ) {
        TRACE( 0, "PsuSlot%hhu: Common header checksum error", psuIndex_ );
        if ( !allowInvalidChecksum_ ) {
            return PL_STATUS_NOT_PRESENT;
        }
    }
    offset = static_cast<uint8_t>( header[ productAreaOffset ] ) * areaUnit;
    return offset == noArea ? PL_STATUS_NOT_PRESENT : PL_STATUS_OK;
}

pl_status FruReader::readTypeLength( unsigned offset, Field &field ) {
    field = {};
    if ( offset >= imageSize ) {
        return PL_STATUS_NOT_PRESENT;
    }
    uint8_t value;
    const int status = ham_->read8( offset, &value );
    if ( status ) {
        TRACE( 0, "Error reading type/length byte" );
        return Utils::hostStatus( status );
    }
    const int type = value >> typeShift;
    TRACE( 0, "Type code %d (val 0x%02x) at offset %d", type, value, static_cast<int>( offset ) );
    assert( type == 3 && "Expected type code 3 (8-bit ASCII)" );
    if ( value == endOfFields ) {
        return PL_STATUS_NOT_PRESENT;
    }
    field = { offset + 1, static_cast<unsigned>( value & lengthMask ) };
    return field.offset + field.length <= imageSize ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT;
}

pl_status FruReader::readText( const Field &field, std::string &text ) {
    text.clear();
    if ( field.length == 0 ) {
        return PL_STATUS_OK;
    }
    const int status = ham_->read( field.offset, field.length, &text, false );
    if ( status == 0 && text.size() == field.length ) {
        return PL_STATUS_OK;
    }
    TRACE( 0, "Error reading product info field" );
    return status ? Utils::hostStatus( status ) : PL_STATUS_NOT_PRESENT;
}

} // namespace Drivers
