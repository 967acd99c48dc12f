#pragma once

#include <vector>

#include "smbusd/emulation/Chip.h"

namespace smbusd {

/**
 * One electrically continuous piece of a bus: the chips on it, some of which may be multiplexers
 * with further segments after them. Owns none of the chips.
 */
class Segment {
  public:
    /** Connects a chip, which must outlive the segment's use. */
    void add( Chip &chip ) { chips_.push_back( &chip ); }
    /** The chips directly on this segment, plugged in or not, in the order of the configuration. */
    const std::vector<Chip *> &chips() const { return chips_; }

    /** Appends every chip that sees this address now, those after open channels included. */
    void collect( uint8_t address, std::vector<Chip *> &found ) const;

  private:
    std::vector<Chip *> chips_;
};

/** What a multiplexer is to the bus it sits on. */
class Mux {
  public:
    virtual ~Mux() = default;
    /** Channels, numbered from 0. */
    virtual unsigned channelCount() const = 0;
    /** Whether traffic passes to that channel now. */
    virtual bool channelOpen( unsigned channel ) const = 0;
    /** What is connected to that channel. */
    virtual Segment &channel( unsigned channel ) = 0;
};

} // namespace smbusd
