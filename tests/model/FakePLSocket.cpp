/**
 * @file
 * The client of the SMBus service, replaced: transactions go to a service of this process.
 */
#include <PLSocket.h>
#include <cerrno>

#include "tests/model/Bench.h"

namespace PlatformLibrary {

namespace {

model::Transaction plain( const Smbus::TransactionRequest &request ) {
    model::Transaction transaction;
    for ( const Smbus::Request &one : request.requests() ) {
        transaction.requests.push_back( { one.type(), one.length(), one.address(), one.pciaddress(),
                                          one.mastertype(), one.pec(), std::nullopt } );
        if ( one.has_data() ) {
            transaction.requests.back().data = one.data();
        }
    }
    if ( request.has_retrycount() ) {
        transaction.retries = request.retrycount();
    }
    return transaction;
}

} // namespace

PLSocket::PLSocket() = default;
PLSocket::~PLSocket() = default;

int PLSocket::setup() {
    return 0;
}

int PLSocket::sendRequestWait( const Smbus::TransactionRequest *request,
                               Smbus::TransactionResponse *reply ) {
    const model::Reply answer = model::realService().carry( plain( *request ) );
    reply->Clear();
    if ( answer.error ) {
        errno = answer.error;
        return -1;
    }
    if ( answer.failed ) {
        reply->set_failed( true );
    }
    if ( answer.reason ) {
        reply->set_reason( *answer.reason );
    }
    for ( const std::string &data : answer.data ) {
        reply->add_responses()->set_data( data );
    }
    return 0;
}

} // namespace PlatformLibrary
