#include "smbusd/board/Hardware.h"

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

VirtualBus &Hardware::addVirtualBus( std::string name, const BusKey &key ) {
    auto bus = std::make_unique<VirtualBus>( std::move( name ), key, scheduler_, log_, faults );
    VirtualBus &added = *bus;
    virtualBuses_.push_back( &added );
    addBus( std::move( bus ) );
    return added;
}

void Hardware::addBus( std::unique_ptr<Bus> bus ) {
    busByKey_[ bus->key() ] = bus.get();
    buses_.push_back( std::move( bus ) );
}

Chip &Hardware::addChip( std::unique_ptr<Chip> chip ) {
    chips_.push_back( std::move( chip ) );
    return *chips_.back();
}

Unit &Hardware::addUnit( Unit unit ) {
    units_.push_back( std::make_unique<Unit>( std::move( unit ) ) );
    return *units_.back();
}

Bus *Hardware::findBus( const BusKey &key ) const {
    const auto found = busByKey_.find( key );
    return found == busByKey_.end() ? nullptr : found->second;
}

Bus *Hardware::findBus( std::string_view name ) const {
    return findNamed( buses_, name );
}

Chip *Hardware::findChip( std::string_view name ) const {
    return findNamed( chips_, name );
}

Unit *Hardware::findUnit( std::string_view name ) {
    return findNamed( units_, name );
}

void Hardware::plug( Unit &unit, bool plugged ) {
    unit.plugged = plugged;
    // Inputs first: a chip reads them at power-up.
    for ( const UnitInput &line : unit.inputs ) {
        line.chip->setInput( line.input, plugged ? line.plugged : line.unplugged );
    }
    for ( Chip *chip : unit.chips ) {
        chip->plug( plugged );
    }
}

void Hardware::updateConnections() {
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

void Hardware::setPowered( bool powered ) {
    powered_ = powered;
    powerGeneration_++;
    for ( VirtualBus *bus : virtualBuses_ ) {
        bus->setPowered( powered );
    }
}

void Hardware::powerOff() {
    log_.info( "board: power off" );
    setPowered( false );
}

void Hardware::powerOn() {
    log_.info( "board: power on" );
    for ( const std::unique_ptr<Chip> &chip : chips_ ) {
        chip->reset();
    }
    setPowered( true );
}

void Hardware::powerCycle() {
    log_.info( "board: power cycle" );
    setPowered( false );
    scheduler_.after( powerCycleTime_, [ this, generation = powerGeneration_ ] {
        if ( generation == powerGeneration_ ) {
            powerOn();
        }
    } );
}

} // namespace smbusd
