#include "common/Frame.h"

#include <algorithm>

#include <fmt/core.h>

namespace common {

namespace {

/** The memory of a message grows by this much, in bytes. */
constexpr size_t growth = 16 * 1024;
/** A message's memory above this is not kept for the next one, in bytes. */
constexpr size_t keptCapacity = 64 * 1024;

void checkSize( size_t size ) {
    if ( size > longestMessage ) {
        throw FrameError( fmt::format( "claims a frame of {} bytes", size ) );
    }
}

size_t sizeIn( const FrameHeader &header ) {
    size_t size = 0;
    for ( const char byte : header ) {
        size = size << 8 | static_cast<uint8_t>( byte );
    }
    return size;
}

} // namespace

FrameHeader frameHeader( size_t size ) {
    checkSize( size );
    FrameHeader header;
    for ( auto byte = header.rbegin(); byte != header.rend(); ++byte ) {
        *byte = static_cast<char>( size & 0xFF );
        size >>= 8;
    }
    return header;
}

std::string framed( std::string_view message ) {
    const FrameHeader header = frameHeader( message.size() );
    return std::string( header.data(), header.size() ).append( message );
}

std::span<char> FrameDecoder::room() {
    if ( headerBytes_ < frameHeaderSize ) {
        return std::span( header_ ).subspan( headerBytes_ );
    }
    if ( room_ == 0 ) {
        room_ = std::min( missing_, growth );
        message_.resize( message_.size() + room_ );
    }
    return { message_.data() + message_.size() - room_, room_ };
}

void FrameDecoder::received( size_t count ) {
    if ( headerBytes_ == frameHeaderSize ) {
        room_ -= count;
        missing_ -= count;
        return;
    }
    headerBytes_ += count;
    if ( headerBytes_ == frameHeaderSize ) {
        missing_ = sizeIn( header_ );
        checkSize( missing_ );
    }
}

void FrameDecoder::restart() {
    headerBytes_ = 0;
    missing_ = 0;
    room_ = 0;
    message_.clear();
    if ( message_.capacity() > keptCapacity ) {
        message_.shrink_to_fit(); // an assignment would keep the memory
    }
}

} // namespace common
