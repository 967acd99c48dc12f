#include "smbusd/linux/LinuxBus.h"

#include <utility>

#include "smbusd/linux/AdapterHold.h"
#include "smbusd/linux/BlockingWorker.h"
#include "smbusd/linux/LinuxTrace.h"

namespace smbusd {

namespace {

/** An operation with its data: an adapter that hangs may outlive the request. */
class OwnedOperation {
  public:
    explicit OwnedOperation( const Operation &operation )
        : data_( operation.data ), operation_( operation ) {
        operation_.data = data_;
    }
    OwnedOperation( const OwnedOperation & ) = delete;
    OwnedOperation &operator=( const OwnedOperation & ) = delete;

    const Operation &get() const { return operation_; }

  private:
    std::string data_;
    Operation operation_;
};

class LinuxBus : public Bus {
  public:
    LinuxBus( LinuxBusParts &&parts, Scheduler &scheduler, Log &log )
        : Bus( std::move( parts.name ), parts.key ), adapter_( std::move( parts.adapter ) ),
          access_( std::move( parts.access ) ), patience_( parts.patience ),
          scheduler_( scheduler ), log_( log ) {}

    ~LinuxBus() override {
        if ( !worker_.end( patience_ ) ) {
            log_.warning( "bus \"{}\": an operation on {} does not end; it is left to the kernel",
                          name(), adapter_ );
        }
    }

    std::string backend() const override { return adapter_; }
    const std::string &trace() const override { return trace_; }

    void execute( const Operation &operation, Completion completion ) override {
        // The other thread holds nothing but this operation and the adapter: it may be left behind.
        const auto owned = std::make_shared<const OwnedOperation>( operation );
        completion_ = std::move( completion );
        worker_.post( [ this, access = access_, owned ]() -> std::function<void()> {
            Result result = access->perform( owned->get() );
            return [ this, owned, result = std::move( result ), notice = access->takeNotice() ] {
                scheduler_.post( [ this, owned, result, notice ] {
                    completed( owned->get(), result, notice );
                } );
            };
        } );
    }

  private:
    void completed( const Operation &operation, const Result &result, const std::string &notice ) {
        if ( !notice.empty() ) {
            log_.info( "bus \"{}\": {}", name(), notice );
        }
        counters.operations++;
        counters.errors += result.outcome == Outcome::Done ? 0 : 1;
        trace_ = linuxTrace( operation, result );
        const Completion completion = std::exchange( completion_, {} );
        completion( result );
    }

    std::string adapter_;
    std::shared_ptr<AdapterAccess> access_;
    std::chrono::milliseconds patience_;
    Scheduler &scheduler_;
    Log &log_;
    std::string trace_;
    Completion completion_; ///< of the operation that is under way
    BlockingWorker worker_;
};

} // namespace

std::unique_ptr<Bus> makeLinuxBus( LinuxBusParts parts, Scheduler &scheduler, Log &log ) {
    return std::make_unique<LinuxBus>( std::move( parts ), scheduler, log );
}

AdapterBusFactory linuxBusFactory( Scheduler &scheduler, Log &log,
                                   std::shared_ptr<const KernelCalls> kernel ) {
    return [ &scheduler, &log, kernel = std::move( kernel ),
             claims = std::make_shared<AdapterClaims>() ]( std::string name, const BusKey &key,
                                                           const AdapterSpec &spec ) {
        auto hold = std::make_unique<AdapterHold>( spec, name, kernel, claims );
        log.debug( "bus \"{}\" is {}", name, hold->describe() );
        auto access = makeLinuxAdapter( std::move( hold ), kernel );
        return makeLinuxBus( { std::move( name ), key, spec.describe(), std::move( access ) },
                             scheduler, log );
    };
}

} // namespace smbusd
