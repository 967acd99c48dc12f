#include "smbusd/base/Log.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

using smbusd::Log;
using smbusd::LogLevel;

TEST( Log, ShowsItsLevelAndWhatMattersMore ) {
    std::vector<std::pair<LogLevel, std::string>> seen;
    Log log( LogLevel::Warning, [ & ]( LogLevel level, const std::string &text ) {
        seen.emplace_back( level, text );
    } );
    log.error( "a{}", 1 );
    log.warning( "b{}", 2 );
    log.info( "c" );
    log.debug( "d" );
    const std::vector<std::pair<LogLevel, std::string>> expected = { { LogLevel::Error, "a1" },
                                                                     { LogLevel::Warning, "b2" } };
    EXPECT_EQ( seen, expected );
    EXPECT_FALSE( log.shows( LogLevel::Info ) );
}

TEST( Log, WritesToStandardErrorWithItsNameAndLevel ) {
    testing::internal::CaptureStderr();
    Log( LogLevel::Info ).info( "listens on {}", "x" );
    EXPECT_EQ( testing::internal::GetCapturedStderr(), "smbusd: info: listens on x\n" );
}

TEST( Log, LevelsHaveNames ) {
    EXPECT_EQ( smbusd::logLevelFromName( "error" ), LogLevel::Error );
    EXPECT_EQ( smbusd::logLevelFromName( "warning" ), LogLevel::Warning );
    EXPECT_EQ( smbusd::logLevelFromName( "info" ), LogLevel::Info );
    EXPECT_EQ( smbusd::logLevelFromName( "debug" ), LogLevel::Debug );
    EXPECT_EQ( smbusd::logLevelFromName( "loud" ), std::nullopt );
}

} // namespace
