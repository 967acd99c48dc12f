#include "smbusd/base/Log.h"

#include <array>
#include <cstdio>

namespace smbusd {

namespace {
constexpr std::array<std::string_view, 4> levelNames = { "error", "warning", "info", "debug" };
}

std::optional<LogLevel> logLevelFromName( std::string_view name ) {
    for ( size_t i = 0; i < levelNames.size(); i++ ) {
        if ( levelNames[ i ] == name ) {
            return static_cast<LogLevel>( i );
        }
    }
    return std::nullopt;
}

Log::Log( LogLevel level )
    : Log( level, []( LogLevel messageLevel, const std::string &text ) {
          fmt::print( stderr, "smbusd: {}: {}\n", levelNames[ static_cast<size_t>( messageLevel ) ],
                      text );
      } ) {}

Log::Log( LogLevel level, Sink sink ) : level_( level ), sink_( std::move( sink ) ) {}

} // namespace smbusd
