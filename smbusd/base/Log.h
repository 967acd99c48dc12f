#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace smbusd {

/** How much a message matters; a log shows its own level and everything before it. */
enum class LogLevel { Error, Warning, Info, Debug };

/** @return the level of that name ("error", "warning", "info", "debug"), if it is one. */
std::optional<LogLevel> logLevelFromName( std::string_view name );

/** The service's log: one line a message, to standard error unless a test takes it. */
class Log {
  public:
    /** Takes a message, without its level and without an end of line. */
    using Sink = std::function<void( LogLevel, const std::string & )>;

    /** Writes to standard error, each line after its level's name. */
    explicit Log( LogLevel level = LogLevel::Info );
    /** Hands every message that it shows to @p sink. */
    Log( LogLevel level, Sink sink );

    /** Whether messages of that level come out. */
    bool shows( LogLevel level ) const { return level <= level_; }

    /** Something failed that the service was asked for. */
    template <typename... Args>
    void error( fmt::format_string<Args...> format, Args &&...args ) {
        write( LogLevel::Error, format, std::forward<Args>( args )... );
    }
    /** Something is wrong that the service copes with. */
    template <typename... Args>
    void warning( fmt::format_string<Args...> format, Args &&...args ) {
        write( LogLevel::Warning, format, std::forward<Args>( args )... );
    }
    /** What an operator wants to know of a service that runs well. */
    template <typename... Args>
    void info( fmt::format_string<Args...> format, Args &&...args ) {
        write( LogLevel::Info, format, std::forward<Args>( args )... );
    }
    /** What only helps to find a fault. */
    template <typename... Args>
    void debug( fmt::format_string<Args...> format, Args &&...args ) {
        write( LogLevel::Debug, format, std::forward<Args>( args )... );
    }

  private:
    template <typename... Args>
    void write( LogLevel level, fmt::format_string<Args...> format, Args &&...args ) {
        if ( shows( level ) ) {
            sink_( level, fmt::format( format, std::forward<Args>( args )... ) );
        }
    }

    LogLevel level_;
    Sink sink_;
};

} // namespace smbusd
