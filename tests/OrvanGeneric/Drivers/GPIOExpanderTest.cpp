#include "OrvanGeneric/Drivers/GPIOExpander.h"

#include <gmock/gmock.h>

#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Drivers::GPIOExpander;
using testing::HasSubstr;
using testing::IsEmpty;
using Log = std::vector<std::string>;

/** Inputs from 0x10, outputs from 0x20, directions from 0x30; fresh for two seconds. */
class GPIOExpanderTest : public testing::Test {
  protected:
    GPIOExpanderTest() { use( expander_ ); }
    void use( GPIOExpander &expander ) { expander.hamIs( &ham_ ); }
    static Log read( const std::string &reg ) { return { "prepare", "read8 " + reg, "execute" }; }

    ScriptedHam ham_;
    GPIOExpander expander_{ 2, 2, 0x10, 0x20, 0x30 };
    FakeTime time_;
    FakeHost &host_ = FakeHost::instance();
    uint8_t byte_ = 0xee;
    bool bit_ = false;
};

TEST_F( GPIOExpanderTest, TheFirstInputReadGoesToTheChip ) {
    ham_.bytes[ 0x11 ] = 0xa5;
    EXPECT_EQ( expander_.getInBank( 1, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0xa5 );
    EXPECT_EQ( ham_.log, read( "0x11" ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getInBank( 1 ) = a5" } } ) );
}

TEST_F( GPIOExpanderTest, AnInputAsOldAsTheTimeoutIsStillFresh ) {
    FakeTime::now = 1000.75;
    ham_.bytes[ 0x10 ] = 0x01;
    expander_.getInBank( 0, &byte_ );
    ham_.takeLog();
    host_.traces.clear();
    ham_.bytes[ 0x10 ] = 0x02;
    FakeTime::now = 1002.75;
    EXPECT_EQ( expander_.getInBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x01 );
    EXPECT_THAT( ham_.log, IsEmpty() );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getInBank( 0 ) = 1" } } ) );
}

TEST_F( GPIOExpanderTest, AnInputOlderThanTheTimeoutIsReadAgain ) {
    FakeTime::now = 1000.75;
    ham_.bytes[ 0x10 ] = 0x01;
    expander_.getInBank( 0, &byte_ );
    ham_.takeLog();
    ham_.bytes[ 0x10 ] = 0x02;
    FakeTime::now = 1002.765625;
    EXPECT_EQ( expander_.getInBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x02 );
    EXPECT_EQ( ham_.log, read( "0x10" ) );
}

TEST_F( GPIOExpanderTest, TheAgeCountsFromTheLastReadOfTheChipNotOfTheCache ) {
    expander_.getInBank( 0, &byte_ );
    FakeTime::now = 1001.5;
    expander_.getInBank( 0, &byte_ );
    ham_.takeLog();
    FakeTime::now = 1002.5;
    expander_.getInBank( 0, &byte_ );
    EXPECT_EQ( ham_.log, read( "0x10" ) );
}

TEST_F( GPIOExpanderTest, BanksAgeOnTheirOwn ) {
    expander_.getInBank( 0, &byte_ );
    FakeTime::now = 1002;
    expander_.getInBank( 1, &byte_ );
    ham_.takeLog();
    FakeTime::now = 1003;
    expander_.getInBank( 0, &byte_ );
    expander_.getInBank( 1, &byte_ );
    EXPECT_EQ( ham_.log, read( "0x10" ) );
}

TEST_F( GPIOExpanderTest, WithATimeoutOfZeroAnyLaterReadGoesToTheChip ) {
    GPIOExpander always( 1, 0, 0x10, 0x20, 0x30 );
    use( always );
    always.getInBank( 0, &byte_ );
    always.getInBank( 0, &byte_ );
    EXPECT_EQ( ham_.takeLog(), read( "0x10" ) );
    FakeTime::now = 1000.0009765625;
    always.getInBank( 0, &byte_ );
    EXPECT_EQ( ham_.takeLog(), read( "0x10" ) );
}

TEST_F( GPIOExpanderTest, UntilTheClockPassesTheTimeoutAFreshExpanderReadsZero ) {
    FakeTime::now = 2;
    ham_.bytes[ 0x10 ] = 0xff;
    EXPECT_EQ( expander_.getInBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0 );
    EXPECT_THAT( ham_.log, IsEmpty() );
    FakeTime::now = 2.25;
    expander_.getInBank( 0, &byte_ );
    EXPECT_EQ( byte_, 0xff );
}

TEST_F( GPIOExpanderTest, AFailedInputReadIsTracedAndReturned ) {
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.getInBank( 1, &byte_ ), PL_STATUS_FAILED );
    EXPECT_EQ( byte_, 0xee );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: status 6 while reading input bank 1" } } ) );
    expander_.getInBank( 1, &byte_ );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read8 0x11", "execute", "prepare", "read8 0x11", "execute" } ) );
}

TEST_F( GPIOExpanderTest, AFailedInputReadLeavesCacheAndTimeAlone ) {
    ham_.bytes[ 0x10 ] = 0x5a;
    expander_.getInBank( 0, &byte_ );
    FakeTime::now = 1003;
    ham_.statuses = { 4 };
    EXPECT_EQ( expander_.getInBank( 0, &byte_ ), PL_STATUS_TRANSPORT );
    ham_.takeLog();
    // As seen from two seconds after the good read, its byte is still the fresh one.
    FakeTime::now = 1002;
    EXPECT_EQ( expander_.getInBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x5a );
    EXPECT_THAT( ham_.log, IsEmpty() );
}

TEST_F( GPIOExpanderTest, RegisterNumbersWrapAround ) {
    GPIOExpander high( 3, 2, 0xff, 0xfe, 0xfd );
    use( high );
    high.getInBank( 1, &byte_ );
    EXPECT_EQ( ham_.takeLog(), read( "0x00" ) );
    high.getOutBank( 2, &byte_ );
    EXPECT_EQ( ham_.takeLog(), read( "0x00" ) );
    EXPECT_EQ( high.outputBankAddr( 1 ), 0xff );
    EXPECT_EQ( high.outputBankAddr( 2 ), 0x00 );
    EXPECT_EQ( high.configBankAddr( 2 ), 0xff );
    EXPECT_EQ( high.configBankAddr( 3 ), 0x00 );
}

TEST_F( GPIOExpanderTest, AnOutputBankIsReadOnceAndKeptHoweverOld ) {
    ham_.bytes[ 0x20 ] = 0x3c;
    EXPECT_EQ( expander_.getOutBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x3c );
    ham_.bytes[ 0x20 ] = 0xff;
    FakeTime::now = 100000;
    byte_ = 0;
    EXPECT_EQ( expander_.getOutBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x3c );
    EXPECT_EQ( ham_.log, read( "0x20" ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getoutBank( 0 ) = 3c" },
                                       { 5, "GPIOExpander::getoutBank( 0 ) = 3c" } } ) );
}

TEST_F( GPIOExpanderTest, AFailedOutputReadIsTracedAndReturned ) {
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.getOutBank( 1, &byte_ ), PL_STATUS_FAILED );
    EXPECT_EQ( byte_, 0xee );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: status 6 while reading output bank 1" } } ) );
    ham_.takeLog();
    EXPECT_EQ( expander_.getOutBank( 1, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, read( "0x21" ) );
}

TEST_F( GPIOExpanderTest, ABankThatTheChipLacksAborts ) {
    EXPECT_DEATH( expander_.getInBank( 2, &byte_ ), HasSubstr( "`n < numBanks_'" ) );
    EXPECT_DEATH( expander_.getOutBank( 2, &byte_ ), HasSubstr( "`n < numBanks_'" ) );
    EXPECT_DEATH( expander_.readBit( 16, &bit_ ), HasSubstr( "`n < numBanks_'" ) );
    EXPECT_DEATH( expander_.writeBit( 16, true ), HasSubstr( "`n < numBanks_'" ) );
}

TEST_F( GPIOExpanderTest, ABitAboveSevenAborts ) {
    EXPECT_DEATH( expander_.readBit( 0, 8, &bit_ ), HasSubstr( "`bit <= 7'" ) );
    EXPECT_DEATH( expander_.writeBit( 0, 8, true ), HasSubstr( "`bit <= 7'" ) );
}

TEST_F( GPIOExpanderTest, ReadBitTakesTheBitOfTheInputBank ) {
    ham_.bytes[ 0x11 ] = 0x08;
    EXPECT_EQ( expander_.readBit( 1, 3, &bit_ ), PL_STATUS_OK );
    EXPECT_TRUE( bit_ );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getInBank( 1 ) = 8" },
                                       { 5, "GPIOExpander::readBit( 1, 3 ) = 1" } } ) );
    host_.traces.clear();
    EXPECT_EQ( expander_.readBit( 1, 4, &bit_ ), PL_STATUS_OK );
    EXPECT_FALSE( bit_ );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getInBank( 1 ) = 8" },
                                       { 5, "GPIOExpander::readBit( 1, 4 ) = 0" } } ) );
    EXPECT_EQ( ham_.log, read( "0x11" ) );
}

