/**
 * @file
 * The supplies' bays, in step with their model.
 */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Slot.h"
#include "tests/model/Place.h"
#include "tests/model/PsuSlotModel.h"
#include "tests/model/SlotSteps.h"

namespace model {

namespace {

using Type = PsuSlotModel::Type;

struct SlotSetting {
    Place place;
    Type type;
    const char *typeName;
    int psuId;
    bool hasLines;
    uint8_t presenceReg;
    int presenceBit;
    std::string presenceActiveLow;
    uint8_t powerOkReg;
    int powerOkBit;
    std::string powerOkActiveLow;
    bool assertsOnUnknown;
    std::map<std::string, std::string> templates;
};

SlotSetting randomSetting( Random &random ) {
    static const std::pair<Type, const char *> types[] = {
        { Type::Pmbus, "pmbus" }, { Type::Wedge, "wedge" }, { Type::Tlv, "tlv" } };
    const auto &[ type, typeName ] = types[ random.below( 3 ) ];
    SlotSetting setting{ randomPlace( random ),
                         type,
                         typeName,
                         random.between( 1, 2 ),
                         random.oneIn( 2 ),
                         random.byte(),
                         random.between( 0, 7 ),
                         random.of( { "", "true", "false" } ),
                         random.byte(),
                         random.between( 0, 7 ),
                         random.of( { "", "true", "false" } ),
                         random.oneIn( 10 ),
                         {} };
    setting.templates[ "DPS550AB6A" ] = "<{serialNum}> of {serialNum}";
    for ( const char *model : { "PWR-WEDGE", "PS-2471-1AZ1-LF", "PWR-UNKNOWN" } ) {
        if ( random.oneIn( 2 ) ) {
            setting.templates[ model ] = std::string( model ) + " {serialNum}";
        }
    }
    return setting;
}

ArgMap argsOf( const SlotSetting &setting ) {
    ArgMap args{ { "psuId", std::to_string( setting.psuId ) },
                 { "identificationType", setting.typeName } };
    if ( setting.hasLines ) {
        args[ "gpioDevice" ] = linesLabel;
        args[ "presenceReg" ] = std::to_string( setting.presenceReg );
        args[ "presenceBit" ] = std::to_string( setting.presenceBit );
        args[ "powerOkReg" ] = std::to_string( setting.powerOkReg );
        args[ "powerOkBit" ] = std::to_string( setting.powerOkBit );
    }
    if ( !setting.presenceActiveLow.empty() ) {
        args[ "presenceActiveLow" ] = setting.presenceActiveLow;
    }
    if ( !setting.powerOkActiveLow.empty() ) {
        args[ "powerOkActiveLow" ] = setting.powerOkActiveLow;
    }
    args[ "assertOnUnknownModelName" ] = setting.assertsOnUnknown ? "true" : "false";
    int number = 0;
    for ( const auto &[ model, fdl ] : setting.templates ) {
        args[ "model_" + std::to_string( ++number ) ] = model;
        args[ "psuFdl_" + std::to_string( number ) ] = fdl;
    }
    return args;
}

PsuSlotModel modelOf( World &world, const SlotSetting &setting ) {
    std::optional<PsuSlotModel::Lines> lines;
    if ( setting.hasLines ) {
        const HamModel ham( world, linesPath() );
        lines = { { { ham, setting.presenceReg, setting.presenceBit },
                    setting.presenceActiveLow == "true" },
                  { { ham, setting.powerOkReg, setting.powerOkBit },
                    setting.powerOkActiveLow == "true" } };
    }
    return { world, setting.place.path,       setting.type,     setting.psuId - 1,
             lines, setting.assertsOnUnknown, setting.templates };
}

class PsuSlotLife : public Life {
  public:
    explicit PsuSlotLife( Bench &bench ) : PsuSlotLife( bench, randomSetting( bench.random ) ) {}

    void step() override {
        Random &random = bench_.random;
        switch ( random.below( 8 ) ) {
        case 0:
            return bench_.setByte( linesChip, setting_.presenceReg, random.byte() );
        case 1:
            return bench_.setByte( linesChip, setting_.powerOkReg, random.byte() );
        case 2:
            return plug();
        default:
            return askPresence( bench_, slot_->record(), model_,
                                [ & ]( auto *fdl ) { return model_.getPresence( fdl ); } );
        }
    }
    void end() override {
        slot_.reset();
        bench_.both(
            "end", [ & ] { return driver_.destroy(); }, [] { return ""; } );
    }

