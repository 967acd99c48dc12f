#include "OrvanGeneric/Drivers/TlvReader.h"

#include <cassert>
#include <cstdint>

#include "OrvanGeneric/Ham/Ham.h"

namespace Drivers {

namespace {

/** Eight bytes of signature, a version, and the length of the fields that follow, high byte first. */
constexpr int headerSize = 11;
constexpr size_t lengthHighByte = 9;
constexpr size_t lengthLowByte = 10;

/** Each field begins with a type and the length of its value. */
constexpr unsigned fieldHeaderSize = 2;
constexpr char modelType = 0x22;
constexpr char serialType = 0x23;

/** Reads @p length bytes. A short answer is a failure; after a failure @p bytes is empty. */
int readBytes( Ham::Ham *ham, int offset, unsigned length, std::string &bytes ) {
    bytes.clear();
    if ( length == 0 ) {
        return PL_STATUS_OK;
    }
    int status = ham->read( static_cast<unsigned>( offset ), length, &bytes, false );
    if ( status == PL_STATUS_OK && bytes.size() < length ) {
        status = PL_STATUS_FAILED;
    }
    if ( status != PL_STATUS_OK ) {
        bytes.clear();
    }
    return status;
}

} // namespace

pl_status readTlvInfo( Ham::Ham *ham, std::string &serial, std::string &model ) {
    std::string header;
    if ( readBytes( ham, 0, headerSize, header ) != PL_STATUS_OK ) {
        return PL_STATUS_NOT_PRESENT;
    }
    assert( header.substr( 0, 7 ) == "TlvInfo" );
    assert( header[ 7 ] == '\0' );
    assert( header[ 8 ] == '\x01' );
    // Both bytes count as signed: a low byte of 0x80 or more makes the length smaller by 256.
    const int high = static_cast<signed char>( header[ lengthHighByte ] );
    const int low = static_cast<signed char>( header[ lengthLowByte ] );
    const auto end = static_cast<uint16_t>( headerSize + high * 256 + low );
    int offset = headerSize;
    while ( ( serial.empty() || model.empty() ) && offset < end ) {
        std::string field;
        const int res = readBytes( ham, offset, fieldHeaderSize, field );
        assert( res == PL_STATUS_OK );
        const auto length = static_cast<uint8_t>( field[ 1 ] );
        const int valueOffset = offset + static_cast<int>( fieldHeaderSize );
        // A value that cannot be read stays empty, and the supply unidentified.
        if ( field[ 0 ] == serialType ) {
            readBytes( ham, valueOffset, length, serial );
        } else if ( field[ 0 ] == modelType ) {
            readBytes( ham, valueOffset, length, model );
        }
        offset = valueOffset + length;
    }
    return serial.empty() || model.empty() ? PL_STATUS_NOT_PRESENT : PL_STATUS_OK;
}

} // namespace Drivers
