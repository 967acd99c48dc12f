#include "OrvanGeneric/Ham/IpmiHam.h"

#include <pl/types.h>

#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"

namespace Ham {

using Component::NotImplementedException;

std::string IpmiHam::fanId( const std::string & ) {
    throw NotImplementedException( "fanId" );
}
std::string IpmiHam::psuId( const std::string & ) {
    throw NotImplementedException( "psuId" );
}
std::string IpmiHam::airflowId( const std::string & ) {
    throw NotImplementedException( "airflowId" );
}
void IpmiHam::configure( const Drivers::DriverArgs & ) {}
void IpmiHam::refresh( const std::string & ) {}

char IpmiHam::upperCase( char c ) {
    return c >= 'a' && c <= 'z' ? static_cast<char>( c - 'a' + 'A' ) : c;
}

std::string IpmiHam::upperCase( std::string name ) {
    for ( char &c : name ) {
        c = upperCase( c );
    }
    return name;
}

const std::string &IpmiHam::keyOf( const std::string &name ) {
    key_ = name;
    for ( char &c : key_ ) {
        c = upperCase( c );
    }
    return key_;
}

int IpmiHam::getSensorVal( const std::string &name, std::string *value ) {
    refresh( name );
    const auto it = sensors.find( keyOf( name ) );
    if ( it == sensors.end() ) {
        return PL_STATUS_TRANSPORT;
    }
    *value = it->second;
    return status;
}

int IpmiHam::getSensorVal( const std::string &name, int *value ) {
    std::string reading;
    const int result = getSensorVal( name, &reading );
    if ( result == 0 ) {
        *value = std::stoi( reading );
    }
    return result;
}

int IpmiHam::getSensorVal( const std::string &name, float *value ) {
    std::string reading;
    const int result = getSensorVal( name, &reading );
    if ( result == 0 ) {
        *value = std::stof( reading );
    }
    return result;
}

int IpmiHam::getFruVal( const std::string &name, FruData &data ) {
    refresh( name );
    const auto it = frus.find( keyOf( name ) );
    if ( it == frus.end() ) {
        return PL_STATUS_TRANSPORT;
    }
    data = it->second;
    return status;
}

int IpmiHam::fanPresence( const std::string &name, bool *present ) {
    std::string reading;
    const int result = getSensorVal( name, &reading );
    *present = result == 0;
    TRACE( 6, "IpmiHam::fanPresence  '%s' %d %d", name.c_str(), result, *present ? 1 : 0 );
    return result;
}

int IpmiHam::psuPresence( const std::string &name, std::string *model ) {
    FruData data;
    const int result = getFruVal( name, data );
    if ( result == 0 ) {
        *model = data.model;
    }
    return result;
}

} // namespace Ham
