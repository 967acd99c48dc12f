#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "smbusd/bus/Pec.h"
#include "smbusd/emulation/Chip.h"

namespace smbusd {

/** What belongs to a command code. */
struct CommandShape {
    /** What follows the command code. */
    enum class Kind {
        Send,  ///< nothing
        Bytes, ///< a fixed number of bytes
        Block, ///< a count and that many bytes
    };

    Kind kind = Kind::Bytes; ///< the same for a write and a read
    unsigned width = 1;      ///< of Bytes; for Block the most bytes it takes
    bool readable = true;    ///< whether the device answers a read
    bool writable = true;    ///< whether it takes data
};

/** What a message did wrong, for devices that keep a status of it. */
enum class SmbusMisuse {
    UnknownCommand, ///< a command that the device does not know, or not as a read
    BadData,        ///< too few or too many bytes, or data for a read-only command
    BadPec,         ///< a wrong packet error code
};

/**
 * A device that speaks the SMBus protocols: a command code says how many bytes follow, blocks tell
 * their length, and after a message may come a packet error code.
 *
 * A write takes effect when it ended as it should: neither too short nor too long, and without a
 * wrong packet error code, which is not acknowledged. A receive byte brings the first byte of the
 * command that was named last, and an idle line if that one cannot be read or none was. Base of the chips with such commands; a
 * register file whose bytes just run on is a RegisterFile.
 */
class SmbusDevice : public Chip {
  public:
    /** @param pec  whether the device knows packet error codes */
    SmbusDevice( ChipContext context, bool pec ) : Chip( std::move( context ) ), pecKnown_( pec ) {}

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void stop() override;
    void reset() override;

  protected:
    /** @return nothing for a command that the device does not know; it is not acknowledged */
    virtual std::optional<CommandShape> shapeOf( uint8_t command ) const = 0;
    /** What a command reads as; of a block, the bytes without their count. */
    virtual std::vector<uint8_t> readCommand( uint8_t command ) = 0;
    /** A write has ended well. The data of a block come without their count; a send has none. */
    virtual void writeCommand( uint8_t command, std::span<const uint8_t> data ) = 0;

    /** Whether the device knows packet error codes. */
    bool knowsPec() const { return pecKnown_; }
    /** A message was refused; it is logged already. */
    virtual void refused( SmbusMisuse misuse ) { ( void )misuse; }

  private:
    bool reject( SmbusMisuse kind, const std::string &why );
    bool takeCommand( uint8_t byte );
    bool takeData( uint8_t byte );
    size_t expectedData() const;
    void finishWrite();
    bool isReadable() const;
    bool startReply();
    void startReceiveByte();
    void prepareRead();

    bool pecKnown_;
    Pec pec_;
    bool inMessage_ = false;
    bool commandSeen_ = false;
    bool commandNamed_ = false; ///< by any message since the reset: command_ and shape_ are valid
    bool rejected_ = false;
    bool pecSeen_ = false;
    uint8_t command_ = 0;
    CommandShape shape_;
    std::vector<uint8_t> received_; ///< after the command, a block's count included
    std::vector<uint8_t> reply_;
    size_t replied_ = 0;
};

} // namespace smbusd
