#include "OrvanGeneric/Drivers/Mirelund/MirelundPsoc.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

enum Register : uint8_t {
    configurationA = 48,
    configurationB = 49,
    fanStallAlert = 50,
    configurationC = 51,
    pwmDuty = 60,       ///< word, hundredths of a percent
    firstFanSpeed = 64, ///< word, revolutions per minute; the other fans' follow
};

constexpr unsigned fanSpeedWidth = 2;

constexpr uint8_t configurationAValue = 1;
constexpr uint8_t configurationBValue = 255;
constexpr uint8_t configurationCValue = 1;

constexpr uint32_t pollingInterval = 1000; // milliseconds

/** The controller does not take a full duty. */
constexpr uint8_t maxDutyPercent = 99;
constexpr uint16_t dutyPerPercent = 100;

constexpr uint16_t byteSwap( uint16_t word ) {
    return static_cast<uint16_t>( word << 8 | word >> 8 );
}

/**
 * The first five are temperatures in degrees Celsius. Words are as the bus returns them, low byte
 * first. The alerts say that the fans of bits 3 and 7 are stalled.
 */
const Utils::ExpectedValues simulatedRegisters = {
    { 32, { 40, 1 } },
    { 33, { 39, 1 } },
    { 34, { 39, 1 } },
    { 36, { 39, 1 } },
    { 37, { 38, 1 } },
    { fanStallAlert, { 136, 1 } },
    { firstFanSpeed, { 65055, 2 } },
    { firstFanSpeed + fanSpeedWidth, { 65055, 2 } },
    { firstFanSpeed + 2 * fanSpeedWidth, { 65366, 2 } },
};

} // namespace

Component::HardwareDevice *MirelundPsoc::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 0, "Creating MirelundPsoc Device" );
    return new MirelundPsoc();
}

int MirelundPsoc::init() {
    ham()->prepare();
    ham()->addWrite8( configurationC, configurationCValue, false );
    ham()->addWrite8( configurationA, configurationAValue, false );
    ham()->addWrite8( configurationB, configurationBValue, false );
    if ( ham()->execute() ) {
        TRACE( 0, "MirelundPsoc init: failed to write configuration" );
    }
    pollIntervalIs( pollingInterval );
    if ( !pollStarted() ) {
        assert( pollStart() );
    }
    return PL_STATUS_OK;
}

bool MirelundPsoc::pollCallback() {
    // A failed read leaves the alerts of the last good one.
    const int status = ham()->read8( fanStallAlert, &stallAlert_ );
    if ( status ) {
        TRACE( 0, "Error status %d reading fan stall alert register", status );
    }
    return status == PL_STATUS_OK;
}

const Utils::ExpectedValues *MirelundPsoc::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Fan *MirelundPsoc::newFan( const DriverArgs &args ) {
    const int fanId = requiredIntArg( args, "fanId" );
    TRACE( 0, "Creating new MirelundPsoc Fan id %hhu", static_cast<uint8_t>( fanId ) );
    assert( fanId >= 1 && fanId <= 4 );
    const int maxRpm = requiredIntArg( args, "maxRpm" );
    // Without "registerOffset" there is no number to convert: that throws.
    const auto offset = args.driverArgs.find( "registerOffset" );
    const unsigned registerOffset =
        std::stoi( offset == args.driverArgs.end() ? std::string() : offset->second );
    const auto speedRegister =
        static_cast<uint8_t>( firstFanSpeed + fanSpeedWidth * registerOffset );
    return new Fan( this, static_cast<uint8_t>( fanId - 1 ), maxRpm, speedRegister,
                    flagArg( args, "pwmMaster", false ) );
}

Component::LogicalDevice::TempSensor *MirelundPsoc::newTempSensor( const DriverArgs &args ) {
    TRACE( 0, "Creating MirelundPsoc TempSensor Device" );
    const auto idIt = args.driverArgs.find( "sensorId" );
    assert( idIt != args.driverArgs.end() );
    const auto regIt = args.driverArgs.find( "register" );
    assert( regIt != args.driverArgs.end() );
    const auto id = static_cast<uint8_t>( std::stoi( idIt->second ) );
    const auto reg = static_cast<uint8_t>( std::stoi( regIt->second ) );
    TRACE( 5, "TempSensor id=%d, register=%d", id, reg );
    return new TempSensor( this, id, reg );
}

pl_status MirelundPsoc::Fan::getRpm( int *rpm ) {
    if ( driver_->stallAlert_ >> index_ & 1 ) {
        TRACE( 0, "Fan %d stalled", index_ );
        return PL_STATUS_FAULT;
    }
    uint16_t speed;
    const int status = driver_->ham()->read16( speedRegister_, &speed );
    if ( status ) {
        TRACE( 0, "Error: failed to read from fan %d speed register %d", index_, speedRegister_ );
        return Utils::hostStatus( status );
    }
    *rpm = byteSwap( speed );
    TRACE( 5, "MirelundPsoc::getFanRpm -- id: %d, rpm: %d", index_, *rpm );
    return PL_STATUS_OK;
}

pl_status MirelundPsoc::Fan::setRpm( int rpm ) {
    if ( !pwmMaster_ ) {
        return PL_STATUS_OK;
    }
    constexpr const char *failure = "Error: setting fan %d to %d rpm failed with status %d";
    if ( maxRpm_ == 0 ) {
        TRACE( 0, failure, index_, rpm, PL_STATUS_TRANSPORT );
        return PL_STATUS_TRANSPORT;
    }
    // The product has 32 bits and wraps. The quotient has 64: that of the least product and -1 does
    // not fit into 32.
    const auto hundredfold = static_cast<int32_t>( static_cast<uint32_t>( rpm ) * 100u );
    const int64_t percent = int64_t{ hundredfold } / static_cast<int32_t>( maxRpm_ );
    const auto byte = static_cast<uint8_t>( percent );
    const auto duty = static_cast<uint16_t>( std::min( byte, maxDutyPercent ) * dutyPerPercent );
    TRACE( 5, "Setting fan %d rpm to %d", index_, rpm );
    const int status = driver_->ham()->write16( pwmDuty, byteSwap( duty ), false );
    if ( status ) {
        TRACE( 0, failure, index_, rpm, status );
    }
    return Utils::hostStatus( status );
}

pl_status MirelundPsoc::TempSensor::getTemperature( float *celsius ) {
    uint8_t degrees;
    const int status = driver_->ham()->read8( register_, &degrees );
    if ( status ) {
        TRACE( 0, "Error status %d reading temperature from Psoc sensor %d", status, id_ );
        return Utils::hostStatus( status );
    }
    *celsius = degrees;
    return PL_STATUS_OK;
}

} // namespace Drivers
