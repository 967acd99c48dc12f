#include "smbusd/linux/LinuxTrace.h"

#include "smbusd/bus/Pec.h"
#include "smbusd/bus/WireTrace.h"

namespace smbusd {

namespace {

/** A trace whose bytes are all acknowledged, with the packet error code over them. */
class Message {
  public:
    void start( uint8_t address, bool read, bool repeated ) {
        pec_.addAddress( address, read );
        trace_.start( address, read, repeated );
        trace_.acknowledge( true );
    }
    void byte( uint32_t value, bool acknowledged = true ) {
        pec_.add( static_cast<uint8_t>( value ) );
        trace_.byte( static_cast<uint8_t>( value ) );
        trace_.acknowledge( acknowledged );
    }
    void code( bool acknowledged ) { byte( pec_.value(), acknowledged ); }
    std::string end() {
        trace_.stop();
        return trace_.text();
    }

  private:
    Pec pec_;
    WireTrace trace_;
};

void traceWritten( Message &message, const Operation &operation ) {
    message.start( operation.address, false, false );
    const unsigned size = operation.hasRegister() ? operation.registerSize : 1;
    for ( unsigned left = size; left > 0; left-- ) {
        message.byte( operation.reg >> ( 8 * ( left - 1 ) ) );
    }
    if ( operation.kind == Operation::Kind::BlockWrite ) {
        message.byte( operation.length );
    }
    for ( const char byte : operation.data ) {
        message.byte( static_cast<uint8_t>( byte ) );
    }
}

/** The master acknowledges every byte that it reads but the last. */
void traceRead( Message &message, const Operation &operation, const std::string &data ) {
    message.start( operation.address, true, operation.kind != Operation::Kind::ReceiveByte );
    if ( operation.kind == Operation::Kind::BlockRead ) {
        message.byte( static_cast<uint32_t>( data.size() ) );
    }
    for ( size_t i = 0; i < data.size(); i++ ) {
        message.byte( static_cast<uint8_t>( data[ i ] ),
                      i + 1 < data.size() || operation.usesPec() );
    }
}

} // namespace

std::string linuxTrace( const Operation &operation, const Result &result ) {
    if ( result.outcome != Outcome::Done ) {
        WireTrace trace;
        trace.start( operation.address, operation.kind == Operation::Kind::ReceiveByte, false );
        trace.note( result.text().c_str() );
        return trace.text();
    }
    Message message;
    if ( operation.kind != Operation::Kind::ReceiveByte ) {
        traceWritten( message, operation );
    }
    if ( operation.reads() ) {
        traceRead( message, operation, result.data );
    }
    if ( operation.usesPec() ) {
        message.code( !operation.reads() );
    }
    return message.end();
}

} // namespace smbusd
