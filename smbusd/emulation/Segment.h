#pragma once

#include <vector>

#include "smbusd/emulation/Chip.h"

namespace smbusd {

/**
 * One electrically continuous piece of a bus: the chips on it, some of which may be multiplexers
 * with further segments behind them. Owns none of the chips.
 */
class Segment {
  public:
    void add( Chip &chip ) { chips_.push_back( &chip ); }
    const std::vector<Chip *> &chips() const { return chips_; }

    /** Appends every chip that sees this address now, those behind open channels included. */
    void collect( uint8_t address, std::vector<Chip *> &found ) const;

  private:
    std::vector<Chip *> chips_;
};

/** What a multiplexer is to the bus it sits on. */
class Mux {
  public:
    virtual ~Mux() = default;
    virtual unsigned channelCount() const = 0;
    virtual bool channelOpen( unsigned channel ) const = 0;
    virtual Segment &channel( unsigned channel ) = 0;
};

} // namespace smbusd
