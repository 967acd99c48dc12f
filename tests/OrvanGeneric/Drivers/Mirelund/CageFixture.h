/**
 * @file
 * The drivers of transceiver cages as data, and a fixture for what they have in common.
 */
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/core.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Xcvr.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace cages {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;
using Log = std::vector<std::string>;

/** A cage of either kind; the other pointer is null. */
struct Cage {
    std::unique_ptr<SfpXcvr> sfp;
    std::unique_ptr<QsfpXcvr> qsfp;

    int getPresence() { return sfp ? sfp->getPresence() : qsfp->getPresence(); }
    uint32_t recordId() { return sfp ? sfp->record()->id : qsfp->record()->id; }
};

/** A line that is read, and perhaps set, through the cage. */
struct Signal {
    const char *name;
    pl_status ( *get )( Cage &, int * );
    pl_status ( *set )( Cage &, int ); ///< null: only read
    bool activeLow = false;
};
template <auto operation, class Value>
pl_status onSfp( Cage &cage, Value value ) {
    return ( cage.sfp.get()->*operation )( value );
}
template <auto operation, class Value>
pl_status onQsfp( Cage &cage, Value value ) {
    return ( cage.qsfp.get()->*operation )( value );
}
inline constexpr Signal rxLos = { "RxLos", onSfp<&SfpXcvr::getRxLos>, nullptr };
inline constexpr Signal txFault = { "TxFault", onSfp<&SfpXcvr::getTxFault>, nullptr };
inline constexpr Signal txDisable = { "TxDisable", onSfp<&SfpXcvr::getTxDisable>,
                                      onSfp<&SfpXcvr::setTxDisable> };
inline constexpr Signal lpMode = { "LpMode", onQsfp<&QsfpXcvr::getLpMode>,
                                   onQsfp<&QsfpXcvr::setLpMode> };
inline constexpr Signal interrupt = { "Interrupt", onQsfp<&QsfpXcvr::getInterrupt>, nullptr, true };
inline constexpr Signal reset = { "Reset", onQsfp<&QsfpXcvr::getReset>, onQsfp<&QsfpXcvr::setReset>,
                                  true };

/** Where each line is in a cage's nibble: bits above its lowest. */
struct Nibble {
    bool isSfp;
    const char *operations; ///< between "get" or "set" and the line's name in traces
    unsigned presence;
    std::vector<std::pair<Signal, unsigned>> lines;
};
inline const Nibble cpldSfp = {
    true, "Sfp", 1, { { rxLos, 0 }, { txDisable, 2 }, { txFault, 3 } } };
inline const Nibble cpldQsfp = {
    false, "Qsfp", 1, { { lpMode, 0 }, { interrupt, 2 }, { reset, 3 } } };
inline const Nibble expanderSfp = {
    true, "", 0, { { rxLos, 1 }, { txDisable, 2 }, { txFault, 3 } } };
inline const Nibble expanderQsfp = {
    false, "", 2, { { reset, 0 }, { interrupt, 1 }, { lpMode, 3 } } };

/** The register of a cage's nibble, or its bank, and the nibble's lowest bit there. */
struct Position {
    unsigned place;
    unsigned bit;
};
inline const std::vector<Position> cpldPositions = {
    { 1, 12 }, { 1, 8 }, { 1, 4 }, { 1, 0 }, { 2, 12 }, { 2, 8 }, { 2, 4 }, { 2, 0 },
    { 3, 12 }, { 3, 8 }, { 3, 4 }, { 3, 0 }, { 4, 12 }, { 4, 8 }, { 4, 4 }, { 4, 0 },
};
inline const std::vector<Position> pca9698Positions = { { 0, 0 }, { 0, 4 }, { 1, 0 }, { 1, 4 },
                                                        { 2, 0 }, { 2, 4 }, { 3, 0 }, { 3, 4 } };
inline const std::vector<Position> pca9555Positions = { { 0, 0 }, { 0, 4 }, { 1, 0 }, { 1, 4 } };

/** What the cages are wired to. */
struct Chip {
    const char *driver; ///< as file and traces name it
    std::vector<Position> positions;
    bool isCpld;      ///< words, polled, read from memory; otherwise banks of pins, read when asked
    unsigned outputs; ///< an expander's first output register; inputs begin at 0
    bool tracesLine = false; ///< failures name the line's bit; otherwise the nibble's lowest
};
inline const Chip cpld = { "MirelundCPLD", cpldPositions, true, 0 };
inline const Chip pca9698 = { "MirelundPCA9698", pca9698Positions, false, 8, true };
inline const Chip pca9555 = { "MireSPCA9555", pca9555Positions, false, 2 };

/** A driver, and the numbers of the cages that it serves. */
struct CageDriver {
    const char *name;
    Component::HardwareDevice *( *create )( const Drivers::DriverArgs &, Ham::Ham * );
    const Chip &chip;
    const Nibble &nibble;
    unsigned firstId;
    unsigned lastId;
    const char *idAssertion;         ///< what a number beyond them breaks
    bool tracesIdWithinChip = false; ///< traces name the place on its chip, not the number
};
inline void PrintTo( const CageDriver &driver, std::ostream *out ) {
    *out << driver.name;
}

// clang-format off
inline const CageDriver onCpldSfp = { "CpldSfp", Drivers::MirelundQCPLD::create, cpld, cpldSfp,
                                      1, 48, "id >= 1 && id <= 48" };
inline const CageDriver onCpldQsfp = { "CpldQsfp", Drivers::MirelundQCPLD::create, cpld, cpldQsfp,
                                       1, 32, "id >= 1 && id <= 32", true };
inline const CageDriver onPca9698Sfp = { "Pca9698Sfp", Drivers::MirelundSFP::create, pca9698, expanderSfp,
                                         1, 48, "1 <= id && id <= 48" };
inline const CageDriver onPca9698YQsfp = { "Pca9698YQsfp", Drivers::MireYQSFP::create, pca9698, expanderQsfp,
                                           49, 56, "49 <= id && id <= 56" };
inline const CageDriver onPca9698ZQsfp = { "Pca9698ZQsfp", Drivers::MireZQSFP::create, pca9698, expanderQsfp,
                                           49, 56, "49 <= id && id <= 56" };
inline const CageDriver onPca9555Qsfp = { "Pca9555Qsfp", Drivers::MireSQSFP::create, pca9555, expanderQsfp,
                                          49, 54, "49 <= id && id <= 54" };
// clang-format on

/** A word as the bus has it: the CPLD sends its high byte first. */
constexpr uint16_t onTheBus( unsigned word ) {
    return static_cast<uint16_t>( ( word & 0xFF ) << 8 | word >> 8 );
}

/** A driver that has started, on a scripted Ham, and what was said and done so far forgotten. */
class CageFixture : public testing::TestWithParam<CageDriver> {
  protected:
    CageFixture() {
        // The small expander's directions; the others ask for no argument.
        args_.driverArgs = { { "bank-io-0", "102" }, { "bank-io-1", "98" } };
        device_.reset( driver_.create( args_, &ham_ ) );
        device_->hamIs( &ham_ );
        EXPECT_EQ( device_->init(), 0 );
        forget();
    }
    void forget() {
        ham_.takeLog();
        host_.traces.clear();
    }
    Cage cage( unsigned id ) {
        if ( driver_.nibble.isSfp ) {
            return { std::unique_ptr<SfpXcvr>( device_->newSfpXcvr( id, args_ ) ), nullptr };
        }
        return { nullptr, std::unique_ptr<QsfpXcvr>( device_->newQsfpXcvr( id, args_ ) ) };
    }
    Position positionOf( unsigned id ) const {
        return chip_.positions[ ( id - 1 ) % chip_.positions.size() ];
    }
    unsigned tracedId( unsigned id ) const {
        return driver_.tracesIdWithinChip ? ( id - 1 ) % chip_.positions.size() : id - 1;
    }
    /** All bits of the chip @p rest but for one nibble, outputs too, and the driver's memory of them old. */
    void setNibble( const Position &position, unsigned nibble, bool rest ) {
        for ( const Position &any : chip_.positions ) {
            hold( any.place, rest ? 0xFFFF : 0 );
        }
        const unsigned others = rest ? 0xFFFFu & ~( 0xFu << position.bit ) : 0;
        hold( position.place, others | nibble << position.bit );
        if ( chip_.isCpld ) {
            ASSERT_EQ( host_.fireAll(), 1 );
        } else {
            FakeTime::now += 10;
        }
        forget();
    }
    void hold( unsigned place, unsigned value ) {
        if ( chip_.isCpld ) {
            ham_.words[ place ] = onTheBus( value );
        } else {
            ham_.bytes[ place ] = ham_.bytes[ chip_.outputs + place ] =
                static_cast<uint8_t>( value );
        }
    }
    /** What the driver last wrote to the nibble's register, in the host's order. */
    unsigned written( const Position &position ) {
        return chip_.isCpld ? onTheBus( ham_.words[ position.place ] )
                            : ham_.bytes[ chip_.outputs + position.place ];
    }
    /** The bus operations of one write that makes the register @p value. */
    Log writing( const Position &position, unsigned value ) const {
        if ( chip_.isCpld ) {
            return { "prepare",
                     fmt::format( "write16 0x{:02x} 0x{:04x}", position.place, onTheBus( value ) ),
                     "execute" };
        }
        const unsigned output = chip_.outputs + position.place;
        return { "prepare",
                 fmt::format( "read8 0x{:02x}", output ),
                 "execute",
                 "prepare",
                 fmt::format( "write8 0x{:02x} 0x{:02x}", output, value ),
                 "execute" };
    }
    /** As far as that goes when its first transaction fails. */
    Log failingToWrite( const Position &position, unsigned value ) const {
        const Log whole = writing( position, value );
        return { whole.begin(), whole.begin() + 3 };
    }
    /** The pins of an expander follow its outputs. */
    void letPinsFollow( const Position &position ) {
        if ( !chip_.isCpld ) {
            ham_.bytes[ position.place ] = ham_.bytes[ chip_.outputs + position.place ];
            FakeTime::now += 10;
        }
    }
    /** The last line of a failed access, @p what, to a line of a cage on an expander. */
    std::string failure( const char *what, const Position &position, unsigned offset ) const {
        return fmt::format( "{} {} failed on Bank {} Bit {}!", chip_.driver, what, position.place,
                            position.bit + ( chip_.tracesLine ? offset : 0 ) );
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    const CageDriver &driver_ = GetParam();
    const Chip &chip_ = driver_.chip;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

} // namespace cages
