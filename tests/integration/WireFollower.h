#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <rapidjson/document.h>

#include "tests/support/SmbusClient.h"

/** What happens on the emulated wires from its construction on, as "smbusctl follow" shows it. */
class WireFollower {
  public:
    explicit WireFollower( const std::string &controlSocket ) : client_( controlSocket ) {
        client_.sendBytes( "{\"command\":\"follow\"}\n" );
        if ( client_.receiveLine() != "{\"ok\":true}" ) {
            throw std::runtime_error( "the service lets nobody follow" );
        }
    }

    /** The next operations on the wire, such as "S 20 W A 02 A FD A P". */
    std::vector<std::string> take( size_t count ) {
        std::vector<std::string> wires;
        while ( wires.size() < count ) {
            const auto line = client_.receiveLine();
            if ( !line ) {
                throw std::runtime_error( "the service has ended" );
            }
            rapidjson::Document event;
            event.Parse( line->c_str() );
            wires.emplace_back( event[ "wire" ].GetString() );
        }
        return wires;
    }

  private:
    test::RawClient client_;
};
