#include "OrvanGeneric/Drivers/Helpers.h"

#include <cassert>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/TopologyVisitor.h"

namespace Drivers {

namespace {

constexpr const char *blanks = " \t";

} // namespace

void FormatFdl::start() {
    text_ = template_;
    active_ = true;
}

bool FormatFdl::set( const std::string &key, const std::string &value ) {
    TRACE( 5, "FormatFdl::set( '%s', '%s' )", key.c_str(), value.c_str() );
    assert( active_ && "FormatFdl: Must call start() before set(...)" );
    const std::string placeholder = "{" + key + "}";
    size_t at = text_.find( placeholder );
    if ( at == std::string::npos ) {
        TRACE( 0, "Error: FormatFdl::set -- invalid key '%s'", placeholder.c_str() );
        assert( 0 && "Invalid key in FormatFdl::set" );
    }
    while ( at != std::string::npos ) {
        text_.replace( at, placeholder.size(), value );
        at = text_.find( placeholder );
    }
    return true;
}

std::string FormatFdl::str() {
    assert( active_ && "FormatFdl: Must call start() before str()" );
    active_ = false;
    return text_;
}

const char *FormatFdl::charPtr() {
    assert( active_ && "FormatFdl: Must call start() before charPtr()" );
    active_ = false;
    return text_.c_str();
}

std::string trim( const std::string &text ) {
    const size_t first = text.find_first_not_of( blanks );
    if ( first == std::string::npos ) {
        return std::string();
    }
    return text.substr( first, text.find_last_not_of( blanks ) - first + 1 );
}

bool zeroChecksum( const std::string &data ) {
    uint8_t sum = 0;
    for ( const char c : data ) {
        sum = static_cast<uint8_t>( sum + static_cast<uint8_t>( c ) );
    }
    return sum == 0;
}

Component::HardwareDevice *getHardwareDeviceByLabel( const char *label,
                                                     const std::string &driverName ) {
    Topology::Device *device = Topology::getDeviceByLabel( label );
    // A device that the topology lists without driver arguments cannot be made either.
    if ( device && !device->args ) {
        device = nullptr;
    }
    if ( !device ) {
        TRACE( 0, "Unable to locate device %s", label );
    }
    assert( device );
    DriverArgs &args = *device->args;
    if ( args.driver.empty() ) {
        args.driver = driverName;
    }
    auto *dev = dynamic_cast<Component::HardwareDevice *>(
        Component::HardwareDevice::create( args, nullptr ) );
    assert( dev );
    return dev;
}

Component::LogicalDevice::Gpio *getRegGpioForDevice( Component::HardwareDevice *device,
                                                     uint32_t reg, uint32_t bit ) {
    DriverArgs args;
    args.driverArgs[ "register" ] = std::to_string( reg );
    args.driverArgs[ "bitpos" ] = std::to_string( bit );
    Component::LogicalDevice::Gpio *gpio = device->newGpio( args );
    assert( gpio );
    return gpio;
}

Component::LogicalDevice::Gpio *getRegGpioForDevice( const char *label, uint32_t reg,
                                                     uint32_t bit ) {
    return getRegGpioForDevice( getHardwareDeviceByLabel( label, "Dummy" ), reg, bit );
}

} // namespace Drivers
