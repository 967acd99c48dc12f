#include "OrvanGeneric/Ham/IpmitoolHam.h"

#include <algorithm>
#include <cassert>
#include <sstream>
#include <utility>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Shell.h"
#include "OrvanGeneric/Utils.h"

namespace Ham {

namespace {

constexpr const char *defaultCommand = "ipmitool";
constexpr int defaultLimit = 5;       // seconds
constexpr int defaultCacheAge = 1000; // milliseconds
constexpr int defaultBackOff = 5000;  // milliseconds

/** The tool's own name for the BMC's FRU, which is on no list. */
constexpr const char *builtinFru = "Builtin FRU Device";

constexpr const char *backToFront = "backToFrontAirflow";
constexpr const char *frontToBack = "frontToBackAirflow";

/** Whether a list may show this name in place of a longer one that begins with it. */
bool mayBeCut( const std::string &name ) {
    return name.size() >= listedNameLength;
}

bool hasOption( const std::string &command, const std::string &option ) {
    std::istringstream words( command );
    for ( std::string word; words >> word; ) {
        if ( word.compare( 0, option.size(), option ) == 0 ) {
            return true;
        }
    }
    return false;
}

/** The command; for a remote BMC with a limit of tries and seconds, unless it has them. */
std::string bounded( std::string command ) {
    if ( hasOption( command, "-H" ) ) {
        for ( const char *option : { "-N", "-R" } ) {
            if ( !hasOption( command, option ) ) {
                command += std::string( " " ) + option + " 1";
            }
        }
    }
    return command;
}

} // namespace

bool IpmitoolHam::BeforeIgnoringCase::operator()( const std::string &a,
                                                  const std::string &b ) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        []( char left, char right ) { return upperCase( left ) < upperCase( right ); } );
}

IpmitoolHam::IpmitoolHam( Run run )
    : run_( std::move( run ) ), command_( defaultCommand ), limit_( defaultLimit ),
      cacheAge_( defaultCacheAge ), backOff_( defaultBackOff ) {}

std::shared_ptr<IpmiHam> IpmitoolHam::create() {
    return std::make_shared<IpmitoolHam>( Drivers::runCmd );
}

void IpmitoolHam::configure( const Drivers::DriverArgs &args ) {
    if ( const std::string *command = optionalArg( args, "ipmiCommand" ) ) {
        command_ = bounded( *command );
    }
    const int ipmiTimeout = intArg( args, "ipmiTimeout", defaultLimit );
    assert( ipmiTimeout >= 1 );
    limit_ = static_cast<unsigned>( ipmiTimeout );
    const int ipmiCacheAge = intArg( args, "ipmiCacheAge", defaultCacheAge );
    assert( ipmiCacheAge >= 0 );
    cacheAge_ = ipmiCacheAge;
    const int ipmiBackOff = intArg( args, "ipmiBackOff", defaultBackOff );
    assert( ipmiBackOff >= 0 );
    backOff_ = ipmiBackOff;
}

std::string IpmitoolHam::fanId( const std::string &name ) {
    FruData data;
    return getFruVal( name, data ) == 0 ? data.model : std::string();
}

std::string IpmitoolHam::psuId( const std::string &name ) {
    return fanId( name );
}

std::string IpmitoolHam::airflowId( const std::string &name ) {
    std::string direction;
    return getSensorVal( airflowSensorPrefix + name, &direction ) == 0 ? direction : std::string();
}

void IpmitoolHam::refresh( const std::string &name ) {
    const int64_t now = Utils::monotonicMilliseconds();
    if ( !finishedAt_ ||
         ( status == 0 ? now - *finishedAt_ > cacheAge_ : now - *finishedAt_ >= backOff_ ) ) {
        refreshSensors();
    }
    if ( status != 0 ) {
        return;
    }
    if ( mayBeCut( name ) ) {
        refreshLongName( name );
    }
    if ( fruNames_.contains( name ) && ( !frusAt_ || now - *frusAt_ > cacheAge_ ) ) {
        refreshFrus();
    }
}

