#include "smbusd/board/Board.h"

#include <algorithm>

namespace smbusd {

namespace {

template <typename Items>
auto findNamed( const Items &items, std::string_view name ) {
    const auto found = std::find_if( items.begin(), items.end(), [ name ]( const auto &item ) {
        if constexpr ( requires { item->name(); } ) {
            return item->name() == name;
        } else {
            return item->name == name;
        }
    } );
    return found == items.end() ? nullptr : found->get();
}

} // namespace

VirtualBus &Board::addVirtualBus( std::string name, const BusKey &key ) {
    auto bus = std::make_unique<VirtualBus>( std::move( name ), key, scheduler_, log_, faults );
    VirtualBus &added = *bus;
    virtualBuses_.push_back( &added );
    addBus( std::move( bus ) );
    return added;
}

void Board::addBus( std::unique_ptr<Bus> bus ) {
    busByKey_[ bus->key() ] = bus.get();
    buses_.push_back( std::move( bus ) );
}

Chip &Board::addChip( std::unique_ptr<Chip> chip ) {
    chips_.push_back( std::move( chip ) );
    return *chips_.back();
}

Unit &Board::addUnit( Unit unit ) {
    units_.push_back( std::make_unique<Unit>( std::move( unit ) ) );
    return *units_.back();
}

Bus *Board::findBus( const BusKey &key ) const {
    const auto found = busByKey_.find( key );
    return found == busByKey_.end() ? nullptr : found->second;
}

Bus *Board::findBus( std::string_view name ) const {
    return findNamed( buses_, name );
}

Chip *Board::findChip( std::string_view name ) const {
    return findNamed( chips_, name );
}

Unit *Board::findUnit( std::string_view name ) {
    return findNamed( units_, name );
}

void Board::plug( Unit &unit, bool plugged ) {
    unit.plugged = plugged;
    // The chips of a unit that is put in wake up to what acts on them there.
    for ( const UnitInput &line : unit.inputs ) {
        line.chip->setInput( line.input, plugged ? line.plugged : line.unplugged );
    }
    for ( Chip *chip : unit.chips ) {
        chip->plug( plugged );
    }
}

void Board::updateConnections() {
    for ( Connection &connection : connections_ ) {
        const auto chip =
            std::find_if( connection.from.begin(), connection.from.end(),
                          []( const Chip *candidate ) { return candidate->plugged(); } );
        const double value = chip != connection.from.end() ? ( *chip )->output( connection.output )
                                                           : connection.unplugged;
        if ( connection.last != value ) {
            connection.last = value;
            connection.to->setInput( connection.input, value );
        }
    }
}

void Board::setPowered( bool powered ) {
    powered_ = powered;
    powerGeneration_++;
    for ( VirtualBus *bus : virtualBuses_ ) {
        bus->setPowered( powered );
    }
}

void Board::powerOff() {
    log_.info( "board: power off" );
    setPowered( false );
}

void Board::powerOn() {
    log_.info( "board: power on" );
    for ( const std::unique_ptr<Chip> &chip : chips_ ) {
        chip->reset();
    }
    setPowered( true );
}

void Board::powerCycle() {
    log_.info( "board: power cycle" );
    setPowered( false );
    scheduler_.after( powerCycleTime_, [ this, generation = powerGeneration_ ] {
        if ( generation == powerGeneration_ ) {
            powerOn();
        }
    } );
}

} // namespace smbusd