TEST_F( GPIOExpanderTest, AFailedReadBitIsTracedAndLeavesTheValueAlone ) {
    bit_ = true;
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.readBit( 1, 3, &bit_ ), PL_STATUS_FAILED );
    EXPECT_TRUE( bit_ );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: status 6 while reading input bank 1" },
                                       { 5, "Error 6: GPIOExpander::readBit( 1, 3 )" } } ) );
}

TEST_F( GPIOExpanderTest, PinsCountEightToABank ) {
    ham_.bytes[ 0x10 ] = 0x80;
    ham_.bytes[ 0x11 ] = 0x02;
    for ( const int pin : { 0, 6, 7, 8, 9, 10, 15 } ) {
        EXPECT_EQ( expander_.readBit( static_cast<uint8_t>( pin ), &bit_ ), PL_STATUS_OK );
        EXPECT_EQ( bit_, pin == 7 || pin == 9 ) << pin;
    }
    EXPECT_TRUE( host_.traced( 5, "GPIOExpander::readBit( 1, 1 ) = 1" ) );
    EXPECT_EQ( expander_.writeBit( 9, true ), PL_STATUS_OK );
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 0x21 ], 0x02 );
}

TEST_F( GPIOExpanderTest, WriteBitReadsTheChipsOutputAndWritesNothingYet ) {
    ham_.bytes[ 0x20 ] = 0xf0;
    EXPECT_EQ( expander_.writeBit( 0, 0, true ), PL_STATUS_OK );
    EXPECT_EQ( expander_.writeBit( 0, 7, false ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, read( "0x20" ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::getoutBank( 0 ) = f0" },
                                       { 5, "GPIOExpander::getoutBank( 0 ) = f1" } } ) );
    EXPECT_EQ( expander_.getOutBank( 0, &byte_ ), PL_STATUS_OK );
    EXPECT_EQ( byte_, 0x71 );
}

