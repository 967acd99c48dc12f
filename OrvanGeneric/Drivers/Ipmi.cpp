#include "OrvanGeneric/Drivers/Ipmi.h"

#include <cassert>
#include <utility>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/Ham/IpmiHam.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

constexpr const char *backToFront = "backToFrontAirflow";
constexpr const char *unknownDirection = "unknownAirflowDirection";

/** The argument, or the empty text. */
std::string textArg( const std::map<std::string, std::string> &args, const char *name ) {
    const auto it = args.find( name );
    return it == args.end() ? std::string() : it->second;
}

} // namespace

Component::HardwareDevice *Ipmi::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 0, "Creating Ipmi Device" );
    const std::string fruId = textArg( args.driverArgs, "fruId" );
    TRACE( 0, "IPMI fruId: '%s'", fruId.c_str() );
    const auto hamType = args.driverArgs.find( "hamType" );
    if ( hamType == args.driverArgs.end() ) {
        TRACE( 0, "Error: 'hamType' driver arg not provided to IPMI driver" );
        return nullptr;
    }
    TRACE( 0, "Creating ham type: %s", hamType->second.c_str() );
    std::shared_ptr<Ham::IpmiHam> ipmiHam = Ham::createIpmiHam( hamType->second );
    if ( !ipmiHam ) {
        TRACE( 0, "Error: Failed to create ham: %s", hamType->second.c_str() );
        return nullptr;
    }
    ipmiHam->configure( args );
    return new Ipmi( fruId, std::move( ipmiHam ) );
}

Ipmi::Ipmi( const std::string &fruId, std::shared_ptr<Ham::IpmiHam> ipmiHam )
    : fruId_( fruId ), ipmiHam_( std::move( ipmiHam ) ) {}

int Ipmi::init() {
    TRACE( 0, "Ipmi::init()" );
    if ( fruId_.empty() ) {
        return PL_STATUS_OK;
    }
    ipmiHam_->airflowId( fruId_ );
    return ipmiHam_->status;
}

std::string Ipmi::airflowDirection() {
    std::string direction;
    if ( ipmiHam_->getSensorVal( Ham::airflowSensorPrefix + fruId_, &direction ) != 0 ) {
        return unknownDirection;
    }
    return direction;
}

Component::LogicalDevice::Psu *Ipmi::newPsu( const DriverArgs &args ) {
    const auto id = args.driverArgs.find( "psuId" );
    if ( id == args.driverArgs.end() ) {
        TRACE( 0, "Error: expected 'psuId' in psu driverArgs" );
        return nullptr;
    }
    const int psuId = std::stoi( id->second );
    assert( psuId == 1 || psuId == 2 );
    const auto key = args.driverArgs.find( "ipmiKey" );
    if ( key == args.driverArgs.end() ) {
        TRACE( 0, "Error: expected 'ipmiKey' in psu driverArgs" );
        return nullptr;
    }
    TRACE( 0, "Creating Ipmi Psu Device %d, %s", psuId, key->second.c_str() );
    return new Psu( ipmiHam_, static_cast<uint8_t>( psuId ), key->second );
}

Component::LogicalDevice::Fan *Ipmi::newFan( const DriverArgs &args ) {
    const int fanId = requiredIntArg( args, "fanId" );
    TRACE( 0, "Creating new Ipmi Fan id %hhu", static_cast<uint8_t>( fanId ) );
    assert( fanId >= 1 && fanId <= 7 );
    const bool ownRpm = args.driverArgs.contains( "maxRpm" );
    const int maxRpm = requiredIntArg( args, ownRpm ? "maxRpm" : "maxFanRpm" );
    return new Fan( ipmiHam_, static_cast<uint8_t>( fanId ), maxRpm,
                    requiredArg( args, "ipmiKey" ) );
}

Component::LogicalDevice::TempSensor *Ipmi::newTempSensor( const DriverArgs &args ) {
    TRACE( 0, "Creating Ipmi TempSensor Device" );
    return new TempSensor( ipmiHam_, requiredArg( args, "ipmiKey" ) );
}

Component::LogicalDevice::Slot *Ipmi::newSlot( const DriverArgs &args ) {
    const int fanId = requiredIntArg( args, "fanId" );
    const std::string &fruKey = requiredArg( args, "ipmiKey" );
    assert( 1 <= fanId && fanId <= 8 );
    TRACE( 0, "Creating new Ipmi Slot for Fan id %d", fanId );
    return new FanSlot( this, fanId - 1, fruKey, args.driverArgs );
}

