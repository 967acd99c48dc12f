#include "OrvanGeneric/Components/MultiDevice.h"

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

namespace Component {

namespace {

/** Adds the part that @p text describes; the record is kept even when there is none. */
template <class Record>
Record *addPart( std::vector<Record *> &parts, const char *text, Record *( *add )( const char * )) {
    if ( !text ) {
        return nullptr;
    }
    parts.push_back( add( text ) );
    return parts.back();
}

} // namespace

DeviceBase *MultiDevice::create( const DriverArgs &args ) {
    if ( DeviceBase *existing = findDevice( args ) ) {
        return existing;
    }
    DeviceBase *made = callDriverFactoryFunc( args, nullptr );
    // A driver of a single device cannot serve a description of several.
    auto *device = dynamic_cast<MultiDevice *>( made );
    if ( !device ) {
        TRACE( 0, "factory function returned a null object" );
        delete made;
        return nullptr;
    }
    device->deviceDriverArgsIs( args.multiDeviceArgs );
    device->init();
    TRACE( 0, "%s MultiDevice created", args.driver.c_str() );
    devices[ args.did ] = device;
    return device;
}

void MultiDevice::deviceDriverArgsIs( const std::map<std::string, std::string> &args ) {
    deviceDriverArgs = args;
}

const char *MultiDevice::getDeviceDriverArg( const std::string &key ) const {
    const auto it = deviceDriverArgs.find( key );
    if ( it == deviceDriverArgs.end() ) {
        TRACE( 0, "Failed to find driverArgs for driver key '%s'", key.c_str() );
        return nullptr;
    }
    return it->second.c_str();
}

pl_slot *MultiDevice::addSlot( const std::string &key ) {
    return addPart( slots, getDeviceDriverArg( key ), pl_slot_add );
}

pl_led *MultiDevice::addLed( const std::string &key ) {
    return addPart( leds, getDeviceDriverArg( key ), pl_led_add );
}

pl_psu *MultiDevice::addPsu( const std::string &key ) {
    return addPart( psus, getDeviceDriverArg( key ), pl_psu_add );
}

pl_fan *MultiDevice::addFan( const std::string &key ) {
    const char *text = getDeviceDriverArg( key );
    if ( text ) {
        TRACE( 6, "MultiDevice::addFan driver args = %s", text );
    }
    return addPart( fans, text, pl_fan_add );
}

pl_xcvr *MultiDevice::addXcvr( const std::string &key ) {
    const char *text = getDeviceDriverArg( key );
    if ( text ) {
        TRACE( 6, "MultiDevice::addXcvr driver args = %s", text );
    }
    return addPart( xcvrs, text, pl_xcvr_add );
}

pl_gpio *MultiDevice::addGpio( const std::string &key ) {
    const char *text = getDeviceDriverArg( key );
    if ( text ) {
        TRACE( 6, "MultiDevice::addGpio driver args = %s", text );
    }
    return addPart( gpios, text, pl_gpio_add );
}

} // namespace Component
