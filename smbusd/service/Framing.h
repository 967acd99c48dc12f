#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <google/protobuf/message_lite.h>

namespace smbusd {

/** Every message on the socket comes after its length: four bytes, high byte first. */
inline constexpr size_t frameHeaderSize = 4;
/** The longest message either side may send. */
inline constexpr uint32_t maxFrame = 1024 * 1024;

/** The length as it travels. */
using FrameHeader = std::array<uint8_t, frameHeaderSize>;

/** @return the length that a header states, whether allowed or not */
inline uint32_t frameLength( const FrameHeader &header ) {
    return uint32_t{ header[ 0 ] } << 24 | uint32_t{ header[ 1 ] } << 16 |
           uint32_t{ header[ 2 ] } << 8 | uint32_t{ header[ 3 ] };
}

/** Replaces the buffer's content by the message in its frame. */
inline void frameMessage( const google::protobuf::MessageLite &message, std::string &buffer ) {
    const size_t size = message.ByteSizeLong();
    buffer.resize( frameHeaderSize );
    for ( size_t i = 0; i < frameHeaderSize; i++ ) {
        buffer[ i ] = static_cast<char>( size >> ( 8 * ( frameHeaderSize - 1 - i ) ) & 0xFF );
    }
    message.AppendToString( &buffer );
}

} // namespace smbusd
