#include "smbusd/emulation/VirtualBus.h"

#include <algorithm>

#include "smbusd/emulation/Transfer.h"

namespace smbusd {

void VirtualBus::setPowered( bool powered ) {
    powered_ = powered;
    wire_.setPowered( powered );
}

void VirtualBus::findResponders( uint8_t address ) {
    responders_.clear();
    if ( powered_ ) {
        root_.collect( address, responders_ );
    }
}

void VirtualBus::execute( const Operation &operation, Completion completion ) {
    findResponders( operation.address );
    counters.operations++;
    for ( Chip *chip : responders_ ) {
        chip->counters.operations++;
        if ( std::find( transaction_.begin(), transaction_.end(), chip ) == transaction_.end() ) {
            transaction_.push_back( chip );
            chip->counters.transactions++;
        }
    }
    if ( faults_.empty() ) {
        attempt( operation, {}, completion );
        return;
    }
    const FaultEffects effects = takeFaults( operation );
    Duration wait = effects.delay;
    if ( effects.clockHold ) {
        wait += *effects.clockHold;
    }
    if ( wait == Duration::zero() ) {
        attempt( operation, effects, completion );
        return;
    }
    scheduler_.after( wait, [ this, &operation, effects, completion = std::move( completion ) ] {
        findResponders( operation.address );
        attempt( operation, effects, completion );
    } );
}

FaultEffects VirtualBus::takeFaults( const Operation &operation ) {
    FaultEffects effects;
    const auto take = [ & ]( const std::string &target ) -> unsigned {
        const unsigned applied = faults_.apply( target, operation, effects );
        if ( applied > 0 ) {
            log_.info( "bus \"{}\": {} injected fault(s) of \"{}\" take effect on {}", name(),
                       applied, target, describe( operation ) );
        }
        counters.faults += applied;
        return applied;
    };
    take( name() );
    for ( Chip *chip : responders_ ) {
        chip->counters.faults += take( chip->name() );
    }
    return effects;
}

void VirtualBus::attempt( const Operation &operation, const FaultEffects &effects,
                          const Completion &completion ) {
    Result result;
    if ( effects.dropConnection || effects.stopAnswering ) {
        wire_.trace().clear();
        wire_.trace().note( effects.dropConnection ? "connection dropped" : "no answer sent" );
        result = { effects.dropConnection ? Outcome::Dropped : Outcome::Muted };
    } else {
        result = transfer( wire_, operation, effects );
    }
    count( result );
    completion( std::move( result ) );
}

void VirtualBus::count( const Result &result ) {
    counters.acknowledges += wire_.takeAcknowledges();
    if ( result.outcome == Outcome::Done ) {
        return;
    }
    counters.errors++;
    for ( Chip *chip : responders_ ) {
        chip->counters.errors++;
    }
}

void VirtualBus::transactionStarted() {
    Bus::transactionStarted();
    transaction_.clear();
}

void VirtualBus::retried( const Operation &operation ) {
    Bus::retried( operation );
    findResponders( operation.address );
    for ( Chip *chip : responders_ ) {
        chip->counters.retries++;
    }
}

} // namespace smbusd
