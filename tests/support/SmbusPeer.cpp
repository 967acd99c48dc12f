#include "tests/support/SmbusPeer.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace support {

namespace {

Smbus::TransactionResponse zeros( const Smbus::TransactionRequest &transaction ) {
    Smbus::TransactionResponse reply;
    for ( const Smbus::Request &request : transaction.requests() ) {
        Smbus::Response *entry = reply.add_responses();
        if ( request.type() == Smbus::READ ) {
            entry->set_data( std::string( request.length() ? request.length() : 1, '\0' ) );
        } else if ( request.type() == Smbus::PROCESS_CALL ) {
            entry->set_data( std::string( 2, '\0' ) );
        }
    }
    return reply;
}

std::string dump( const std::string &bytes ) {
    std::string text;
    char digits[ 4 ];
    for ( const char byte : bytes ) {
        std::snprintf( digits, sizeof( digits ), "%02x", static_cast<unsigned char>( byte ) );
        text += digits;
    }
    return text;
}

} // namespace

Smbus::TransactionResponse reply( const std::vector<std::string> &data ) {
    Smbus::TransactionResponse made;
    for ( const std::string &bytes : data ) {
        made.add_responses()->set_data( bytes );
    }
    return made;
}

std::string inWords( const Smbus::Request &request ) {
    char text[ 160 ];
    std::snprintf( text, sizeof( text ),
                   "type %d length %u address %08x:%08x pci %08x master %d pec %d data ",
                   static_cast<int>( request.type() ), request.length(),
                   static_cast<unsigned>( request.address() >> 32 ),
                   static_cast<unsigned>( request.address() ), request.pciaddress(),
                   static_cast<int>( request.mastertype() ), request.pec() ? 1 : 0 );
    return text + ( request.has_data() ? dump( request.data() ) : "-" );
}

std::vector<std::string> inWords( const Smbus::TransactionRequest &transaction ) {
    std::vector<std::string> words;
    for ( const Smbus::Request &request : transaction.requests() ) {
        words.push_back( inWords( request ) );
    }
    return words;
}

SmbusPeer::SmbusPeer()
    : peer_( [ this ]( SocketPeer::Connection &connection ) { serve( connection ); } ) {
    setenv( "PL_SMBUS_SOCKET", peer_.path().c_str(), 1 );
}

void SmbusPeer::serve( SocketPeer::Connection &connection ) {
    std::string frame;
    while ( connection.readFrame( frame ) ) {
        Answer answer{ false, {} };
        {
            const std::lock_guard lock( mutex_ );
            Smbus::TransactionRequest &transaction = transactions_.emplace_back();
            if ( !transaction.ParseFromString( frame ) ) {
                return;
            }
            if ( answers_.empty() ) {
                answer.reply = zeros( transaction );
            } else {
                answer = answers_.front();
                answers_.pop_front();
            }
        }
        if ( answer.hangUp || !connection.sendFrame( answer.reply.SerializeAsString() ) ) {
            return;
        }
    }
}

void SmbusPeer::answer( const Smbus::TransactionResponse &reply ) {
    const std::lock_guard lock( mutex_ );
    answers_.push_back( { false, reply } );
}

void SmbusPeer::hangUp() {
    const std::lock_guard lock( mutex_ );
    answers_.push_back( { true, {} } );
}

std::vector<Smbus::TransactionRequest> SmbusPeer::takeTransactions() {
    const std::lock_guard lock( mutex_ );
    std::vector<Smbus::TransactionRequest> taken;
    taken.swap( transactions_ );
    return taken;
}

std::vector<std::string> SmbusPeer::takeOnlyTransaction() {
    const auto taken = takeTransactions();
    if ( taken.size() != 1 ) {
        throw std::logic_error( "SmbusPeer: " + std::to_string( taken.size() ) +
                                " transactions came, not 1" );
    }
    return inWords( taken.front() );
}

} // namespace support
