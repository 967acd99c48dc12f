#include "OrvanGeneric/Drivers/Mirelund/MireLedCPLD.h"

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

namespace {

constexpr uint8_t ledsOff = 0;
constexpr uint8_t ledsOn = 255;

/** Writes @p value to every register; a failure is traced and does not end it. */
void writeAll( Ham::Ham *ham, const std::vector<uint8_t> &registers, uint8_t value ) {
    for ( const uint8_t reg : registers ) {
        if ( ham->write8( reg, value, false ) ) {
            TRACE( 0, "Failed to write QSFP Port LED Register: %hhu", reg );
        }
    }
}

} // namespace

Component::HardwareDevice *MireCLedCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MireCLedCPLD device" );
    return new MireCLedCPLD();
}

int MireCLedCPLD::init() {
    qsfpPortLedsDisableMap = { 0, 1, 2, 3, 4, 5, 8, 9, 10, 11 };
    qsfpPortLedsEnableMap = { 6, 7 };
    setLedsRegister();
    return 0;
}

void MireCLedCPLD::setLedsRegister() {
    writeAll( ham(), qsfpPortLedsDisableMap, ledsOff );
    TRACE( 0, "Successfully disable QSFP Port LEDs" );
    writeAll( ham(), qsfpPortLedsEnableMap, ledsOn );
    TRACE( 0, "Successfully enable QSFP Port LEDs" );
}

Component::LogicalDevice::Gpio *MireGpioLedCPLD::newGpio( const DriverArgs &args ) {
    return new RegGpio( args, this );
}

pl_status MireGpioLedCPLD::RegGpio::bitClear() {
    return Component::LogicalDevice::RegGpio::bitSet();
}

pl_status MireGpioLedCPLD::RegGpio::bitSet() {
    return Component::LogicalDevice::RegGpio::bitClear();
}

Component::HardwareDevice *MireZLedCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MireZLedCPLD device" );
    return new MireZLedCPLD();
}

Component::HardwareDevice *MireTLedCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MireTLedCPLD device" );
    return new MireTLedCPLD();
}

} // namespace Drivers
