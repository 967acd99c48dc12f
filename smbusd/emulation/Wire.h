#pragma once

#include <utility>
#include <vector>

#include "smbusd/bus/WireTrace.h"
#include "smbusd/emulation/Segment.h"

namespace smbusd {

/**
 * The two wires of an emulated bus, as its master drives them. Lines are open drain: a byte is
 * acknowledged if any addressed chip pulls the line, and chips that talk at once are heard as the
 * AND of their bytes.
 */
class Wire {
  public:
    explicit Wire( const Segment &root ) : root_( root ) {}

    /** Whether the chips have power; without it none answers. */
    void setPowered( bool powered ) { powered_ = powered; }

    /** START, or a repeated START within a message. @return whether a chip acknowledged. */
    bool start( uint8_t address, bool read );
    /** As start(), but the acknowledge never makes it to the master. */
    bool startUnheard( uint8_t address, bool read );
    bool write( uint8_t byte );
    /** A byte that no chip gets to see whole, and so none acknowledges. */
    bool writeUnheard( uint8_t byte );
    /** @param flip  bits that turn over on the way to the master */
    uint8_t read( bool last, uint8_t flip = 0 );
    /** The count byte of a block, which falsely says that many bytes less. */
    uint8_t readCount( uint32_t missing );
    void stop();

    WireTrace &trace() { return trace_; }
    const WireTrace &trace() const { return trace_; }
    /** Bytes acknowledged by chips since the last call. */
    unsigned takeAcknowledges() { return std::exchange( acknowledges_, 0 ); }

  private:
    uint8_t sample();

    const Segment &root_;
    bool powered_ = true;
    bool started_ = false;
    std::vector<Chip *> listening_; ///< acknowledged the last address
    std::vector<Chip *> involved_;  ///< addressed since the START, to be told of the STOP
    std::vector<Chip *> found_;
    unsigned acknowledges_ = 0;
    WireTrace trace_;
};

} // namespace smbusd
