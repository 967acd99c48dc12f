#include "smbusd/control/ControlTraffic.h"

#include <utility>

#include "smbusd/base/JsonLine.h"

namespace smbusd {

std::string trafficLine( const TrafficEvent &event, Duration time ) {
    JsonLine line;
    line.beginObject().member( "event", "operation" );
    line.member( "time", std::chrono::duration<double>( time ).count() );
    line.member( "client", event.transaction.client );
    line.member( "transaction", event.transaction.id );
    line.member( "request", static_cast<uint32_t>( event.request ) );
    line.member( "requests", static_cast<uint32_t>( event.transaction.request.requests_size() ) );
    line.member( "attempt", event.attempt ).member( "bus", event.bus.name() );
    line.member( "operation", kindName( event.operation.kind ) );
    line.member( "address", uint32_t{ event.operation.address } );
    if ( event.operation.kind != Operation::Kind::ReceiveByte ) {
        line.member( "register", event.operation.reg );
    }
    line.member( "wire", event.bus.trace() );
    line.member( "ok", event.result.outcome == Outcome::Done );
    line.member( "result", event.result.text() ).endObject();
    return line.text();
}

void TrafficQueue::add( const std::string &line ) {
    if ( waiting_.size() + line.size() > limit ) {
        dropped_++;
        return;
    }
    if ( dropped_ > 0 ) {
        JsonLine gap;
        gap.beginObject().member( "event", "dropped" );
        gap.member( "operations", std::exchange( dropped_, 0 ) ).endObject();
        waiting_ += gap.text() + '\n';
    }
    waiting_ += line + '\n';
}

std::string TrafficQueue::take() {
    return std::exchange( waiting_, {} );
}

} // namespace smbusd
