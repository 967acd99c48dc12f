#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::Contains;
using testing::ElementsAre;

class GetSetTest : public testing::Test {
  protected:
    GetSetTest() {
        board_.add( "gpio", "line" );
        board_.add( "fan", "fan1" ).args = { { "maxRpm", "20000" } };
        board_.add( "led", "light" );
        board_.add( "smbus", "raw" );
    }
    void expectBadInput( const std::string &line, const std::string &message ) {
        const test::Outcome outcome = board_.run( line );
        EXPECT_EQ( outcome.code, ExitCode::BadInput );
        EXPECT_EQ( outcome.errors, "error: " + message + "\n" );
        EXPECT_EQ( outcome.output, "" );
    }
    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST_F( GetSetTest, TheOnlyReadingNeedsNoName ) {
    state_.number = 1;
    EXPECT_EQ( board_.run( "get line" ).output, "1\n" );
    EXPECT_EQ( board_.run( "get line value" ).output, "1\n" );
}

TEST_F( GetSetTest, SeveralReadingsComeWithNamesAndUnits ) {
    state_.number = 5000;
    const test::Outcome all = board_.run( "get fan1" );
    EXPECT_EQ( all.output, "rpm 5000 rpm\npercent 25 %\nstalled no\ndebug -\n" );
    EXPECT_EQ( all.code, ExitCode::Ok );
    EXPECT_EQ( board_.run( "get fan1 percent" ).output, "25 %\n" );
}

TEST_F( GetSetTest, AFailedReadingFailsTheRun ) {
    state_.status = PL_STATUS_NOT_PRESENT;
    const test::Outcome outcome = board_.run( "get line" );
    EXPECT_EQ( outcome.output, "not present\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
}

TEST_F( GetSetTest, GetJson ) {
    state_.number = 5000;
    EXPECT_EQ( board_.run( "get fan1 rpm --json" ).output,
               R"({"rpm":{"status":"ok","value":5000,"unit":"rpm"}})"
               "\n" );
    state_.throwOnCall = true;
    EXPECT_EQ( board_.run( "get line --json" ).output,
               R"({"value":{"status":"failed","error":"fake::FakeNotImplemented: Not implemented )"
               R"(bit_read"}})"
               "\n" );
}

TEST_F( GetSetTest, AReadingThatIsNotThereIsNamedWithThoseThatAre ) {
    expectBadInput( "get fan1 speed", "fan1 has no reading \"speed\"; a fan has: rpm, percent, "
                                      "stalled, debug" );
    expectBadInput( "get fan2", "the board has no peripheral \"fan2\"" );
}

TEST_F( GetSetTest, SetCallsTheLibrary ) {
    EXPECT_EQ( board_.run( "set line on" ).code, ExitCode::Ok );
    EXPECT_EQ( board_.run( "set fan1 rpm 50%" ).code, ExitCode::Ok );
    EXPECT_EQ( board_.run( "set light beacon" ).code, ExitCode::Ok );
    EXPECT_THAT( state_.calls, Contains( "bit_set" ) );
    EXPECT_THAT( state_.calls, Contains( "set_rpm 10000" ) );
    EXPECT_THAT( state_.calls, Contains( "set_light_setting 6" ) );
}

TEST_F( GetSetTest, AnLedShowsWhatThisRunLastSet ) {
    EXPECT_EQ( board_.shell( "set light good\nget light\n" ).output,
               "setting good\nblinking no\n" );
    state_.status = PL_STATUS_INVALID;
    const test::Outcome outcome = board_.run( "set light inactive" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "light: invalid\n" );
    state_.status = PL_STATUS_OK;
    EXPECT_EQ( board_.run( "get light setting" ).output, "-\n" ) << "what it shows is not known";
}

TEST_F( GetSetTest, SetNamesWhatCanBeSet ) {
    expectBadInput( "set fan1 9000", "fan1, a fan, is set with: set fan1 rpm (revolutions per "
                                     "minute, or 0% to 100%)" );
    expectBadInput( "set line value on", "line, a gpio, is set with: set line (on, off, 1 or 0)" );
    expectBadInput( "set raw 1", "nothing can be set on raw, a smbus" );
    expectBadInput( "set line up",
                    "a GPIO line cannot be set to \"up\"; expected on, off, 1 or 0" );
}

