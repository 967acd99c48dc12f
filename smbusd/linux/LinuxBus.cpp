#include "smbusd/linux/LinuxBus.h"

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include "smbusd/bus/WireTrace.h"

namespace smbusd {

namespace {

class LinuxBus : public Bus {
  public:
    LinuxBus( std::string name, BusKey key, std::string device,
              std::unique_ptr<AdapterAccess> access, Scheduler &scheduler )
        : Bus( std::move( name ), key ), device_( std::move( device ) ),
          access_( std::move( access ) ), scheduler_( scheduler ) {}
    ~LinuxBus() override { worker_.join(); }

    std::string backend() const override { return device_; }
    const std::string &trace() const override { return trace_; }

    void execute( const Operation &operation, Completion completion ) override {
        asio::post( worker_, [ this, &operation, completion = std::move( completion ) ] {
            Result result = access_->perform( operation );
            scheduler_.post( [ this, &operation, completion, result = std::move( result ) ] {
                count( result );
                trace_ = traceOf( operation, result );
                completion( result );
            } );
        } );
    }

  private:
    void count( const Result &result ) {
        counters.operations++;
        counters.errors += result.outcome == Outcome::Done ? 0 : 1;
    }

    /** What must have been on the wire; the adapter does not show it. */
    static std::string traceOf( const Operation &operation, const Result &result );

    std::string device_;
    std::unique_ptr<AdapterAccess> access_;
    Scheduler &scheduler_;
    std::string trace_;
    asio::thread_pool worker_{ 1 };
};

std::string LinuxBus::traceOf( const Operation &operation, const Result &result ) {
    WireTrace trace;
    if ( result.outcome != Outcome::Done ) {
        trace.start( operation.address, operation.kind == Operation::Kind::ReceiveByte, false );
        trace.note( result.text().c_str() );
        return trace.text();
    }
    const auto send = [ &trace ]( uint32_t byte ) {
        trace.byte( static_cast<uint8_t>( byte ) );
        trace.acknowledge( true );
    };
    if ( operation.kind != Operation::Kind::ReceiveByte ) {
        trace.start( operation.address, false, false );
        trace.acknowledge( true );
        const unsigned size = operation.hasRegister() ? operation.registerSize : 1;
        for ( unsigned left = size; left > 0; left-- ) {
            send( operation.reg >> ( 8 * ( left - 1 ) ) );
        }
        if ( operation.kind == Operation::Kind::BlockWrite ) {
            send( operation.length );
        }
        for ( const char byte : operation.data ) {
            send( static_cast<uint8_t>( byte ) );
        }
    }
    if ( operation.reads() ) {
        trace.start( operation.address, true, operation.kind != Operation::Kind::ReceiveByte );
        trace.acknowledge( true );
        if ( operation.kind == Operation::Kind::BlockRead ) {
            send( static_cast<uint32_t>( result.data.size() ) );
        }
        for ( size_t i = 0; i < result.data.size(); i++ ) {
            trace.byte( static_cast<uint8_t>( result.data[ i ] ) );
            trace.acknowledge( i + 1 < result.data.size() );
        }
    }
    trace.stop();
    return trace.text();
}

} // namespace

std::unique_ptr<Bus> makeLinuxBus( std::string name, const BusKey &key, std::string device,
                                   std::unique_ptr<AdapterAccess> access, Scheduler &scheduler ) {
    return std::make_unique<LinuxBus>( std::move( name ), key, std::move( device ),
                                       std::move( access ), scheduler );
}

AdapterBusFactory linuxBusFactory( Scheduler &scheduler, Log &log ) {
    return [ &scheduler, &log ]( std::string name, const BusKey &key, std::string device ) {
        log.debug( "bus \"{}\" is {}", name, device );
        auto access = openAdapter( device );
        return makeLinuxBus( std::move( name ), key, std::move( device ), std::move( access ),
                             scheduler );
    };
}

} // namespace smbusd
