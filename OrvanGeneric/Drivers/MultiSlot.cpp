#include "OrvanGeneric/Drivers/MultiSlot.h"

#include <cassert>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>

#include "OrvanGeneric/Assertion.h"
#include "OrvanGeneric/Drivers/Drivers.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/JsonText.h"

namespace Drivers {

namespace {

/**
 * A part's description with the slot's arguments added to its own. Nothing when the result cannot be
 * written as JSON (text that is not UTF-8); insertDriverArg() has traced that.
 */
std::optional<std::string> withArguments( const std::string &description,
                                          const std::map<std::string, std::string> &arguments ) {
    std::string result = description;
    for ( const auto &[ name, value ] : arguments ) {
        char *text;
        if ( insertDriverArg( result.c_str(), &text, name.c_str(), value.c_str() ) ) {
            result = text;
            std::free( text );
        } else if ( Json::ParsedText( result.c_str() ).valid() ) {
            return std::nullopt;
        } else {
            // A text that is not JSON stays as it is: the attempt to add the part reports it.
            break;
        }
    }
    return result;
}

/** Sets a flag while it lives. */
class Making {
  public:
    explicit Making( bool &flag ) : flag_( flag ) { flag_ = true; }
    ~Making() { flag_ = false; }
    Making( const Making & ) = delete;
    Making &operator=( const Making & ) = delete;

  private:
    bool &flag_;
};

/** Replaces the descriptions of a multi-device's parts while it lives. */
class OtherParts {
  public:
    OtherParts( Component::MultiDevice &device, std::map<std::string, std::string> parts )
        : device_( device ), before_( std::move( parts ) ) {
        device_.deviceDriverArgs.swap( before_ );
    }
    ~OtherParts() { device_.deviceDriverArgs.swap( before_ ); }
    OtherParts( const OtherParts & ) = delete;
    OtherParts &operator=( const OtherParts & ) = delete;

  private:
    Component::MultiDevice &device_;
    std::map<std::string, std::string> before_;
};

} // namespace

Component::MultiDevice *MultiSlot::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 0, "Creating MultiSlot Device" );
    return new MultiSlot();
}

Component::LogicalDevice::Slot *MultiSlot::newSlot( const DriverArgs &args ) {
    const int slotId = requiredIntArg( args, "id" );
    assert( slotId >= 1 && slotId <= 5 );
    ASSERT_NAMED( !makingSlot_, "device " + std::to_string( args.did ) + " is no part of itself" );
    const Making making( makingSlot_ );
    return new Slot( this, static_cast<uint8_t>( slotId - 1 ), args );
}

MultiSlot::Slot::Slot( MultiSlot *multiSlot, uint8_t index, const DriverArgs &args )
    : multiSlot_( multiSlot ), index_( index ) {
    std::map<std::string, std::string> slotParts = multiSlot->deviceDriverArgs;
    std::set<std::string> refused;
    for ( auto &[ key, description ] : slotParts ) {
        if ( auto text = withArguments( description, args.driverArgs ) ) {
            description = std::move( *text );
        } else {
            refused.insert( key );
        }
    }
    // For this slot only: the device's next one begins with the original descriptions.
    const OtherParts installed( *multiSlot, slotParts );
    const int slotId = index_ + 1;
    for ( const auto &[ key, description ] : slotParts ) {
        TRACE( 5, "Adding slot %d subdevice: %s ->%s", slotId, key.c_str(), description.c_str() );
        pl_slot *subSlot = refused.contains( key ) ? nullptr : multiSlot->addSlot( key );
        if ( subSlot ) {
            subSlots_.push_back( subSlot );
            continue;
        }
        if ( refused.contains( key ) ) {
            multiSlot->slots.push_back( nullptr );
        }
        TRACE( 0, "Failed to add slot %d subdevice with key='%s'", slotId, key.c_str() );
    }
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
