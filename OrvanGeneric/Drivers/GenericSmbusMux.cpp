#include "OrvanGeneric/Drivers/GenericSmbusMux.h"

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

constexpr uint8_t allChannelsOff = 0;

} // namespace

Component::HardwareDevice *GenericSmbusMux::create( const DriverArgs &, Ham::Ham * ) {
    return new GenericSmbusMux();
}

Component::LogicalDevice::Mux *GenericSmbusMux::newMux( const DriverArgs &, unsigned int select ) {
    return new Mux( this, static_cast<uint8_t>( select ) );
}

bool GenericSmbusMux::Mux::selectRequest( Ham::Ham *ham ) {
    ham->addSendByte( select_, false );
    return true;
}

bool GenericSmbusMux::Mux::resetRequest( Ham::Ham *ham ) {
    ham->addSendByte( allChannelsOff, false );
    return true;
}

pl_status GenericSmbusMux::Mux::executeMuxRequest() {
    Ham::Ham *ham = driver_->ham();
    ham->prepare();
    selectRequest( ham );
    return Utils::hostStatus( ham->execute() );
}

} // namespace Drivers
