#include "orvan/text/Status.h"

#include <fmt/core.h>

namespace orvan {

std::string statusName( int status ) {
    switch ( status ) {
    case PL_STATUS_OK:
        return "ok";
    case PL_STATUS_NOT_PRESENT:
        return "not present";
    case PL_STATUS_FAULT:
        return "fault";
    case PL_STATUS_INVALID:
        return "invalid";
    case PL_STATUS_TRANSPORT:
        return "transport";
    case PL_STATUS_UNSUPPORTED:
        return "unsupported";
    case PL_STATUS_FAILED:
        return "failed";
    default:
        return fmt::format( "status {}", status );
    }
}

std::string initFailureText( int status, const std::string &socket ) {
    switch ( status ) {
    case PL_STATUS_INVALID:
        return "the topology is not JSON";
    case PL_STATUS_TRANSPORT:
        return fmt::format( "no SMBus service at {}", socket );
    case PL_STATUS_FAILED:
        return "the topology could not be built";
    default:
        return "no reason known";
    }
}

} // namespace orvan
