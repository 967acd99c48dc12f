#include "OrvanGeneric/Drivers/MultiSlot.h"

#include <cassert>
#include <cstdlib>

#include "OrvanGeneric/Drivers/Drivers.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

namespace {

/** A part's description with the slot's arguments behind its own. */
std::string withArguments( const std::string &description,
                           const std::map<std::string, std::string> &arguments ) {
    std::string result = description;
    for ( const auto &[ name, value ] : arguments ) {
        char *text;
        // A text that is no JSON stays as it is; adding the part will say so.
        if ( !insertDriverArg( result.c_str(), &text, name.c_str(), value.c_str() ) ) {
            break;
        }
        result = text;
        std::free( text );
    }
    return result;
}

} // namespace

Component::MultiDevice *MultiSlot::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 0, "Creating MultiSlot Device" );
    return new MultiSlot();
}

Component::LogicalDevice::Slot *MultiSlot::newSlot( const DriverArgs &args ) {
    const int slotId = requiredIntArg( args, "id" );
    assert( slotId >= 1 && slotId <= 5 );
    return new Slot( this, static_cast<uint8_t>( slotId - 1 ), args );
}

MultiSlot::Slot::Slot( MultiSlot *multiSlot, uint8_t index, const DriverArgs &args )
    : multiSlot_( multiSlot ), index_( index ) {
    const std::map<std::string, std::string> parts = multiSlot->deviceDriverArgs;
    std::map<std::string, std::string> slotParts;
    for ( const auto &[ key, description ] : parts ) {
        slotParts[ key ] = withArguments( description, args.driverArgs );
    }
    multiSlot->deviceDriverArgsIs( slotParts );
    const int slotId = index_ + 1;
    for ( const auto &[ key, description ] : slotParts ) {
        TRACE( 5, "Adding slot %d subdevice: %s ->%s", slotId, key.c_str(), description.c_str() );
        pl_slot *subSlot = multiSlot->addSlot( key );
        if ( subSlot ) {
            subSlots_.push_back( subSlot );
        } else {
            TRACE( 0, "Failed to add slot %d subdevice with key='%s'", slotId, key.c_str() );
        }
    }
    // The next slot of this device begins from the parts as they were described.
    multiSlot->deviceDriverArgsIs( parts );
}

pl_status MultiSlot::Slot::getPresence( char **fdl ) {
    return multiSlot_->getPresence( this, fdl );
}

pl_status MultiSlot::getDevPresence( pl_slot *subSlot, char **fdl ) {
    return subSlot->ops->get_presence( subSlot, fdl );
}

pl_status MultiSlot::getPresence( Slot *slot, char **fdl ) {
    TRACE( 7, "getPresence" );
    if ( slot->lastSubSlot_ && getDevPresence( slot->lastSubSlot_, fdl ) == PL_STATUS_OK ) {
        return PL_STATUS_OK;
    }
    for ( pl_slot *subSlot : slot->subSlots_ ) {
        if ( getDevPresence( subSlot, fdl ) != PL_STATUS_OK ) {
            continue;
        }
        slot->lastSubSlot_ = subSlot;
        return PL_STATUS_OK;
    }
    return PL_STATUS_NOT_PRESENT;
}

} // namespace Drivers
