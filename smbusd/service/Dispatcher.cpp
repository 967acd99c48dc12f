#include "smbusd/service/Dispatcher.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

namespace smbusd {

namespace {

/** Operations that a transaction carries out before it lets others have the thread. */
constexpr int operationsPerTurn = 64;

bool contains( const std::vector<Bus *> &buses, const Bus *bus ) {
    return std::find( buses.begin(), buses.end(), bus ) != buses.end();
}

} // namespace

/** A transaction on its way through the dispatcher. */
struct Dispatcher::Job {
    std::shared_ptr<Transaction> transaction;
    std::vector<Bus *> buses;   ///< all that the requests name, held from the first to the last
    std::vector<Bus *> reached; ///< those that have seen one of its operations
    int next = 0;               ///< index of the request that is under way, or comes next
    uint32_t attempts = 0;      ///< of that request's operation, so far
    size_t replyBytes = 0;      ///< of read data in the response
    Operation operation;        ///< of that request; refers to its data
    bool started = false;       ///< it holds its buses
    bool executing = false;     ///< a bus has not completed its operation yet
    bool suspended = false;     ///< run() returned while a bus was executing
};

void Dispatcher::submit( std::shared_ptr<Transaction> transaction ) {
    transaction->id = ++lastId_;
    const auto job = std::make_shared<Job>();
    for ( const Smbus::Request &request : transaction->request.requests() ) {
        Bus *bus = hardware_.findBus( busKeyOf( request ) );
        if ( bus != nullptr && !contains( job->buses, bus ) ) {
            job->buses.push_back( bus );
        }
    }
    job->transaction = std::move( transaction );
    // All queues are joined together, so that no two transactions can wait for each other.
    for ( const Bus *bus : job->buses ) {
        queues_[ bus ].push_back( job );
    }
    startIfFirst( job );
}

void Dispatcher::startIfFirst( const Pointer &job ) {
    const auto first = [ & ]( const Bus *bus ) { return queues_.at( bus ).front() == job; };
    if ( !job->started && std::all_of( job->buses.begin(), job->buses.end(), first ) ) {
        job->started = true;
        run( job );
    }
}

void Dispatcher::run( const Pointer &job ) {
    for ( int turn = 0; turn < operationsPerTurn; turn++ ) {
        Bus *bus = prepare( *job );
        if ( bus == nullptr ) {
            finish( job );
            return;
        }
        job->executing = true;
        bus->execute( job->operation, [ this, job, bus ]( Result result ) {
            completed( job, *bus, std::move( result ) );
        } );
        if ( job->executing ) {
            job->suspended = true;
            return;
        }
    }
    hardware_.scheduler().post( [ this, job ] { run( job ); } );
}

/** @return the bus of the operation that comes next; null when there is none or it is refused */
Bus *Dispatcher::prepare( Job &job ) {
    const Transaction &transaction = *job.transaction;
    if ( transaction.response.failed() || transaction.end != Transaction::End::Reply ||
         job.next >= transaction.request.requests_size() ) {
        return nullptr;
    }
    const Smbus::Request &request = transaction.request.requests( job.next );
    const BusKey key = busKeyOf( request );
    Bus *bus = hardware_.findBus( key );
    if ( bus == nullptr ) {
        refuse( job, describe( key ), "no such bus is configured" );
        return nullptr;
    }
    const std::string wrong = parseOperation( request, job.operation );
    if ( !wrong.empty() ) {
        refuse( job, fmt::format( "bus \"{}\"", bus->name() ), wrong );
        return nullptr;
    }
    if ( job.replyBytes + job.operation.length > maxReplyData ) {
        refuse( job, fmt::format( "bus \"{}\"", bus->name() ),
                fmt::format( "the reply would hold more than {} bytes of data", maxReplyData ) );
        return nullptr;
    }
    if ( !contains( job.reached, bus ) ) {
        job.reached.push_back( bus );
        bus->transactionStarted();
    }
    hardware_.updateConnections();
    return bus;
}

void Dispatcher::completed( const Pointer &pointer, Bus &bus, Result result ) {
    Job &job = *pointer;
    job.executing = false;
    job.attempts++;
    if ( listener_ ) {
        listener_( { *job.transaction, job.next + 1, bus, job.operation, result, job.attempts } );
    }
    switch ( result.outcome ) {
    case Outcome::Done:
        succeeded( job, bus, std::move( result ) );
        break;
    case Outcome::Dropped:
        job.transaction->end = Transaction::End::Drop;
        break;
    case Outcome::Muted:
        job.transaction->end = Transaction::End::Mute;
        break;
    default:
        failed( job, bus, result );
    }
    if ( job.suspended ) {
        job.suspended = false;
        run( pointer );
    }
}

void Dispatcher::succeeded( Job &job, const Bus &bus, Result result ) {
    const uint32_t repeated = job.attempts - 1;
    if ( repeated > 0 ) {
        hardware_.log().info( "bus \"{}\": {}: done after {} repeat(s)", bus.name(),
                              describe( job.operation ), repeated );
    }
    job.replyBytes += result.data.size();
    Smbus::Response &response = *job.transaction->response.add_responses();
    if ( job.operation.reads() ) {
        response.set_data( std::move( result.data ) );
    }
    job.next++;
    job.attempts = 0;
}

/** Leaves the operation to be attempted again, or ends the transaction. */
void Dispatcher::failed( Job &job, Bus &bus, const Result &result ) {
    const Smbus::TransactionRequest &request = job.transaction->request;
    const uint32_t retries =
        std::min( request.has_retrycount() ? request.retrycount() : defaultRetries, maxRetries );
    const uint32_t repeated = job.attempts - 1;
    if ( result.withoutEffect() && repeated < retries ) {
        bus.retried( job.operation );
        return;
    }
    const std::string repeats =
        repeated > 0 ? fmt::format( ", also when repeated {} time(s)", repeated ) : "";
    refuse( job,
            fmt::format( "{} on bus \"{}\" ({})", describe( job.operation ), bus.name(),
                         describe( bus.key() ) ),
            result.text() + repeats );
}

void Dispatcher::refuse( Job &job, std::string_view where, std::string_view why ) {
    Transaction &transaction = *job.transaction;
    transaction.response.set_failed( true );
    transaction.response.set_reason( fmt::format( "request {} of {}: {}: {}", job.next + 1,
                                                  transaction.request.requests_size(), where,
                                                  why ) );
    hardware_.log().info( "client {}: {}", transaction.client, transaction.response.reason() );
}

void Dispatcher::finish( const Pointer &job ) {
    for ( const Bus *bus : job->buses ) {
        queues_.at( bus ).pop_front();
    }
    for ( const Bus *bus : job->buses ) {
        const std::deque<Pointer> &queue = queues_.at( bus );
        if ( !queue.empty() ) {
            hardware_.scheduler().post(
                [ this, following = queue.front() ] { startIfFirst( following ); } );
        }
    }
    job->transaction->done( *job->transaction );
}

} // namespace smbusd
