#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <pl/pl.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "tests/integration/LoadedLibrary.h"
#include "tests/support/SmbusdProcess.h"

/**
 * A board of the project, brought up whole: its hardware emulated by a real smbusd, its topology and
 * peripherals given to the built library, this process as the host.
 */
class FrontPanelBoard {
  public:
    /** @param name  a folder of boards/ */
    explicit FrontPanelBoard( const std::string &name )
        : service( text( name, "hardware" ) ), topology_( text( name, "topology" ) ) {
        peripherals_.Parse( text( name, "peripherals" ) );
        setenv( "PL_SMBUS_SOCKET", service.socket().c_str(), 1 );
    }

    /** All peripherals, as the board lists them. */
    const rapidjson::Document &peripherals() const { return peripherals_; }

    /** Adds the transceiver of that name; null as the library answers. */
    pl_xcvr *addXcvr( const std::string &name ) {
        if ( library_.entry<decltype( pl_xcvr_init )>( "pl_xcvr_init" )( topology_.c_str() ) !=
             PL_STATUS_OK )
            throw std::runtime_error( "pl_xcvr_init failed" );
        return library_.entry<decltype( pl_xcvr_add )>( "pl_xcvr_add" )(
            description( name ).c_str() );
    }
    /** Adds the GPIO line of that name; null as the library answers. */
    pl_gpio *addGpio( const std::string &name ) {
        if ( library_.entry<decltype( pl_gpio_init )>( "pl_gpio_init" )( topology_.c_str() ) !=
             PL_STATUS_OK )
            throw std::runtime_error( "pl_gpio_init failed" );
        return library_.entry<decltype( pl_gpio_add )>( "pl_gpio_add" )(
            description( name ).c_str() );
    }

    /** Asks the service's control socket; throws when it refuses. */
    rapidjson::Document control( const std::string &request ) const {
        test::RawClient client( service.control() );
        client.sendBytes( request + "\n" );
        const auto line = client.receiveLine();
        rapidjson::Document answer;
        answer.Parse( line.value_or( "" ) );
        if ( answer.HasParseError() || !answer[ "ok" ].GetBool() )
            throw std::runtime_error( "refused: " + request + ": " + line.value_or( "no answer" ) );
        return answer;
    }
    void plug( const std::string &unit ) const { order( "plug", unit ); }
    void unplug( const std::string &unit ) const { order( "unplug", unit ); }
    void setInput( const std::string &chip, const std::string &input, int value ) const {
        control( R"({ "command": "set", "chip": ")" + chip + R"(", "input": ")" + input +
                 R"(", "value": )" + std::to_string( value ) + " }" );
    }
    /** A register of an emulated chip, looked at behind its bus's back. */
    unsigned registerOf( const std::string &chip, unsigned reg ) const {
        const auto answer = control( R"({ "command": "read", "chip": ")" + chip +
                                     R"(", "register": )" + std::to_string( reg ) + " }" );
        return answer[ "registers" ][ 0 ][ "value" ].GetUint();
    }
    /** A counter of a chip or bus: "transactions", "operations" and so on. */
    unsigned counter( const std::string &owner, const char *which ) const {
        const auto answer = control( R"({ "command": "counters" })" );
        for ( const char *kind : { "buses", "chips" } )
            for ( const auto &counters : answer[ kind ].GetArray() )
                if ( counters[ "name" ].GetString() == owner )
                    return counters[ which ].GetUint();
        throw std::runtime_error( "no counters of " + owner );
    }

    test::SmbusdProcess service;

  private:
    static std::string text( const std::string &board, const std::string &file ) {
        const std::string path = ORVAN_SOURCE_DIR "/boards/" + board + "/" + file + ".json";
        std::ifstream stream( path );
        if ( !stream )
            throw std::runtime_error( "cannot read " + path );
        return { std::istreambuf_iterator<char>( stream ), std::istreambuf_iterator<char>() };
    }
    std::string description( const std::string &name ) const {
        for ( const auto &peripheral : peripherals_.GetArray() ) {
            if ( peripheral[ "name" ].GetString() != name )
                continue;
            rapidjson::StringBuffer buffer;
            rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
            peripheral[ "description" ].Accept( writer );
            return buffer.GetString();
        }
        throw std::runtime_error( "the board has no peripheral " + name );
    }
    void order( const char *command, const std::string &unit ) const {
        control( std::string( R"({ "command": ")" ) + command + R"(", "name": ")" + unit +
                 R"(" })" );
    }

    std::string topology_;
    rapidjson::Document peripherals_;
    LoadedLibrary library_;
};