  private:
    PsuSlotLife( Bench &bench, const SlotSetting &setting )
        : bench_( bench ), setting_( setting ), model_( modelOf( bench.world, setting ) ),
          driver_( setting.place, "PsuSlot", argsOf( setting ) ) {
        bench.both(
            "create", [ & ] { return driver_.make(); },
            [ & ] {
                Device::model(
                    bench.world, setting_.place, "PsuSlot",
                    [ & ] { bench_.world.trace( 0, "Creating Pmbus Device" ); }, [] {} );
                return "made";
            } );
        bench.act(
            "newSlot",
            [ & ] {
                slot_.reset( driver_->newSlot( driver_.args ) );
                return 0;
            },
            [ & ] {
                traceNewSlot();
                return 0;
            } );
        plug();
    }

    void traceNewSlot() {
        World &world = bench_.world;
        world.trace( 5, "Creating new PsuSlot for Psu id %d", setting_.psuId );
        if ( setting_.hasLines ) {
            traceLinesFound( world );
            traceLinesFound( world );
        }
        world.trace( 0, "PsuSlot identification type: %s", setting_.typeName );
    }

    /** Another supply comes. */
    void plug() {
        switch ( setting_.type ) {
        case Type::Wedge:
            return bench_.setByte( setting_.place.chip(), 8, bench_.random.byte() );
        case Type::Pmbus:
            plugBlock( 0x9A, randomModel() );
            return plugBlock( 0x9E, randomSerial() );
        default:
            return plugTlv();
        }
    }

    std::string randomModel() {
        return bench_.random.of<std::string>( { "DPS550AB6A", "DPS550AB6A", " DPS550AB6A\t ",
                                                "PS-2471-1AZ1-LF", "PWR-UNKNOWN", "OTHER", "", "  ",
                                                "x", std::string( "DPS550AB6A\0\0\0", 13 ),
                                                std::string( "\0OTHER", 6 ) } );
    }
    std::string randomSerial() {
        return bench_.random.of<std::string>( { "GTVD1615001656", "61AZ10101E340DU", "\tA 1 ", "",
                                                " ", "7", std::string( "SN12 \0\0x", 8 ),
                                                std::string( 1, '\0' ) } );
    }

    void plugBlock( uint8_t command, const std::string &text ) {
        const uint8_t length = bench_.random.oneIn( 20 ) ? bench_.random.of<uint8_t>( { 254, 255 } )
                                                         : static_cast<uint8_t>( text.size() );
        bench_.change( setting_.place.chip(), [ & ]( Chip &chip ) {
            chip.bytes[ command ] = length;
            chip.blocks[ command ] = std::string( 1, static_cast<char>( length ) ) + text;
        } );
    }

    /** The fields of a TLV area, in a random order. */
    std::string randomFields() {
        std::string fields;
        const int count = bench_.random.between( 1, 6 );
        for ( int n = 0; n < count; ++n ) {
            const char type =
                bench_.random.of( { '\x22', '\x22', '\x23', '\x23', '\x24', '\xFD' } );
            const std::string text = type == '\x22' ? randomModel() : randomSerial();
            fields += std::string( 1, type ) + static_cast<char>( text.size() ) + text;
        }
        return fields;
    }

    void plugTlv() {
        Random &random = bench_.random;
        std::string image = random.oneIn( 40 ) ? "TlvInfO" : "TlvInfo";
        image += random.oneIn( 40 ) ? '\1' : '\0';
        image += random.oneIn( 40 ) ? '\2' : '\1';
        const std::string fields = randomFields();
        image += random.oneIn( 40 ) ? '\1' : '\0';
        image += static_cast<char>( fields.size() & 0x7F );
        image += fields;
        bench_.change( setting_.place.chip(), [ & ]( Chip &chip ) {
            chip.isMemory = true;
            chip.bytes.fill( random.byte() );
            std::copy( image.begin(), image.end(), chip.bytes.begin() );
        } );
    }

    Bench &bench_;
    SlotSetting setting_;
    PsuSlotModel model_;
    Device driver_;
    std::unique_ptr<Component::LogicalDevice::Slot> slot_;
};

TEST( InStep, PsuSlot ) {
    loadBoard();
    runInStep( []( Bench &bench ) { return std::make_unique<PsuSlotLife>( bench ); } );
}

} // namespace

} // namespace model
