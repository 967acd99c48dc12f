#include "smbusd/bus/Result.h"

namespace smbusd {

std::string_view outcomeText( Outcome outcome ) {
    switch ( outcome ) {
    case Outcome::Done:
        return "done";
    case Outcome::AddressNack:
        return "address not acknowledged";
    case Outcome::ReadAddressNack:
        return "address not acknowledged after the repeated start";
    case Outcome::DataNack:
        return "byte not acknowledged";
    case Outcome::ArbitrationLost:
        return "arbitration lost";
    case Outcome::TimedOut:
        return "timed out: the clock was held low";
    case Outcome::BusStuck:
        return "bus stuck: the data line is held low";
    case Outcome::BadPec:
        return "packet error code does not match";
    case Outcome::BadBlock:
        return "block count out of range";
    case Outcome::Failed:
        return "failed";
    case Outcome::Dropped:
        return "connection dropped by an injected fault";
    case Outcome::Muted:
        return "answer withheld by an injected fault";
    }
    return "unknown outcome";
}

} // namespace smbusd