TEST_F( GetSetTest, WhatASettingThrowsIsAFailure ) {
    state_.throwOnCall = true;
    const test::Outcome outcome = board_.run( "set line on" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "error: the library threw fake::FakeNotImplemented: Not "
                               "implemented bit_set\n" );
}

TEST_F( GetSetTest, ExpectComparesAsShown ) {
    state_.number = 5000;
    EXPECT_EQ( board_.run( "expect fan1 rpm 5000" ).code, ExitCode::Ok );
    EXPECT_EQ( board_.run( "expect line 5000" ).code, ExitCode::Ok );
    const test::Outcome outcome = board_.run( "expect fan1 stalled yes" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "fan1 stalled is no, expected yes\n" );
    state_.status = PL_STATUS_FAULT;
    EXPECT_EQ( board_.run( "expect fan1 rpm fault" ).code, ExitCode::Ok );
}

TEST_F( GetSetTest, AKindWithoutReadingsReadsNothing ) {
    const test::Outcome outcome = board_.run( "get raw" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    EXPECT_EQ( outcome.output, "" );
    EXPECT_EQ( board_.run( "get raw --json" ).output, "{}\n" );
    expectBadInput( "get raw value", "raw has no reading \"value\"; a smbus has: none" );
}

TEST_F( GetSetTest, TextOfADeviceCannotControlTheTerminal ) {
    state_.text = "\x1b[2J\n";
    EXPECT_EQ( board_.run( "get fan1 debug" ).output, "\\x1b[2J\\n\n" );
    EXPECT_EQ( board_.run( "expect fan1 debug \\x1b[2J\\n" ).code, ExitCode::Ok );
}

TEST_F( GetSetTest, AFailedReadingHasNoUnit ) {
    state_.status = PL_STATUS_FAULT;
    const test::Outcome outcome = board_.run( "get fan1" );
    EXPECT_EQ( outcome.output, "rpm fault\npercent fault\nstalled yes\ndebug fault\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
}

TEST_F( GetSetTest, OneFailedReadingOfSeveralFailsTheRun ) {
    state_.status = PL_STATUS_FAULT;
    EXPECT_EQ( board_.run( "get fan1 stalled" ).code, ExitCode::Ok ) << "a stall is an answer";
    const test::Outcome outcome = board_.run( "get fan1 --json" );
    EXPECT_EQ( outcome.output, R"({"rpm":{"status":"fault","unit":"rpm"},)"
                               R"("percent":{"status":"fault","unit":"%"},)"
                               R"("stalled":{"status":"ok","value":"yes"},)"
                               R"("debug":{"status":"fault"}})"
                               "\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
}

TEST_F( GetSetTest, AReadingWithoutAValueHasNoUnit ) {
    board_.add( "fan", "fan2" ); // no maximum speed
    EXPECT_EQ( board_.run( "get fan2 percent" ).output, "-\n" );
}

TEST_F( GetSetTest, SetTakesItsWordsAndNoMore ) {
    expectBadInput( "set line on off", "line, a gpio, is set with: set line (on, off, 1 or 0)" );
    expectBadInput( "set fan1 rpm 1 2", "fan1, a fan, is set with: set fan1 rpm (revolutions per "
                                        "minute, or 0% to 100%)" );
    EXPECT_EQ( board_.run( "set line" ).code, ExitCode::BadInput );
    EXPECT_THAT( state_.calls, testing::Not( Contains( "bit_set" ) ) );
}

TEST_F( GetSetTest, ExpectNamesAReadingThatIsNotThere ) {
    expectBadInput( "expect fan1 5000", "fan1 has no reading \"\"; a fan has: rpm, percent, "
                                        "stalled, debug" );
    expectBadInput( "expect line level 1", "line has no reading \"level\"; a gpio has: value" );
    EXPECT_EQ( board_.run( "expect line value 1 2" ).code, ExitCode::BadInput );
}

TEST_F( GetSetTest, ExpectTakesWhatTheLibraryThrows ) {
    state_.throwOnCall = true;
    const test::Outcome outcome = board_.run( "expect line 1" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "line value is threw fake::FakeNotImplemented: Not implemented "
                               "bit_read, expected 1\n" );
}

} // namespace
