#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::ElementsAre;
using testing::HasSubstr;

class ShowTest : public testing::Test {
  protected:
    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST_F( ShowTest, EveryKindHasATable ) {
    board_.add( "gpio", "line" );
    board_.add( "fan", "fan1" ).args = { { "maxRpm", "20000" } };
    board_.add( "gpio", "long-name" );
    state_.number = 1;
    const test::Outcome outcome = board_.run( "show" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    EXPECT_EQ( outcome.output, "gpio       value  driver  where\n"
                               "line       1      Dummy   bus 0, 0x20\n"
                               "long-name  1      Dummy   bus 0, 0x20\n"
                               "\n"
                               "fan   rpm  percent  stalled  driver  where\n"
                               "fan1  1    0        no       Dummy   bus 0, 0x20\n" );
    EXPECT_EQ( outcome.errors, "" );
}

TEST_F( ShowTest, CagesOfBothTypesShareATable ) {
    board_.add( "xcvr", "a", R"({"type":"sfp"})" ).args = { { "type", "sfp" } };
    board_.add( "xcvr", "b", R"({"type":"qsfp"})" ).args = { { "type", "qsfp" } };
    EXPECT_EQ( board_.run( "show" ).output,
               "xcvr  type  present  los  txfault  txdisable  reset  lpmode  modsel  interrupt  "
               "driver  where\n"
               "a     sfp   0        0    0        0          -      -       -       -          "
               "Dummy   bus 0, 0x20\n"
               "b     qsfp  0        -    -        -          0      0       0       0          "
               "Dummy   bus 0, 0x20\n" );
}

TEST_F( ShowTest, OnlyThoseNamedAreTouched ) {
    board_.add( "gpio", "a", R"({"did":1})" );
    board_.add( "gpio", "b", R"({"did":2})" );
    EXPECT_EQ( board_.run( "show b" ).output, "gpio  value  driver  where\n"
                                              "b     0      Dummy   bus 0, 0x20\n" );
    EXPECT_THAT( state_.calls,
                 ElementsAre( "pl_gpio_init []", R"(pl_gpio_add {"did":2})", "bit_read" ) );
}

TEST_F( ShowTest, WhatCouldNotBeAddedStaysInTheTable ) {
    board_.add( "gpio", "good" );
    board_.add( "gpio", "gone", R"({"name":"null"})" );
    board_.add( "gpio", "wild", R"({"name":"throw"})" );
    const test::Outcome outcome = board_.run( "show" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.output,
               "gpio  value  driver  where\n"
               "good  0      Dummy   bus 0, 0x20\n"
               "gone  -      Dummy   not added: pl_gpio_add answered null (the library's last "
               "trace: there is no such device)\n"
               "wild  -      Dummy   not added: pl_gpio_add threw fake::FakeNotImplemented: Not "
               "implemented newThing\n" );
}

TEST_F( ShowTest, FailingReadingsAreShownByTheirStatus ) {
    board_.add( "gpio", "line" );
    state_.status = PL_STATUS_TRANSPORT;
    const test::Outcome outcome = board_.run( "show" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    EXPECT_THAT( outcome.output, HasSubstr( "line  transport  Dummy" ) );
}

TEST_F( ShowTest, PolledDevicesAreReadAfterTheirFirstPoll ) {
    board_.add( "gpio", "line", R"({"name":"timer"})" );
    board_.run( "show" );
    EXPECT_EQ( state_.ticks, 1u );
}

TEST_F( ShowTest, AnUnknownNameIsBadInput ) {
    board_.add( "gpio", "line" );
    const test::Outcome outcome = board_.run( "show line lane" );
    EXPECT_EQ( outcome.code, ExitCode::BadInput );
    EXPECT_EQ( outcome.errors, "error: the board has no peripheral \"lane\"\n" );
    EXPECT_EQ( outcome.output, "" );
}

TEST_F( ShowTest, Json ) {
    board_.add( "fan", "fan1" ).args = { { "maxRpm", "20000" } };
    board_.add( "gpio", "gone", R"({"name":"null"})" );
    state_.number = 5000;
    EXPECT_EQ( board_.run( "show --json" ).output,
               R"([{"name":"fan1","kind":"fan","driver":"Dummy","where":"bus 0, 0x20","readings":{)"
               R"("rpm":{"status":"ok","value":5000,"unit":"rpm"},)"
               R"("percent":{"status":"ok","value":25,"unit":"%"},)"
               R"("stalled":{"status":"ok","value":"no"},)"
               R"("debug":{"status":"ok","value":null}}},)"
               R"({"name":"gone","kind":"gpio","driver":"Dummy","where":"bus 0, 0x20",)"
               R"j("failure":"pl_gpio_add answered null (the library's last trace: there is no )j"
               R"j(such device)"}])j"
               "\n" );
}

TEST_F( ShowTest, ABoardWithoutPeripheralsShowsNothing ) {
    EXPECT_EQ( board_.run( "show" ).output, "" );
    EXPECT_EQ( board_.run( "show --json" ).output, "[]\n" );
}

TEST_F( ShowTest, TheOrderOfTheNamesIsKept ) {
    board_.add( "gpio", "a" );
    board_.add( "gpio", "b" );
    EXPECT_EQ( board_.run( "show b a" ).output, "gpio  value  driver  where\n"
                                                "b     0      Dummy   bus 0, 0x20\n"
                                                "a     0      Dummy   bus 0, 0x20\n" );
}

TEST_F( ShowTest, KindsComeInTheirOwnOrder ) {
    board_.add( "system", "power" );
    board_.add( "smbus", "raw" );
    board_.add( "led", "light" );
    EXPECT_EQ( board_.run( "show" ).output, "led    setting  blinking  driver  where\n"
                                            "light  -        -         Dummy   bus 0, 0x20\n"
                                            "\n"
                                            "smbus  driver  where\n"
                                            "raw    Dummy   bus 0, 0x20\n"
                                            "\n"
                                            "system  reloadcause  driver  where\n"
                                            "power   watchdog     Dummy   bus 0, 0x20\n" );
}

TEST_F( ShowTest, ColumnsOfTheSecondCageStandBeforeThoseTheyShare ) {
    board_.add( "xcvr", "b", R"({"type":"qsfp"})" ).args = { { "type", "qsfp" } };
    board_.add( "xcvr", "a", R"({"type":"sfp"})" ).args = { { "type", "sfp" } };
    EXPECT_THAT( board_.run( "show" ).output,
                 testing::StartsWith( "xcvr  type  present  reset  lpmode  modsel  interrupt  los  "
                                      "txfault  txdisable  driver  where\n" ) );
}

TEST_F( ShowTest, TextOfADeviceCannotControlTheTerminal ) {
    board_.add( "slot", "bay" );
    state_.text = "a\x1b[2J\nb";
    EXPECT_THAT( board_.run( "show" ).output, HasSubstr( "bay   1        a\\x1b[2J\\nb  Dummy" ) );
}

TEST_F( ShowTest, WhatAReadingThrowsIsShownInItsPlace ) {
    board_.add( "gpio", "line" );
    state_.throwOnCall = true;
    const test::Outcome outcome = board_.run( "show" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    EXPECT_THAT( outcome.output,
                 HasSubstr( "threw fake::FakeNotImplemented: Not implemented bit_read" ) );
}

} // namespace
