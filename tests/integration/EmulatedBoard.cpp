#include "tests/integration/EmulatedBoard.h"

#include <cstdlib>
#include <deque>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "tests/integration/MovableClock.h"
#include "tests/support/Process.h"

namespace {

const std::string boards = ORVAN_SOURCE_DIR "/boards/";

std::string edited( std::string text, const std::function<void( std::string & )> &edit ) {
    edit( text );
    return text;
}

std::string compact( const rapidjson::Value &value ) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
    value.Accept( writer );
    return buffer.GetString();
}

/** The library's form of a description: nested ones, which authors write as objects, are texts. */
std::string descriptionText( const rapidjson::Value &authored ) {
    rapidjson::Document description;
    auto &allocator = description.GetAllocator();
    description.CopyFrom( authored, allocator );
    if ( const auto parts = description.FindMember( "multiDeviceArgs" );
         parts != description.MemberEnd() ) {
        for ( auto &part : parts->value.GetObject() ) {
            part.value.SetString( compact( part.value ), allocator );
        }
    }
    return compact( description );
}

} // namespace

EmulatedBoard::EmulatedBoard( const std::string &name,
                              const std::function<void( std::string & )> &edit )
    : service( edited( hardwareText( name ), edit ) ),
      topology_( fileText( boards + name + "/topology.json" ) ) {
    setenv( "PL_SMBUS_SOCKET", service.socket().c_str(), 1 );
    peripherals_.Parse( fileText( boards + name + "/peripherals.json" ) );
    if ( peripherals_.HasParseError() ) {
        throw std::runtime_error( "peripherals.json of " + name + " is not JSON" );
    }
}

void *EmulatedBoard::addRecord( const std::string &name ) {
    for ( const rapidjson::Value &row : peripherals_.GetArray() ) {
        if ( name != row[ "name" ].GetString() ) {
            continue;
        }
        const std::string kind = row[ "kind" ].GetString();
        initialise( kind );
        void *const symbol = library.symbol( "pl_" + kind + "_add" );
        if ( kind == "smbus" ) {
            return reinterpret_cast<decltype( pl_smbus_add ) *>( symbol )(
                row[ "description" ][ "label" ].GetString(),
                static_cast<unsigned char>( row[ "description" ][ "address" ].GetUint() ) );
        }
        const char *const description = kept( descriptionText( row[ "description" ] ) );
        if ( kind == "temp_sensor" ) {
            return reinterpret_cast<decltype( pl_temp_sensor_add ) *>( symbol )(
                description, row[ "alert" ].GetFloat(), row[ "critical" ].GetFloat() );
        }
        return reinterpret_cast<void *( * )( const char * )>( symbol )( description );
    }
    throw std::runtime_error( "the board has no peripheral " + name );
}

pl_slot *EmulatedBoard::addSlot( const std::string &description ) {
    initialise( "slot" );
    return library.entry<pl_slot *( const char * )>( "pl_slot_add" )( kept( description ) );
}

void EmulatedBoard::initialise( const std::string &kind ) {
    if ( initialised_.insert( kind ).second &&
         library.entry<pl_status( const char * )>( "pl_" + kind + "_init" )( topology_.c_str() ) !=
             PL_STATUS_OK ) {
        throw std::runtime_error( "pl_" + kind + "_init failed" );
    }
}

/** The library may keep pointing into the text for as long as the peripheral lives. */
const char *EmulatedBoard::kept( const std::string &description ) {
    static std::deque<std::string> descriptions;
    return descriptions.emplace_back( description ).c_str();
}

std::string EmulatedBoard::ctl( const std::vector<std::string> &words ) const {
    std::vector<std::string> command = { ORVAN_BIN_DIR "/smbusctl", "--control",
                                         service.control() };
    command.insert( command.end(), words.begin(), words.end() );
    const test::Finished finished = test::runProgram( command );
    if ( finished.exitCode != 0 ) {
        throw std::runtime_error( "smbusctl failed: " + finished.errors );
    }
    return finished.output;
}

unsigned EmulatedBoard::peek( const std::string &chip, unsigned reg ) const {
    rapidjson::Document answer;
    answer.Parse( ctl( { "--json", "read", chip, std::to_string( reg ) } ) );
    return answer[ "registers" ][ 0 ][ "value" ].GetUint();
}

void EmulatedBoard::passTime( unsigned seconds ) {
    MovableClock::advance( seconds );
}

std::string hardwareText( const std::string &name ) {
    const std::string image = "\"image\": \"";
    std::string text = fileText( boards + name + "/hardware.json" );
    for ( size_t at = 0; ( at = text.find( image, at ) ) != std::string::npos; ) {
        text.insert( at += image.size(), boards + name + "/" );
    }
    return text;
}

void replaceIn( std::string &text, const std::string &from, const std::string &to ) {
    const size_t at = text.find( from );
    if ( at == std::string::npos ) {
        throw std::runtime_error( "there is no " + from );
    }
    text.replace( at, from.size(), to );
}

std::string fileText( const std::string &path ) {
    std::ifstream stream( path, std::ios::binary );
    if ( !stream ) {
        throw std::runtime_error( "cannot read " + path );
    }
    return { std::istreambuf_iterator<char>( stream ), std::istreambuf_iterator<char>() };
}
