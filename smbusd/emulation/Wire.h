#pragma once

#include <utility>
#include <vector>

#include "smbusd/bus/WireTrace.h"
#include "smbusd/emulation/Segment.h"

namespace smbusd {

/**
 * The two wires of an emulated bus, as its master drives them. Lines are open drain: a byte is
 * acknowledged if any addressed chip pulls the line, and chips that talk together are heard as the
 * AND of their bytes.
 */
class Wire {
  public:
    /** @param root  the segment that the master is on; outlives the wire */
    explicit Wire( const Segment &root ) : root_( root ) {}

    /** Whether the chips have power; without it none answers. */
    void setPowered( bool powered ) { powered_ = powered; }

    /** START, or a repeated START within a message. @return whether a chip acknowledged. */
    bool start( uint8_t address, bool read );
    /** As start(), but no chip sees it, and so none acknowledges. @return false */
    bool startUnheard( uint8_t address, bool read );
    /** A byte from the master. @return whether a chip acknowledged it. */
    bool write( uint8_t byte );
    /** A byte that no chip gets to see whole, and so none acknowledges. @return false */
    bool writeUnheard( uint8_t byte );
    /**
     * A byte to the master; 0xFF where no chip pulls the line.
     * @param last  the master does not acknowledge it: nothing more is wanted
     * @param flip  bits that turn over on the way to the master
     */
    uint8_t read( bool last, uint8_t flip = 0 );
    /** The count byte of a block, which falsely says that many bytes less. */
    uint8_t readCount( uint32_t missing );
    /** The STOP; every chip that was addressed since the START is told. */
    void stop();

    /** What was on the wire; the one who starts a message clears it. */
    WireTrace &trace() { return trace_; }
    /** What was on the wire. */
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
