#include "orvan/host/Session.h"

#include <fmt/core.h>

#include "orvan/base/Errors.h"
#include "orvan/text/Status.h"

namespace orvan {

namespace {

// Drivers poll once a second; a little more, so that a tick at the very end still counts.
constexpr std::chrono::milliseconds pollPeriod( 1100 );

} // namespace

Session::Session( const Board &board, const Library &library, HostServices &host,
                  std::string socket )
    : board_( board ), library_( library ), host_( host ), socket_( std::move( socket ) ) {
    for ( const PeripheralDescription &description : board.peripherals ) {
        Peripheral &peripheral = peripherals_[ description.name ];
        peripheral.description = &description;
        peripheral.kind = findKind( description.kind );
    }
}

/** The last words of the library about what has just failed. */
std::string Session::said() {
    const std::vector<std::string> traces = host_.takeFailureTraces();
    return traces.empty() ? "" : fmt::format( " (the library's last trace: {})", traces.back() );
}

void Session::initialise( const Kind &kind ) {
    if ( initialised_.contains( &kind ) ) {
        return;
    }
    auto *init = library_.function<pl_status( const char * )>( kind.initSymbol );
    pl_status status = PL_STATUS_OK;
    try {
        status = init( board_.topologyFile.text.c_str() );
    } catch ( ... ) {
        throw Failure( fmt::format( "{} threw {}", kind.initSymbol, describeCurrentException() ) );
    }
    if ( status != PL_STATUS_OK ) {
        throw Failure( fmt::format( "{} answered {} ({}): {}", kind.initSymbol, int( status ),
                                    statusName( status ), initFailureText( status, socket_ ) ) );
    }
    initialised_.insert( &kind );
}

void Session::add( Peripheral &peripheral ) {
    initialise( *peripheral.kind );
    void *symbol = library_.symbol( peripheral.kind->addSymbol );
    host_.takeFailureTraces();
    try {
        peripheral.record = peripheral.kind->add( symbol, *peripheral.description );
        if ( !peripheral.record ) {
            peripheral.failure =
                fmt::format( "{} answered null{}", peripheral.kind->addSymbol, said() );
        }
    } catch ( ... ) {
        peripheral.failure =
            fmt::format( "{} threw {}", peripheral.kind->addSymbol, describeCurrentException() );
    }
}

Peripheral &Session::tryUse( const std::string &name ) {
    const auto it = peripherals_.find( name );
    if ( it == peripherals_.end() ) {
        throw BadInput( fmt::format( "the board has no peripheral \"{}\"", name ) );
    }
    Peripheral &peripheral = it->second;
    if ( !peripheral.record && peripheral.failure.empty() ) {
        add( peripheral );
    }
    return peripheral;
}

Peripheral &Session::use( const std::string &name ) {
    Peripheral &peripheral = tryUse( name );
    if ( !peripheral.record ) {
        throw Failure( fmt::format( "{} could not be added: {}", name, peripheral.failure ) );
    }
    return peripheral;
}

std::vector<Peripheral *> Session::tryUseAll( const std::vector<std::string> &names ) {
    for ( const std::string &name : names ) {
        if ( !board_.find( name ) ) {
            throw BadInput( fmt::format( "the board has no peripheral \"{}\"", name ) );
        }
    }
    std::vector<Peripheral *> used;
    if ( names.empty() ) {
        for ( const PeripheralDescription &description : board_.peripherals ) {
            used.push_back( &tryUse( description.name ) );
        }
    }
    for ( const std::string &name : names ) {
        used.push_back( &tryUse( name ) );
    }
    return used;
}

Peripheral &Session::onlyOne( const Kind &kind ) {
    for ( const PeripheralDescription &description : board_.peripherals ) {
        if ( description.kind == kind.name ) {
            return use( description.name );
        }
    }
    throw BadInput( fmt::format( "the board lists no peripheral of kind \"{}\"", kind.name ) );
}

void Session::settle() {
    if ( host_.firstTickPending() ) {
        host_.runUntil( [ this ] { return !host_.firstTickPending(); }, pollPeriod );
    }
}

Value Session::read( const Reading &reading, Readout &readout ) {
    try {
        return reading.read( readout );
    } catch ( ... ) {
        Value value;
        value.status = PL_STATUS_FAILED;
        value.exception = describeCurrentException();
        return value;
    }
}

pl_status Session::guarded( const std::function<pl_status()> &call ) {
    try {
        return call();
    } catch ( const BadInput & ) {
        throw;
    } catch ( ... ) {
        throw Failure( "the library threw " + describeCurrentException() );
    }
}

} // namespace orvan
