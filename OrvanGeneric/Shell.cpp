#include "OrvanGeneric/Shell.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <sys/wait.h>

namespace Drivers {

namespace {

/** What timeout(1) exits with when the time limit struck. */
constexpr int timeLimitStruck = 124;

constexpr size_t readSize = 128;

/** Appends everything that @p stream brings. */
void readAll( FILE *stream, std::string &output ) {
    char buffer[ readSize ];
    for ( ;; ) {
        if ( fgets( buffer, sizeof( buffer ), stream ) ) {
            output += buffer;
        } else if ( ferror( stream ) && errno == EINTR ) {
            clearerr( stream );
        } else {
            return;
        }
    }
}

} // namespace

pl_status runCmd( const char *cmd, std::string &output, unsigned int timeout ) {
    output.clear();
    const std::string line = "timeout " + std::to_string( timeout ) + "s " + ( cmd ? cmd : "" );
    FILE *stream = popen( line.c_str(), "r" );
    if ( !stream ) {
        return PL_STATUS_FAILED;
    }
    try {
        readAll( stream, output );
    } catch ( const std::exception & ) {
        pclose( stream );
        return PL_STATUS_FAILED;
    }
    const int status = pclose( stream );
    if ( status < 0 || !WIFEXITED( status ) ) {
        return PL_STATUS_FAILED;
    }
    switch ( WEXITSTATUS( status ) ) {
    case 0:
        return PL_STATUS_OK;
    case timeLimitStruck:
        return PL_STATUS_TRANSPORT;
    default:
        return PL_STATUS_FAILED;
    }
}

std::string shellQuote( const std::string &text ) {
    std::string quoted = "'";
    for ( const char c : text ) {
        // Nothing can be escaped inside single quotes: end them, add an escaped one, begin anew.
        if ( c == '\'' ) {
            quoted += "'\\''";
        } else if ( c != '\0' ) {
            quoted += c;
        }
    }
    return quoted + "'";
}

} // namespace Drivers
