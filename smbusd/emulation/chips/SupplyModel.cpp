#include "smbusd/emulation/chips/SupplyModel.h"

#include <algorithm>

namespace smbusd {

namespace {

/** Below that many volts there is no output. */
constexpr double leastMains = 85;

} // namespace

void SupplyModel::addFan( double maxRpm, Duration timeConstant ) {
    fans_.push_back( { maxRpm, FanMotor( timeConstant ) } );
}

void SupplyModel::setSurroundings( const SupplySurroundings &surroundings ) {
    surroundings_ = surroundings;
    for ( size_t i = 0; i < fans_.size(); i++ ) {
        if ( surroundings_.fanBlocked[ i ] ) {
            fans_[ i ].motor.force( 0, scheduler_.now() );
        }
        fans_[ i ].motor.drive( target( i ), scheduler_.now() );
    }
}

void SupplyModel::setFanRpm( size_t index, double rpm ) {
    Fan &fan = fans_[ index ];
    fan.rpm = std::clamp( rpm, 0.0, fan.maxRpm );
    fan.motor.drive( target( index ), scheduler_.now() );
}

void SupplyModel::stopFans() {
    for ( Fan &fan : fans_ ) {
        fan.motor.force( 0, scheduler_.now() );
    }
}

void SupplyModel::settleFans() {
    for ( size_t i = 0; i < fans_.size(); i++ ) {
        fans_[ i ].motor.force( target( i ), scheduler_.now() );
    }
}

bool SupplyModel::hasMains() const {
    return surroundings_.vin >= leastMains;
}

double SupplyModel::temperature( size_t index ) const {
    return surroundings_.ambient + temperatureRises_[ index ] * outputPower() / ratings_.power;
}

double SupplyModel::target( size_t index ) const {
    return hasMains() && !surroundings_.fanBlocked[ index ] ? fans_[ index ].rpm : 0;
}

} // namespace smbusd
