/**
 * @file
 * The CPLDs of the cages, in step with their model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Xcvr.h"
#include "tests/model/CageSteps.h"
#include "tests/model/CpldModel.h"
#include "tests/model/Place.h"

namespace model {

namespace {

struct Variant {
    const char *driver;
    const char *className;
    bool hasQsfps;
};
const Variant variants[] = { { "MireQCPLD", "MirelundQCPLD", true },
                             { "MireYCPLD", "MirelundYCPLD", false } };

/** Operations as the traces name them: "getTxFault" is "getSfpTxFault" here. */
std::string operation( const char *kind, const std::string &callback ) {
    return callback.substr( 0, 3 ) + kind + callback.substr( 3 );
}

class CpldLife : public Life {
  public:
    explicit CpldLife( Bench &bench )
        : CpldLife( bench, randomPlace( bench.random ), variants[ bench.random.below( 2 ) ] ) {}

    void step() override {
        Random &random = bench_.random;
        switch ( random.below( 20 ) ) {
        case 0:
            return init();
        case 1:
        case 2:
            return expire();
        case 3:
        case 4:
            return bench_.setWord( place_.chip(), random.between( 1, 4 ), random.word() );
        default:
            return usePort( ports_[ random.below( static_cast<uint32_t>( ports_.size() ) ) ] );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); },
            [ & ] {
                model_.poll.destroy();
                return "";
            } );
    }

  private:
    struct CagePort {
        std::unique_ptr<Component::LogicalDevice::SfpXcvr> sfp;
        std::unique_ptr<Component::LogicalDevice::QsfpXcvr> qsfp;
        CpldModel::Port model;
    };

    CpldLife( Bench &bench, const Place &place, const Variant &variant )
        : bench_( bench ), place_( place ), model_( bench.world, place.path, variant.className ),
          driver_( place, variant.driver, {} ) {
        for ( int reg = 1; reg <= 4; ++reg ) {
            bench.setWord( place.chip(), static_cast<uint32_t>( reg ), bench.random.word() );
        }
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, driver_.args.driver, [ & ] { model_.create(); },
                    [ & ] { model_.init(); } );
                return "made";
            } );
        for ( int n = 0; n < 8; ++n ) {
            if ( variant.hasQsfps && bench.random.oneIn( 2 ) ) {
                addQsfp( bench.random.between( 1, 32 ) );
            } else {
                addSfp( bench.random.between( 1, 48 ) );
            }
        }
    }

    void traceNew( const char *kind, int number, const CpldModel::Port &port ) {
        bench_.world.trace( 5, "creating new %s for id %d", kind, number );
        bench_.world.trace( 5, "id=%d reg=%#02x bit=%d", port.id, port.reg, port.bit );
    }

    void addSfp( int number ) {
        CagePort port{ {}, {}, CpldModel::sfp( number ) };
        bench_.act(
            fmt::format( "newSfpXcvr( {} )", number ),
            [ & ] {
                port.sfp.reset( driver_->newSfpXcvr( static_cast<unsigned>( number ), {} ) );
                return static_cast<int>( port.sfp->record()->id );
            },
            [ & ] {
                traceNew( "SfpXcvr", number, port.model );
                return number;
            } );
        ports_.push_back( std::move( port ) );
    }

    void addQsfp( int number ) {
        CagePort port{ {}, {}, CpldModel::qsfp( number ) };
        bench_.act(
            fmt::format( "newQsfpXcvr( {} )", number ),
            [ & ] {
                port.qsfp.reset( driver_->newQsfpXcvr( static_cast<unsigned>( number ), {} ) );
                return static_cast<int>( port.qsfp->record()->id );
            },
            [ & ] {
                traceNew( "QsfpXcvr", number, port.model );
                return number;
            } );
        ports_.push_back( std::move( port ) );
    }

    void init() {
        // Every further call doubles the list of registers.
        if ( ++inits_ < 4 ) {
            bench_.act(
                "init()", [ & ] { return driver_->init(); }, [ & ] { return model_.init(); } );
        }
    }

    void expire() {
        if ( !model_.poll.isArmed() ) {
            return;
        }
        bench_.world.refuseTimerSet = bench_.random.oneIn( 50 );
        bench_.act(
            "poll",
            [ & ] {
                Bench::fire( model_.poll.timer() );
                return 0;
            },
            [ & ] {
                model_.poll.expire( [ & ] { model_.refresh(); } );
                return 0;
            } );
        bench_.world.refuseTimerSet = false;
    }

    void usePort( CagePort &port ) {
        const auto get = [ & ]( const CageLine &line, const char *kind, int *value ) {
            return model_.get( operation( kind, line.name ).c_str(), port.model,
                               { line.cpldOffset, line.isActiveLow }, value );
        };
        const auto set = [ & ]( const CageLine &line, const char *kind, int value ) {
            return model_.set( operation( kind, line.name ).c_str(), port.model,
                               { line.cpldOffset, line.isActiveLow }, value );
        };
        const auto modSel = [ & ]( const char *name ) {
            return model_.nothing( operation( "Qsfp", name ).c_str(), port.model );
        };
        if ( port.sfp ) {
            useSfp( bench_, port.sfp->record(), get, set );
        } else {
            useQsfp( bench_, port.qsfp->record(), get, set, modSel );
        }
    }

    Bench &bench_;
    Place place_;
    CpldModel model_;
    Device driver_;
    std::vector<CagePort> ports_;
    int inits_ = 0;
};

TEST( InStep, Cpld ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<CpldLife>( bench ); } );
}

} // namespace

} // namespace model
