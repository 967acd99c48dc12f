// A stand-in for the SMBus service. What it does instead of listening is the name of its
// configuration file: "exits.json", "hangs.json", "crashes.json"; with any
// other it listens, with "deaf.json" ignoring SIGTERM. Its
// arguments go into the file "arguments" beside the configuration, one a line.
#include <csignal>
#include <fstream>
#include <string>
#include <unistd.h>

#include "common/Descriptor.h"
#include "common/UnixSocket.h"

int main( int argc, char **argv ) {
    std::string socketPath;
    std::string config;
    int ready = -1;
    for ( int i = 1; i + 1 < argc; i += 2 ) {
        const std::string option = argv[ i ];
        if ( option == "--socket" ) {
            socketPath = argv[ i + 1 ];
        } else if ( option == "--config" ) {
            config = argv[ i + 1 ];
        } else if ( option == "--ready-fd" ) {
            ready = std::stoi( argv[ i + 1 ] );
        }
    }
    const std::size_t slash = config.rfind( '/' );
    std::ofstream arguments( config.substr( 0, slash ) + "/arguments" );
    for ( int i = 1; i < argc; ++i ) {
        arguments << argv[ i ] << '\n';
    }
    arguments << "pid " << ::getpid() << '\n';
    arguments.close();

    const std::string name = config.substr( slash + 1 );
    if ( name == "exits.json" ) {
        return 3;
    }
    if ( name == "crashes.json" ) {
        std::raise( SIGKILL );
    }
    if ( name == "deaf.json" ) {
        std::signal( SIGTERM, SIG_IGN );
    }
    common::Descriptor listener;
    if ( name != "hangs.json" ) {
        listener = common::listenOn( socketPath );
        if ( ::write( ready, "\n", 1 ) != 1 ) {
            return 4;
        }
    }
    for ( ;; ) {
        ::pause();
    }
}
