#include "smbusd/service/Dispatcher.h"

#include <algorithm>

#include <fmt/format.h>

namespace smbusd {

namespace {

/** Operations that a transaction carries out before it lets others have the thread. */
constexpr int operationsPerTurn = 64;

bool contains( const std::vector<Bus *> &buses, const Bus *bus ) {
    return std::find( buses.begin(), buses.end(), bus ) != buses.end();
}

} // namespace

void Dispatcher::submit( std::shared_ptr<Transaction> transaction ) {
    transaction->id = ++lastId_;
    for ( const Smbus::Request &request : transaction->request.requests() ) {
        Bus *bus = board_.findBus( busKeyOf( request ) );
        if ( bus != nullptr && !contains( transaction->buses, bus ) ) {
            transaction->buses.push_back( bus );
        }
    }
    // All queues are joined at once, so that no two transactions can wait for each other.
    for ( Bus *bus : transaction->buses ) {
        bus->queue.push_back( transaction );
    }
    startIfFirst( transaction );
}

void Dispatcher::startIfFirst( const Pointer &transaction ) {
    const auto first = [ & ]( const Bus *bus ) { return bus->queue.front() == transaction; };
    if ( !transaction->started &&
         std::all_of( transaction->buses.begin(), transaction->buses.end(), first ) ) {
        transaction->started = true;
        run( transaction );
    }
}

void Dispatcher::run( const Pointer &transaction ) {
    for ( int turn = 0; turn < operationsPerTurn; turn++ ) {
        Bus *bus = prepare( *transaction );
        if ( bus == nullptr ) {
            finish( transaction );
            return;
        }
        transaction->executing = true;
        bus->execute( transaction->operation, [ this, transaction, bus ]( Result result ) {
            completed( transaction, *bus, std::move( result ) );
        } );
        if ( transaction->executing ) {
            transaction->suspended = true;
            return;
        }
    }
    board_.scheduler().post( [ this, transaction ] { run( transaction ); } );
}

/** @return the bus of the operation that comes next; null when there is none or it is refused */
Bus *Dispatcher::prepare( Transaction &transaction ) {
    if ( transaction.response.failed() || transaction.end != Transaction::End::Reply ||
         transaction.next >= transaction.request.requests_size() ) {
        return nullptr;
    }
    const Smbus::Request &request = transaction.request.requests( transaction.next );
    const BusKey key = busKeyOf( request );
    Bus *bus = board_.findBus( key );
    if ( bus == nullptr ) {
        fail( transaction, describe( key ), "no such bus is configured" );
        return nullptr;
    }
    const std::string wrong = parseOperation( request, transaction.operation );
    if ( !wrong.empty() ) {
        fail( transaction, fmt::format( "bus \"{}\"", bus->name() ), wrong );
        return nullptr;
    }
    if ( transaction.replyBytes + transaction.operation.length > maxReplyData ) {
        fail( transaction, fmt::format( "bus \"{}\"", bus->name() ),
              fmt::format( "the reply would hold more than {} bytes of data", maxReplyData ) );
        return nullptr;
    }
    if ( !contains( transaction.touched, bus ) ) {
        transaction.touched.push_back( bus );
        bus->transactionStarted();
    }
    board_.updateConnections();
    return bus;
}

void Dispatcher::completed( const Pointer &pointer, Bus &bus, Result result ) {
    Transaction &transaction = *pointer;
    transaction.executing = false;
    transaction.attempts++;
    if ( listener_ ) {
        listener_( { transaction, bus, transaction.operation, result, transaction.attempts } );
    }
    const uint32_t retries = std::min(
        transaction.request.has_retrycount() ? transaction.request.retrycount() : defaultRetries,
        maxRetries );
    const uint32_t repeated = transaction.attempts - 1;
    if ( result.outcome == Outcome::Done ) {
        if ( repeated > 0 ) {
            board_.log().info( "bus \"{}\": {}: done after {} repeat(s)", bus.name(),
                               describe( transaction.operation ), repeated );
        }
        transaction.replyBytes += result.data.size();
        Smbus::Response &response = *transaction.response.add_responses();
        if ( transaction.operation.reads() ) {
            response.set_data( std::move( result.data ) );
        }
        transaction.next++;
        transaction.attempts = 0;
    } else if ( result.outcome == Outcome::Dropped ) {
        transaction.end = Transaction::End::Drop;
    } else if ( result.outcome == Outcome::Muted ) {
        transaction.end = Transaction::End::Mute;
    } else if ( result.withoutEffect() && repeated < retries ) {
        bus.retried( transaction.operation );
    } else {
        const std::string repeats =
            repeated > 0 ? fmt::format( ", also when repeated {} time(s)", repeated ) : "";
        fail( transaction,
              fmt::format( "{} on bus \"{}\" ({})", describe( transaction.operation ), bus.name(),
                           describe( bus.key() ) ),
              result.text() + repeats );
    }
    if ( transaction.suspended ) {
        transaction.suspended = false;
        run( pointer );
    }
}

void Dispatcher::fail( Transaction &transaction, std::string_view where, std::string_view why ) {
    transaction.response.set_failed( true );
    transaction.response.set_reason( fmt::format( "request {} of {}: {}: {}", transaction.next + 1,
                                                  transaction.request.requests_size(), where,
                                                  why ) );
    board_.log().info( "client {}: {}", transaction.client, transaction.response.reason() );
}

void Dispatcher::finish( const Pointer &transaction ) {
    for ( Bus *bus : transaction->buses ) {
        bus->queue.pop_front();
    }
    for ( Bus *bus : transaction->buses ) {
        if ( !bus->queue.empty() ) {
            board_.scheduler().post(
                [ this, following = bus->queue.front() ] { startIfFirst( following ); } );
        }
    }
    transaction->done( *transaction );
}

} // namespace smbusd