void IpmitoolHam::refreshSensors() {
    std::string output;
    const bool ended = run( "-c sdr elist all", output );
    SensorList list = parseSensorList( output );
    if ( !ended || !list.recognised() ) {
        TRACE( 0, "Error: ipmitool lists no sensors" );
        return finish( false );
    }
    std::map<std::string, std::string> readings;
    for ( const auto &[ name, reading ] : list.readings ) {
        if ( !mayBeCut( name ) ) {
            readings.emplace( upperCase( name ), reading );
        }
    }
    if ( !fetchLongNames( longNames_, list, readings ) ) {
        return finish( false );
    }
    sensors = std::move( readings );
    fruNames_ = { list.frus.begin(), list.frus.end() };
    fruNames_.insert( builtinFru );
    list_ = std::move( list );
    finish( true );
}

void IpmitoolHam::refreshLongName( const std::string &name ) {
    if ( longNames_.insert( name ).second && !fetchLongNames( { name }, list_, sensors ) ) {
        finish( false );
    }
}

std::string IpmitoolHam::spelling( const std::string &name, const SensorList &list ) {
    if ( name.size() > listedNameLength ) {
        return name;
    }
    const BeforeIgnoringCase before;
    for ( const std::set<std::string> *names : { &list.analog, &list.discrete } ) {
        for ( const std::string &listed : *names ) {
            if ( !before( listed, name ) && !before( name, listed ) ) {
                return listed;
            }
        }
    }
    return name;
}

bool IpmitoolHam::fetchLongNames( const std::set<std::string> &names, const SensorList &list,
                                  std::map<std::string, std::string> &readings ) const {
    std::set<std::string> wanted;
    for ( const std::string &name : names ) {
        wanted.insert( spelling( name, list ) );
    }
    std::map<std::string, std::string> found;
    std::string analog;
    std::string output;
    for ( const std::string &name : wanted ) {
        if ( list.analog.contains( name.substr( 0, listedNameLength ) ) ) {
            analog += ' ' + Drivers::shellQuote( name );
        }
    }
    if ( !analog.empty() ) {
        if ( !run( "-c sensor reading" + analog, output ) ) {
            return false;
        }
        found = parseSensorReadings( output );
    }
    for ( const std::string &name : wanted ) {
        if ( !found.contains( name ) && !fetchDiscrete( name, list, found ) ) {
            return false;
        }
        const auto it = found.find( name );
        if ( it == found.end() ) {
            continue;
        }
        const std::string upper = upperCase( name );
        const bool airflow = upper.rfind( airflowSensorPrefix, 0 ) == 0;
        const char *direction = std::stof( it->second ) != 0 ? backToFront : frontToBack;
        readings[ upper ] = airflow ? direction : it->second;
    }
    return true;
}

bool IpmitoolHam::fetchDiscrete( const std::string &name, const SensorList &list,
                                 std::map<std::string, std::string> &found ) const {
    const std::string cut = name.substr( 0, listedNameLength );
    if ( !list.discrete.contains( cut ) ) {
        return true;
    }
    std::string output;
    if ( !run( "-c sdr get " + Drivers::shellQuote( name ), output ) ) {
        return false;
    }
    const SensorList one = parseSensorList( output );
    const auto it = one.readings.find( cut );
    if ( it != one.readings.end() && one.discrete.contains( cut ) ) {
        found[ name ] = it->second;
    }
    return true;
}

void IpmitoolHam::refreshFrus() {
    std::string output;
    const bool ended = run( "fru print", output );
    const FruList list = parseFruList( output );
    if ( !ended || !list.recognised ) {
        TRACE( 0, "Error: ipmitool lists no FRUs" );
        return finish( false );
    }
    frus.clear();
    for ( const auto &[ name, data ] : list.frus ) {
        frus.emplace( upperCase( name ), data );
    }
    frusAt_ = Utils::monotonicMilliseconds();
}

bool IpmitoolHam::run( const std::string &arguments, std::string &output ) const {
    // Nobody could answer a question of the tool, for a password for example.
    const std::string command = command_ + ' ' + arguments + " </dev/null 2>/dev/null";
    if ( run_( command.c_str(), output, limit_ ) != PL_STATUS_TRANSPORT ) {
        return true;
    }
    TRACE( 0, "Error: ipmitool took longer than %u s", limit_ );
    return false;
}

void IpmitoolHam::finish( bool good ) {
    status = good ? PL_STATUS_OK : PL_STATUS_TRANSPORT;
    finishedAt_ = Utils::monotonicMilliseconds();
}

} // namespace Ham
