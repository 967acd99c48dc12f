/**
 * @file
 * The Emerson supply beside the supplies' expander, in step with their models.
 */
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/Psu.h"
#include "tests/model/EmersonModel.h"
#include "tests/model/LedSteps.h"
#include "tests/model/Place.h"
#include "tests/model/PsuSteps.h"

namespace model {

namespace {

namespace logical = Component::LogicalDevice;

class EmersonLife : public Life {
  public:
    explicit EmersonLife( Bench &bench )
        : EmersonLife( bench, randomPlace( bench.random ), bench.random.between( 1, 2 ) ) {}

    void step() override {
        Random &random = bench_.random;
        const uint32_t fan = random.below( 2 );
        switch ( random.below( 12 ) ) {
        case 0:
            return bench_.pass( random.between( 0, 3 ), random.of( { 0, 1, 999999999 } ) );
        case 1:
            return bench_.setByte( psuExpanderPlace().chip(), 0, random.byte() );
        case 2:
        case 3:
            return changeReading();
        case 4:
            return getPowerOk( bench_, psu_, [ & ]( int *ok ) { return model_.getPowerOk( ok ); } );
        case 5:
            return getRpm( bench_, realFans_[ fan ]->record(),
                           [ & ]( int *rpm ) { return model_.getRpm( fans_[ fan ], rpm ); } );
        case 6:
            return setRpm( bench_, realFans_[ fan ]->record(), fans_[ fan ].maxRpm,
                           [ & ]( int rpm ) { return model_.setRpm( fans_[ fan ], rpm ); } );
        default:
            return read( randomReading( random ) );
        }
    }
    void end() override {
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
        bench_.both(
            "end of expander", [ & ] { return expander_.destroy(); }, [] { return ""; } );
    }

  private:
    EmersonLife( Bench &bench, const Place &place, int number )
        : bench_( bench ), place_( place ),
          expanderModel_( bench.world, psuExpanderPlace().path, blinkNow( bench.world ) ),
          model_( bench.world, place.path, number, expanderModel_ ),
          expander_( psuExpanderPlace(), "MirePsuPCA9555", {} ),
          driver_( place, "EmersonPmbus", { { "psuId", std::to_string( number ) } } ) {
        makeExpander();
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, place_, "EmersonPmbus", [ & ] { model_.create(); },
                    [ & ] { init(); } );
                return "made";
            } );
        addPsu();
        addFan( 1 );
        addFan( 2 );
    }

    void makeExpander() {
        bench_.both(
            "create expander", [ & ] { return expander_.make(); },
            [ & ] {
                Device::model(
                    bench_.world, psuExpanderPlace(), "MirePsuPCA9555",
                    [ & ] { expanderModel_.create(); }, [ & ] { expanderModel_.init(); } );
                return "made";
            } );
    }

    void init() {
        World &world = bench_.world;
        world.trace( 0, "EmersonPmbus init function" );
        world.trace( 0, "looking for already existing device %u", psuExpanderPlace().did );
        world.trace( 0, "using previously instanciated HardwareDevice MirePsuPCA9555" );
    }

    void addPsu() {
        static std::vector<logical::Psu *> all; // a supply cannot be deleted
        bench_.act(
            "newPsu",
            [ & ] {
                all.push_back( driver_->newPsu( {} ) );
                psu_ = all.back()->record();
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating EmersonPmbus Psu Device" );
                return 0;
            } );
    }

    void addFan( int number ) {
        Random &random = bench_.random;
        const bool pec = random.oneIn( 2 );
        fans_.push_back( { number, random.between( 1, random.oneIn( 2 ) ? 30000 : 200000 ), pec } );
        const ArgMap args{ { "fanId", std::to_string( number ) },
                           { "maxFanRpm", std::to_string( fans_.back().maxRpm ) },
                           { "pec", pec ? "true" : "yes" } };
        bench_.act(
            "newFan",
            [ & ] {
                realFans_.emplace_back( driver_->newFan( peripheralArgs( args ) ) );
                return 0;
            },
            [ & ] {
                bench_.world.trace( 0, "Creating EmersonPmbus Fan Device" );
                return 0;
            } );
    }

    void changeReading() {
        Random &random = bench_.random;
        const uint8_t chip = place_.chip();
        bench_.setByte( chip, 0x20, random.oneIn( 10 ) ? random.byte() : random.byte() & 0x1F );
        bench_.setWord( chip, random.of( { 0x88u, 0x8Bu, 0x8Cu, 0x90u, 0x91u, 0x97u } ),
                        random.oneIn( 5 ) ? uint16_t{ 0 } : random.word() );
    }

    void read( const PsuReading &reading ) {
        readPsu( bench_, psu_, reading, model_, [ & ]( float *value ) {
            switch ( reading.kind ) {
            case PsuReading::OutputVoltage:
                return model_.getOutputVoltage( value );
            case PsuReading::InputCurrent:
                return model_.getInputCurrent( value );
            case PsuReading::OutputPower:
                return model_.getOutputPower( value );
            default:
                return model_.readLinear( reading.command, value );
            }
        } );
    }

    Bench &bench_;
    Place place_;
    PsuExpanderModel expanderModel_;
    EmersonModel model_;
    Device expander_;
    Device driver_;
    pl_psu *psu_ = nullptr;
    std::vector<EmersonModel::Fan> fans_;
    std::vector<std::unique_ptr<logical::Fan>> realFans_;
};

TEST( InStep, Emerson ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<EmersonLife>( bench ); } );
}

} // namespace

} // namespace model
