/**
 * @file
 * The core of the expander drivers, in step with its model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Drivers/GPIOExpander.h"
#include "tests/model/ExpanderModel.h"
#include "tests/model/Place.h"

namespace model {

namespace {

class ExpanderLife : public Life {
  public:
    explicit ExpanderLife( Bench &bench )
        : ExpanderLife( bench, randomPlace( bench.random ), bench.random.between( 0, 9 ),
                        bench.random.of( { 0u, 1u, 2u, 44u, 255u, 100000u } ),
                        { bench.random.byte(), bench.random.byte(), bench.random.byte() } ) {}

    void step() override {
        Random &random = bench_.random;
        switch ( random.below( banks_ ? 10 : 3 ) ) {
        case 0:
            return save();
        case 1:
            return writeConfig();
        case 2:
            return wait();
        case 3:
            return bench_.setByte( place_.chip(), random.below( 256 ), random.byte() );
        case 4:
            return getBank( &Drivers::GPIOExpander::getInBank, &ExpanderModel::getInBank );
        case 5:
            return getBank( &Drivers::GPIOExpander::getOutBank, &ExpanderModel::getOutBank );
        case 6:
        case 7:
            return readBit();
        default:
            return writeBit();
        }
    }

  private:
    ExpanderLife( Bench &bench, const Place &place, int banks, uint32_t timeout,
                  ExpanderModel::Registers registers )
        : bench_( bench ), place_( place ), banks_( banks ), timeout_( timeout ),
          model_( bench.world, place.path, banks, timeout, registers ),
          driver_( banks, timeout, registers.input, registers.output, registers.config ) {
        driver_.hamIs( realHam( place ) );
        bench.change( place.chip(), [ & ]( Chip &chip ) {
            for ( uint8_t &byte : chip.bytes ) {
                byte = bench.random.byte();
            }
        } );
    }

    uint8_t bank() { return static_cast<uint8_t>( bench_.random.between( 0, banks_ - 1 ) ); }

    void wait() {
        Random &random = bench_.random;
        const int whole = static_cast<int>( random.of( { 0u, 1u, timeout_, timeout_ + 1 } ) );
        bench_.pass( whole, random.of( { 0, 1, 1000, 499999999, 999999999 } ) );
    }

    void save() {
        bench_.both(
            "save()", [ & ] { return fmt::format( "{:d}", driver_.save() ); },
            [ & ] { return fmt::format( "{}", model_.save() ); } );
    }

    void writeConfig() {
        std::vector<uint8_t> config( static_cast<size_t>( banks_ ) );
        for ( uint8_t &byte : config ) {
            byte = bench_.random.byte();
        }
        bench_.both(
            "writeConfig()",
            [ & ] { return fmt::format( "{:d}", driver_.writeConfig( config.data() ) ); },
            [ & ] { return fmt::format( "{}", model_.writeConfig( config ) ); } );
    }

    template <class Real, class Modelled>
    void getBank( Real real, Modelled modelled ) {
        const uint8_t n = bank();
        uint8_t got = 0xA5;
        uint8_t expected = 0xA5;
        bench_.both(
            fmt::format( "get bank {}", n ),
            [ & ] { return fmt::format( "{:d} {}", ( driver_.*real )( n, &got ), got ); },
            [ & ] {
                return fmt::format( "{} {}", ( model_.*modelled )( n, &expected ), expected );
            } );
    }

    void readBit() {
        const uint8_t n = bank();
        const uint8_t bit = bench_.random.byte() & 7;
        const auto pin = static_cast<uint8_t>( n * 8 + bit );
        const bool byPin = bench_.random.oneIn( 2 );
        bool got = bench_.random.oneIn( 2 );
        bool expected = got;
        bench_.both(
            fmt::format( "readBit( {}, {} )", n, bit ),
            [ & ] {
                const int status =
                    byPin ? driver_.readBit( pin, &got ) : driver_.readBit( n, bit, &got );
                return fmt::format( "{} {}", status, got );
            },
            [ & ] {
                const int status = model_.readPin( pin, &expected );
                return fmt::format( "{} {}", status, expected );
            } );
    }

    void writeBit() {
        const uint8_t n = bank();
        const uint8_t bit = bench_.random.byte() & 7;
        const auto pin = static_cast<uint8_t>( n * 8 + bit );
        const bool byPin = bench_.random.oneIn( 2 );
        const bool value = bench_.random.oneIn( 2 );
        bench_.both(
            fmt::format( "writeBit( {}, {}, {} )", n, bit, value ),
            [ & ] {
                return fmt::format( "{:d}", byPin ? driver_.writeBit( pin, value )
                                                  : driver_.writeBit( n, bit, value ) );
            },
            [ & ] { return fmt::format( "{}", model_.writePin( pin, value ) ); } );
    }

    Bench &bench_;
    Place place_;
    int banks_;
    uint32_t timeout_;
    ExpanderModel model_;
    Drivers::GPIOExpander driver_;
};

TEST( InStep, Expander ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<ExpanderLife>( bench ); } );
}

} // namespace

} // namespace model
