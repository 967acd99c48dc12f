#include "smbusd/emulation/Chip.h"

#include <gtest/gtest.h>

#include "tests/support/ManualScheduler.h"

namespace {

using smbusd::ChipError;
using smbusd::InputInfo;
using smbusd::LogLevel;
using smbusd::RegisterContent;

class NoPower : public smbusd::PowerControl {
  public:
    void powerOff() override {}
    void powerCycle() override {}
};

/** A chip that offers nothing but what every chip has. */
class BareChip : public smbusd::Chip {
  public:
    using smbusd::Chip::Chip;
    using smbusd::Chip::lineLevel;
    using smbusd::Chip::misuse;
    using smbusd::Chip::numberFor;

    bool start( bool ) override { return true; }
    bool write( uint8_t ) override { return true; }
    uint8_t read() override { return 0; }
    void reset() override { resets++; }
    std::vector<InputInfo> inputs() const override { return inputs_; }
    std::vector<InputInfo> outputs() const override { return outputs_; }

    int resets = 0;
    std::vector<InputInfo> inputs_;
    std::vector<InputInfo> outputs_;
};

class Chip : public testing::Test {
  protected:
    template <typename Action>
    static std::string errorOf( Action action ) {
        try {
            action();
        } catch ( const ChipError &error ) {
            return error.what();
        }
        return "no error";
    }

    std::vector<std::string> lines;
    test::ManualScheduler scheduler;
    smbusd::Log log{ LogLevel::Warning,
                     [ this ]( LogLevel, const std::string &line ) { lines.push_back( line ); } };
    NoPower power;
    BareChip chip{ { "c", "bare", 0x40, scheduler, log, power } };
};

TEST_F( Chip, ListensToItsAddressAlone ) {
    EXPECT_TRUE( chip.listensTo( 0x40 ) );
    EXPECT_FALSE( chip.listensTo( 0x41 ) );
    EXPECT_EQ( chip.mux(), nullptr );
}

TEST_F( Chip, StartsAnewOnlyWhenItIsPluggedInAgain ) {
    EXPECT_TRUE( chip.plugged() );
    chip.plug( true );
    EXPECT_EQ( chip.resets, 0 );
    chip.plug( false );
    EXPECT_EQ( chip.resets, 0 );
    EXPECT_FALSE( chip.plugged() );
    chip.plug( true );
    EXPECT_EQ( chip.resets, 1 );
}

TEST_F( Chip, NamesWhatItDoesNotHave ) {
    EXPECT_EQ( errorOf( [ & ] { chip.peek( 5 ); } ), "bare \"c\" has no register 0x05" );
    EXPECT_EQ( errorOf( [ & ] { chip.poke( 0x123, uint32_t{ 0 } ); } ),
               "bare \"c\" has no register 0x123" );
    EXPECT_EQ( errorOf( [ & ] { chip.setInput( "x", 1 ); } ),
               "bare \"c\" has no input \"x\"; it has none" );
    EXPECT_EQ( errorOf( [ & ] { chip.output( "x" ); } ),
               "bare \"c\" has no output \"x\"; it has none" );
    chip.inputs_ = { { "a", 0 }, { "b", 1 } };
    chip.outputs_ = { { "y", 2 }, { "z", 3 } };
    EXPECT_EQ( errorOf( [ & ] { chip.setInput( "x", 1 ); } ),
               "bare \"c\" has no input \"x\"; it has a, b" );
    EXPECT_EQ( errorOf( [ & ] { chip.output( "x" ); } ),
               "bare \"c\" has no output \"x\"; it has y, z" );
    EXPECT_EQ( chip.output( "z" ), 3 );
}

TEST_F( Chip, ALineIsZeroOrOne ) {
    EXPECT_FALSE( chip.lineLevel( "p", 0 ) );
    EXPECT_TRUE( chip.lineLevel( "p", 1 ) );
    EXPECT_EQ( errorOf( [ & ] { chip.lineLevel( "p", 0.5 ); } ),
               "input \"p\" of bare \"c\" is a line: 0 or 1, not 0.5" );
    EXPECT_EQ( errorOf( [ & ] { chip.lineLevel( "p", -1 ); } ),
               "input \"p\" of bare \"c\" is a line: 0 or 1, not -1" );
}

TEST_F( Chip, ANumberFitsItsRegister ) {
    EXPECT_EQ( chip.numberFor( 1, uint32_t{ 0xFF }, 1 ), 0xFFu );
    EXPECT_EQ( chip.numberFor( 1, uint32_t{ 0xFFFFFFFF }, 4 ), 0xFFFFFFFFu );
    EXPECT_EQ( errorOf( [ & ] { chip.numberFor( 1, uint32_t{ 0x100 }, 1 ); } ),
               "register 0x01 of bare \"c\" has 8 bits; 0x100 does not fit" );
    EXPECT_EQ( errorOf( [ & ] { chip.numberFor( 1, uint32_t{ 0x10000 }, 2 ); } ),
               "register 0x01 of bare \"c\" has 16 bits; 0x10000 does not fit" );
    EXPECT_EQ( errorOf( [ & ] { chip.numberFor( 1, std::vector<uint8_t>{ 1 }, 1 ); } ),
               "register 0x01 of bare \"c\" is a number, not a block" );
}

TEST_F( Chip, MisuseIsLoggedAndCounted ) {
    chip.misuse( "used wrongly" );
    EXPECT_EQ( lines, ( std::vector<std::string>{ "bare \"c\": used wrongly" } ) );
    EXPECT_EQ( chip.counters.errors, 1u );
}

} // namespace
