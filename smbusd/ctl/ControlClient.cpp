#include "smbusd/ctl/ControlClient.h"

#include <fmt/format.h>

namespace smbusd {

ControlClient::ControlClient( const std::string &path ) : path_( path ) {
    try {
        stream_.connect( asio::local::stream_protocol::endpoint( path ) );
    } catch ( const std::exception &error ) { // a path too long for an address
        throw ControlUnreachable( fmt::format( "{}: {}", path, error.what() ) );
    }
    if ( !stream_ ) {
        throw ControlUnreachable( fmt::format( "{}: {} (is smbusd running? --control names its "
                                               "control socket)",
                                               path, stream_.error().message() ) );
    }
}

bool ControlClient::next( rapidjson::Document &event ) {
    if ( !std::getline( stream_, line_ ) ) {
        return false;
    }
    event.Parse( line_ );
    if ( event.HasParseError() || !event.IsObject() ) {
        throw ControlUnreachable( fmt::format( "{}: no answer of smbusd: {}", path_, line_ ) );
    }
    return true;
}

rapidjson::Document ControlClient::call( const std::string &request ) {
    stream_ << request << '\n' << std::flush;
    rapidjson::Document answer;
    if ( !next( answer ) || !answer.HasMember( "ok" ) || !answer[ "ok" ].IsBool() ) {
        throw ControlUnreachable(
            fmt::format( "{}: the connection ended without an answer", path_ ) );
    }
    if ( !answer[ "ok" ].GetBool() ) {
        throw ControlRefused( answer.HasMember( "error" ) && answer[ "error" ].IsString()
                                  ? answer[ "error" ].GetString()
                                  : "refused without a reason" );
    }
    return answer;
}

} // namespace smbusd
