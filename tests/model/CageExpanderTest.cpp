/**
 * @file
 * Cages on expanders, in step with their model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Xcvr.h"
#include "tests/model/CageExpanderModel.h"
#include "tests/model/CageSteps.h"
#include "tests/model/Place.h"

namespace model {

namespace {

using Kind = CageExpanderModel::Kind;

const Kind kinds[] = {
    { "MirelundSFP",
      "Creating Mirelund SFP device",
      "MirelundPCA9698",
      { 0, 8, 24 },
      4,
      1,
      48,
      false,
      false },
    { "MireYQSFP",
      "Creating Mirelund SFP device",
      "MirelundPCA9698",
      { 0, 8, 24 },
      4,
      49,
      56,
      true,
      false },
    { "MireSPCA9555",
      "Creating Mirelund QSFP device",
      "MireSPCA9555",
      { 0, 2, 6 },
      2,
      49,
      54,
      true,
      true },
};

class CageExpanderLife : public Life {
  public:
    explicit CageExpanderLife( Bench &bench )
        : CageExpanderLife( bench, randomPlace( bench.random ),
                            kinds[ bench.random.below( std::size( kinds ) ) ] ) {}

    void step() override {
        Random &random = bench_.random;
        switch ( random.below( 12 ) ) {
        case 0:
            return bench_.pass( random.between( 0, 3 ), random.of( { 0, 1, 999999999 } ) );
        case 1:
        case 2:
            return bench_.setByte( place_.chip(), random.below( 32 ), random.byte() );
        default:
            return usePort( random.below( static_cast<uint32_t>( numbers_.size() ) ) );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    CageExpanderLife( Bench &bench, const Place &place, const Kind &kind )
        : bench_( bench ), place_( place ), kind_( kind ), config_( configOf( bench, kind ) ),
          model_( bench.world, place.path, kind, config_ ),
          driver_( place, kind.driver,
                   { { "bank-io-0", std::to_string( config_[ 0 ] ) },
                     { "bank-io-1", std::to_string( config_[ 1 ] ) } } ) {
        bench.spoil();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, kind_.driver, [ & ] { model_.create(); },
                    [ & ] { model_.init(); } );
                return "made";
            } );
        for ( int n = 0; n < 8; ++n ) {
            add( bench.random.between( kind.firstNumber, kind.lastNumber ) );
        }
    }

    /** The PCA9698 has a fixed configuration, the PCA9555 that of its arguments. */
    static std::vector<uint8_t> configOf( Bench &bench, const Kind &kind ) {
        if ( kind.banks == 4 ) {
            return { 0xBB, 0xBB, 0xBB, 0xBB };
        }
        return { bench.random.byte(), bench.random.byte() };
    }

    void add( int number ) {
        bench_.act(
            fmt::format( "new cage {}", number ),
            [ & ] {
                const auto id = static_cast<unsigned>( number );
                sfps_.emplace_back( kind_.isQsfp ? nullptr : driver_->newSfpXcvr( id, {} ) );
                qsfps_.emplace_back( kind_.isQsfp ? driver_->newQsfpXcvr( id, {} ) : nullptr );
                return 0;
            },
            [ & ] {
                bench_.world.trace( 5, "creating new %s for id %d",
                                    kind_.isQsfp ? "QsfpXcvr" : "SfpXcvr", number );
                return 0;
            } );
        numbers_.push_back( number );
    }

    void usePort( uint32_t n ) {
        const CageExpanderModel::Port port = model_.port( numbers_[ n ] );
        const auto get = [ & ]( const CageLine &line, const char *, int *value ) {
            return model_.get( line.name, port, line.pinOffset, line.isActiveLow, value );
        };
        const auto set = [ & ]( const CageLine &line, const char *, int value ) {
            return model_.set( line.name, port, line.pinOffset, line.isActiveLow, value );
        };
        const auto modSel = [ & ]( const char *name ) { return model_.nothing( name, port ); };
        if ( kind_.isQsfp ) {
            useQsfp( bench_, qsfps_[ n ]->record(), get, set, modSel );
        } else {
            useSfp( bench_, sfps_[ n ]->record(), get, set );
        }
    }

    Bench &bench_;
    Place place_;
    const Kind &kind_;
    std::vector<uint8_t> config_;
    CageExpanderModel model_;
    Device driver_;
    std::vector<int> numbers_;
    std::vector<std::unique_ptr<Component::LogicalDevice::SfpXcvr>> sfps_;
    std::vector<std::unique_ptr<Component::LogicalDevice::QsfpXcvr>> qsfps_;
};

TEST( InStep, CageExpander ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<CageExpanderLife>( bench ); } );
}

} // namespace

} // namespace model
