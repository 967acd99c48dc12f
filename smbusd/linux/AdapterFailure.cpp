#include "smbusd/linux/AdapterFailure.h"

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

namespace smbusd {

namespace {

/** Whether an attempt that lacked an acknowledge somewhere cannot have changed the device. */
bool onlyReads( const Operation &operation ) {
    return operation.reads() && operation.kind != Operation::Kind::ProcessCall;
}

} // namespace

std::string errorText( int error ) {
    const char *name = ::strerrorname_np( error );
    return name != nullptr ? fmt::format( "{} ({})", name, std::strerror( error ) )
                           : fmt::format( "error {}", error );
}

Result adapterFailure( const Operation &operation, int error ) {
    const auto failure = [ error ]( Outcome outcome, const char *meaning ) {
        return Result{ outcome, {}, fmt::format( "{}: {}", meaning, errorText( error ) ) };
    };
    switch ( error ) {
    case ENXIO:
    case EREMOTEIO:
        return failure( onlyReads( operation ) ? Outcome::AddressNack : Outcome::DataNack,
                        "no acknowledge" );
    case EAGAIN:
        return failure( Outcome::ArbitrationLost, "arbitration lost" );
    case ETIMEDOUT:
        return failure( Outcome::TimedOut, "timed out" );
    case EBADMSG:
        return failure( Outcome::BadPec, "packet error code does not match" );
    case EPROTO:
        return failure( Outcome::BadBlock, "block count out of range" );
    case EBUSY:
        return failure( Outcome::Failed, "the bus is busy" );
    case EOPNOTSUPP:
        return failure( Outcome::Failed, "the adapter refuses it" );
    default:
        return { Outcome::Failed, {}, errorText( error ) };
    }
}

} // namespace smbusd
