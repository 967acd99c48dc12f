#include "smbusd/emulation/Segment.h"

namespace smbusd {

void Segment::collect( uint8_t address, std::vector<Chip *> &found ) const {
    for ( Chip *chip : chips_ ) {
        if ( !chip->plugged() ) {
            continue;
        }
        if ( chip->listensTo( address ) ) {
            found.push_back( chip );
        }
        if ( Mux *mux = chip->mux() ) {
            for ( unsigned channel = 0; channel < mux->channelCount(); channel++ ) {
                if ( mux->channelOpen( channel ) ) {
                    mux->channel( channel ).collect( address, found );
                }
            }
        }
    }
}

} // namespace smbusd
