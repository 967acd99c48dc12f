/**
 * @file
 * Frames: how messages travel on the SMBus service's socket, each after its length in four bytes, high
 * byte first.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace common {

/** The bytes of a frame before its message. */
inline constexpr size_t frameHeaderSize = 4;
/** The longest message that either side may send, in bytes. */
inline constexpr size_t longestMessage = 1024 * 1024;

/** A frame's first bytes: the message's length, high byte first. */
using FrameHeader = std::array<char, frameHeaderSize>;

/** A message that is longer than any frame holds: "claims a frame of 1048577 bytes". */
class FrameError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** The header of a message of @p size bytes. Throws FrameError above longestMessage. */
FrameHeader frameHeader( size_t size );

/** @p message in its frame. Throws FrameError above longestMessage. */
std::string framed( std::string_view message );

/**
 * Replaces the content of @p buffer by @p message, a protobuf message, in its frame. Throws FrameError
 * above longestMessage.
 */
template <class Message>
void frameMessage( const Message &message, std::string &buffer ) {
    const FrameHeader header = frameHeader( message.ByteSizeLong() );
    buffer.assign( header.data(), header.size() );
    message.AppendToString( &buffer );
}

/**
 * Puts a frame together from bytes as they come. Bytes go into room() and are then reported with
 * received(), until the frame is complete(). Memory grows with the bytes, not with what a header
 * claims.
 */
class FrameDecoder {
  public:
    /** Where the next bytes go: at most what the frame still lacks; empty once it is complete. */
    std::span<char> room();
    /** The first @p count bytes of room() have come. Throws FrameError for a header's claim. */
    void received( size_t count );
    /** Whether any byte of the frame has come. */
    bool started() const { return headerBytes_ > 0; }
    /** Whether the whole frame is there. */
    bool complete() const { return headerBytes_ == frameHeaderSize && missing_ == 0; }
    /** The message of a complete frame. */
    const std::string &message() const { return message_; }
    /** Forgets the frame: the next byte is another's first. Gives large memory back. */
    void restart();

  private:
    FrameHeader header_{};
    size_t headerBytes_ = 0;
    std::string message_;
    size_t missing_ = 0; // of the message
    size_t room_ = 0;    // at the end of message_, handed out but not yet reported
};

} // namespace common