TEST_F( GPIOExpanderTest, AFailedWriteBitChangesNothing ) {
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.writeBit( 0, 0, true ), PL_STATUS_FAILED );
    ham_.takeLog();
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, Log{ "prepare" } );
}

TEST_F( GPIOExpanderTest, SaveWritesABankOnceHoweverOftenItChanged ) {
    ham_.bytes[ 0x20 ] = 0x80;
    expander_.writeBit( 0, 0, true );
    expander_.writeBit( 0, 1, true );
    ham_.takeLog();
    host_.traces.clear();
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x20 0x83", "execute" } ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 5, "GPIOExpander::save" },
                         { 5, " GPIOExpander::save -- writing output bank 0 = 131" } } ) );
}

TEST_F( GPIOExpanderTest, SaveWritesAllPendingBanksInOneBatchInAscendingOrder ) {
    GPIOExpander five( 5, 2, 0, 8, 24 );
    use( five );
    five.writeBit( 4, 0, true );
    five.writeBit( 0, 1, true );
    five.writeBit( 2, 2, true );
    ham_.takeLog();
    EXPECT_EQ( five.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x08 0x02", "write8 0x0a 0x04",
                                "write8 0x0c 0x01", "execute" } ) );
}

TEST_F( GPIOExpanderTest, SaveWritesABankThatWasOnlyRead ) {
    ham_.bytes[ 0x21 ] = 0xff;
    expander_.getOutBank( 1, &byte_ );
    ham_.takeLog();
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x21 0xff", "execute" } ) );
}

TEST_F( GPIOExpanderTest, AfterSaveAChangeStartsFromTheChip ) {
    expander_.writeBit( 0, 0, true );
    expander_.save();
    ham_.takeLog();
    ham_.bytes[ 0x20 ] = 0x40;
    expander_.writeBit( 0, 1, true );
    expander_.save();
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "execute", "prepare", "write8 0x20 0x42",
                                "execute" } ) );
}

TEST_F( GPIOExpanderTest, SaveWithNothingPendingExecutesNothing ) {
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, Log{ "prepare" } );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::save" } } ) );
}

TEST_F( GPIOExpanderTest, AFailedSaveIsTracedReturnedAndLosesThePendingBytes ) {
    expander_.writeBit( 1, 0, true );
    ham_.takeLog();
    host_.traces.clear();
    ham_.statuses = { 4 };
    EXPECT_EQ( expander_.save(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "GPIOExpander::save" },
                                       { 5, " GPIOExpander::save -- writing output bank 1 = 1" },
                                       { 0, "Error: status 4 writing to GPIOExpander" } } ) );
    ham_.takeLog();
    EXPECT_EQ( expander_.save(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, Log{ "prepare" } );
}

TEST_F( GPIOExpanderTest, WriteConfigWritesEveryBankInOneBatch ) {
    const uint8_t config[] = { 0xff, 0x0f };
    EXPECT_EQ( expander_.writeConfig( config ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x30 0xff", "write8 0x31 0x0f", "execute" } ) );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( GPIOExpanderTest, WriteConfigReturnsTheHamsStatusAndKeepsPendingOutputs ) {
    const uint8_t config[] = { 0, 0 };
    expander_.writeBit( 0, 3, true );
    ham_.statuses = { 6 };
    EXPECT_EQ( expander_.writeConfig( config ), PL_STATUS_FAILED );
    expander_.save();
    EXPECT_EQ( ham_.bytes[ 0x20 ], 0x08 );
}

TEST_F( GPIOExpanderTest, AnExpanderWithoutBanksHasNothingToReadOrSave ) {
    GPIOExpander none( 0, 2, 0x10, 0x20, 0x30 );
    use( none );
    EXPECT_EQ( none.save(), PL_STATUS_OK );
    EXPECT_EQ( none.writeConfig( nullptr ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "prepare", "execute" } ) );
    EXPECT_DEATH( none.getInBank( 0, &byte_ ), HasSubstr( "`n < numBanks_'" ) );
}

} // namespace
