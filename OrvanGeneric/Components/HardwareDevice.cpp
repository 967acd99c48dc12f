#include "OrvanGeneric/Components/HardwareDevice.h"

#include <cassert>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/JsonText.h"
#include "OrvanGeneric/NotImplementedException.h"

namespace Component {

std::map<uint32_t, DeviceBase *> DeviceBase::devices;
const Utils::ExpectedValues emptyExpectedValues;

LogicalDevice::PoePort *DeviceBase::newPoePort( const DriverArgs & ) {
    throw NotImplementedException( "newPoePort" );
}
LogicalDevice::TempSensor *DeviceBase::newTempSensor( const DriverArgs & ) {
    throw NotImplementedException( "newTempSensor" );
}
LogicalDevice::Slot *DeviceBase::newSlot( const DriverArgs & ) {
    throw NotImplementedException( "newSlot" );
}
LogicalDevice::SfpXcvr *DeviceBase::newSfpXcvr( unsigned int, const DriverArgs & ) {
    throw NotImplementedException( "newSfpXcvr" );
}
LogicalDevice::QsfpXcvr *DeviceBase::newQsfpXcvr( unsigned int, const DriverArgs & ) {
    throw NotImplementedException( "newQsfpXcvr" );
}
LogicalDevice::Led *DeviceBase::newLed( const DriverArgs & ) {
    throw NotImplementedException( "newLed" );
}
LogicalDevice::Fan *DeviceBase::newFan( const DriverArgs & ) {
    throw NotImplementedException( "newFan" );
}
LogicalDevice::Mux *DeviceBase::newMux( const DriverArgs &, unsigned int ) {
    throw NotImplementedException( "newMux" );
}
LogicalDevice::Psu *DeviceBase::newPsu( const DriverArgs & ) {
    throw NotImplementedException( "newPsu" );
}
LogicalDevice::SmbusProxy *DeviceBase::newSmbusProxy( const DriverArgs & ) {
    throw NotImplementedException( "newSmbusProxy" );
}

DeviceBase *DeviceBase::create( const char *text, DriverArgs &args ) {
    TRACE( 0, "parsing devArgs = %s", text );
    if ( !args.parseJSON( text ) ) {
        TRACE( 0, "failed to parse json object as a device" );
        return nullptr;
    }
    return args.isMultiDevice ? MultiDevice::create( args )
                              : HardwareDevice::create( args, nullptr );
}

DeviceBase *DeviceBase::findDevice( const DriverArgs &args ) {
    TRACE( 0, "looking for already existing device %u", args.did );
    const auto it = devices.find( args.did );
    if ( it == devices.end() ) {
        return nullptr;
    }
    TRACE( 0, "using previously instanciated HardwareDevice %s", args.driver.c_str() );
    return it->second;
}

DeviceBase *DeviceBase::callDriverFactoryFunc( const DriverArgs &args, Ham::Ham *ham ) {
    TRACE( 0, "creating HardwareDevice %s", args.driver.c_str() );
    const auto it = Drivers::drivers.find( args.driver );
    if ( it == Drivers::drivers.end() ) {
        TRACE( 0, "driver %s not found", args.driver.c_str() );
        return nullptr;
    }
    TRACE( 0, "calling factory function for %s", args.driver.c_str() );
    return it->second( args, ham );
}

LogicalDevice::Gpio *HardwareDevice::newGpio( const DriverArgs &args ) {
    return new LogicalDevice::RegGpio( args, this );
}

const Utils::ExpectedValues *HardwareDevice::expectedValues() {
    return &emptyExpectedValues;
}

Ham::Ham *HardwareDevice::ham() const {
    Ham::Ham *const ham = ham_;
    assert( ham );
    return ham;
}

namespace {

/** The device's name, which tells its simulation file from those of other devices; may be empty. */
std::string simulationName( const DriverArgs &args ) {
    if ( !Utils::inSimulation() || !args.jsonText ) {
        return std::string();
    }
    Json::ParsedText text( args.jsonText );
    rapidjson::Document &json = text.document();
    if ( !text.valid() || !json.IsObject() || !json.HasMember( "name" ) ) {
        return std::string();
    }
    return json[ "name" ].GetString();
}

} // namespace

DeviceBase *HardwareDevice::create( const DriverArgs &args, Ham::Ham *ham ) {
    if ( DeviceBase *existing = findDevice( args ) ) {
        return existing;
    }
    if ( !ham && args.provideHam ) {
        TRACE( 0, "creating Ham" );
        ham = Ham::createHam( args );
        if ( !ham ) {
            TRACE( 0, "failed to create Ham" );
            return nullptr;
        }
    }
    DeviceBase *made = callDriverFactoryFunc( args, ham );
    // A driver of composed devices has no use for a Ham: a description without "isMultiDevice"
    // cannot have it.
    auto *device = dynamic_cast<HardwareDevice *>( made );
    if ( !device ) {
        TRACE( 0, "factory function returned a null object" );
        delete made;
        return nullptr;
    }
    const std::string name = simulationName( args );
    device->hamIs( ham );
    if ( ham ) {
        ham->setDriverName( args.driver, name );
        ham->setExpected( device->expectedValues() );
    }
    device->init();
    TRACE( 0, "%s device created", args.driver.c_str() );
    devices[ args.did ] = device;
    return device;
}

} // namespace Component