Ipmi::Psu::Psu( std::shared_ptr<Ham::IpmiHam> ham, uint8_t psuId, const std::string &ipmiKey )
    : ham_( std::move( ham ) ), psuId_( psuId ), currentIn_( ipmiKey + "_CURRENT_IN" ),
      currentOut_( ipmiKey + "_CURRENT_OUT" ), voltageIn_( ipmiKey + "_VOLTAGE_IN" ),
      voltageOut_( ipmiKey + "_VOLTAGE_OUT" ), powerIn_( ipmiKey + "_POWER_IN" ),
      powerOut_( ipmiKey + "_POWER_OUT" ), ok_( ipmiKey + "_OK" ) {}

pl_status Ipmi::Psu::get_power_ok( int *ok ) {
    return Utils::hostStatus( ham_->getSensorVal( ok_, ok ) );
}

pl_status Ipmi::Psu::get_input_current( float *amperes ) {
    return Utils::hostStatus( ham_->getSensorVal( currentIn_, amperes ) );
}

pl_status Ipmi::Psu::get_output_current( float *amperes ) {
    return Utils::hostStatus( ham_->getSensorVal( currentOut_, amperes ) );
}

pl_status Ipmi::Psu::get_input_voltage( float *volts ) {
    return Utils::hostStatus( ham_->getSensorVal( voltageIn_, volts ) );
}

pl_status Ipmi::Psu::get_output_voltage( float *volts ) {
    return Utils::hostStatus( ham_->getSensorVal( voltageOut_, volts ) );
}

pl_status Ipmi::Psu::get_input_power( float *watts ) {
    return Utils::hostStatus( ham_->getSensorVal( powerIn_, watts ) );
}

pl_status Ipmi::Psu::get_output_power( float *watts ) {
    return Utils::hostStatus( ham_->getSensorVal( powerOut_, watts ) );
}

Ipmi::Fan::Fan( std::shared_ptr<Ham::IpmiHam> ham, uint8_t fanId, int maxRpm,
                const std::string &ipmiKey )
    : ham_( std::move( ham ) ), fanId_( fanId ), maxRpm_( maxRpm ), ipmiKey_( ipmiKey ) {}

pl_status Ipmi::Fan::getRpm( int *rpm ) {
    return Utils::hostStatus( ham_->getSensorVal( ipmiKey_, rpm ) );
}

pl_status Ipmi::Fan::setRpm( int ) {
    assert( 0 && "fan is readonly" );
    return PL_STATUS_UNSUPPORTED;
}

Ipmi::TempSensor::TempSensor( std::shared_ptr<Ham::IpmiHam> ham, const std::string &ipmiKey )
    : ham_( std::move( ham ) ), ipmiKey_( ipmiKey ) {}

pl_status Ipmi::TempSensor::getTemperature( float *celsius ) {
    return Utils::hostStatus( ham_->getSensorVal( ipmiKey_, celsius ) );
}

Ipmi::FanSlot::FanSlot( Ipmi *ipmi, int index, const std::string &fruKey,
                        const std::map<std::string, std::string> &slotArgs )
    : ipmi_( ipmi ), index_( index ), fruKey_( fruKey ), slotArgs_( slotArgs ),
      modelName_( textArg( slotArgs, "modelName" ) ), formatFdl_( textArg( slotArgs, "fanFdl" ) ),
      cachedFdl_( "Error: Ipmi::FanSlot strdup failed" ) {
    const auto fdlIt = slotArgs_.find( "fanFdl" );
    assert( fdlIt != slotArgs_.end() );
    const auto f2bIt = slotArgs_.find( "rpmF2B" );
    assert( f2bIt != slotArgs_.end() );
    rpmF2B_ = f2bIt->second;
    const auto b2fIt = slotArgs_.find( "rpmB2F" );
    assert( b2fIt != slotArgs_.end() );
    rpmB2F_ = b2fIt->second;
}

pl_status Ipmi::FanSlot::getPresence( char **fdl ) {
    assert( fruKey_ != "" ); // NOLINT(readability-container-size-empty)
    bool present;
    const int status = ipmi_->ipmiHam_->fanPresence( fruKey_, &present );
    if ( status != 0 || !present ) {
        cachedFdl_.forget();
        return status != 0 ? Utils::hostStatus( status ) : PL_STATUS_NOT_PRESENT;
    }
    if ( cachedFdl_.filled() ) {
        TRACE( 5, "Using cached fdl for fan %d", index_ );
        return cachedFdl_.copyKept( fdl );
    }
    const std::string direction = ipmi_->airflowDirection();
    formatFdl_.start();
    formatFdl_.set( "airflowDirection", direction );
    formatFdl_.set( "maxRpm", direction == backToFront ? rpmB2F_ : rpmF2B_ );
    formatFdl_.set( "modelName", modelName_ );
    const char *text = formatFdl_.charPtr();
    cachedFdl_.keep( text );
    TRACE( 5, "fan %d fdl: %s", index_, text );
    return cachedFdl_.copyKept( fdl );
}

} // namespace Drivers
