#include "OrvanGeneric/Drivers/Helpers.h"

#include <cstdio>
#include <ctime>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Drivers/Drivers.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Ham/Hams.h"
#include "OrvanGeneric/TopologyVisitor.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/TracesOnAbort.h"

namespace {

using Drivers::FormatFdl;

// FormatFdl

TEST( FormatFdl, EveryPlaceholderOfTheKeyIsReplaced ) {
    FormatFdl fdl( "{serialNum}/{serialNum}" );
    fdl.start();
    EXPECT_TRUE( fdl.set( "serialNum", "A1" ) );
    EXPECT_EQ( fdl.str(), "A1/A1" );
}

TEST( FormatFdl, EachFillStartsFromTheTemplate ) {
    FormatFdl fdl( "{modelName} {serialNum}" );
    fdl.start();
    fdl.set( "modelName", "first" );
    fdl.set( "serialNum", "1" );
    EXPECT_EQ( fdl.str(), "first 1" );
    fdl.start();
    fdl.set( "modelName", "second" );
    EXPECT_EQ( fdl.str(), "second {serialNum}" );
}

TEST( FormatFdl, StartForgetsAnUnfinishedFill ) {
    FormatFdl fdl( "{modelName}" );
    fdl.start();
    fdl.set( "modelName", "first" );
    fdl.start();
    fdl.set( "modelName", "second" );
    EXPECT_EQ( fdl.str(), "second" );
}

TEST( FormatFdl, ReplacedTextIsSearchedAgain ) {
    FormatFdl fdl( "{a}}" );
    fdl.start();
    fdl.set( "a", "{a" );
    // "{a" and the brace that followed make a placeholder once more; that one is replaced, too.
    EXPECT_EQ( fdl.str(), "{a" );
}

TEST( FormatFdl, BracesThatAreNoPlaceholderOfTheKeyStay ) {
    FormatFdl fdl( "{\"model\": \"{modelName}\", \"{other}\": 1}" );
    fdl.start();
    fdl.set( "modelName", "Fan" );
    EXPECT_EQ( fdl.str(), "{\"model\": \"Fan\", \"{other}\": 1}" );
}

TEST( FormatFdl, ValueMayBeEmpty ) {
    FormatFdl fdl( "[{modelName}]" );
    fdl.start();
    fdl.set( "modelName", "" );
    EXPECT_EQ( fdl.str(), "[]" );
}

TEST( FormatFdl, CharPtrGivesTheTextAndEndsTheFill ) {
    FormatFdl fdl( "{modelName}!" );
    fdl.start();
    fdl.set( "modelName", "Fan" );
    const char *text = fdl.charPtr();
    EXPECT_STREQ( text, "Fan!" );
    EXPECT_DEATH( fdl.charPtr(), "active_ && \"FormatFdl: Must call start\\(\\) before "
                                 "charPtr\\(\\)\"" );
    EXPECT_STREQ( text, "Fan!" );
}

TEST( FormatFdl, SetTracesKeyAndValue ) {
    FormatFdl fdl( "{modelName}" );
    fdl.start();
    fdl.set( "modelName", "Fan" );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 5, "FormatFdl::set( 'modelName', 'Fan' )" } } ) );
}

TEST( FormatFdl, UnknownKeyAborts ) {
    FormatFdl fdl( "{serialNum}" );
    fdl.start();
    EXPECT_DEATH( fdl.set( "modelName", "Fan" ), "0 && \"Invalid key in FormatFdl::set\"" );
}

TEST( FormatFdl, KeyThatIsAllReplacedIsUnknown ) {
    FormatFdl fdl( "{modelName}" );
    fdl.start();
    fdl.set( "modelName", "Fan" );
    EXPECT_DEATH( fdl.set( "modelName", "Fan" ), "0 && \"Invalid key in FormatFdl::set\"" );
}

TEST( FormatFdl, UnknownKeyIsTracedWithItsBraces ) {
    FormatFdl fdl( "{serialNum}" );
    fdl.start();
    EXPECT_DEATH(
        {
            const TracesOnAbort traces;
            fdl.set( "modelName", "Fan" );
        },
        "trace 5: FormatFdl::set\\( 'modelName', 'Fan' \\)\n"
        "trace 0: Error: FormatFdl::set -- invalid key '.modelName.'\n" );
}

TEST( FormatFdl, SetBeforeStartAborts ) {
    FormatFdl fdl( "{modelName}" );
    EXPECT_DEATH( fdl.set( "modelName", "Fan" ),
                  "active_ && \"FormatFdl: Must call start\\(\\) before set\\(...\\)\"" );
}

TEST( FormatFdl, StrBeforeStartAndASecondStrAbort ) {
    FormatFdl fdl( "text" );
    const char *message = "active_ && \"FormatFdl: Must call start\\(\\) before str\\(\\)\"";
    EXPECT_DEATH( fdl.str(), message );
    fdl.start();
    fdl.str();
    EXPECT_DEATH( fdl.str(), message );
}

TEST( FormatFdl, CharPtrAfterStrAborts ) {
    FormatFdl fdl( "text" );
    fdl.start();
    fdl.str();
    EXPECT_DEATH( fdl.charPtr(), "before charPtr" );
}

// runCmd: with real commands, as nothing else shows how the shell and timeout(1) answer.

constexpr unsigned ample = 30; // seconds

TEST( RunCmd, CollectsStandardOutput ) {
    std::string output = "old";
    EXPECT_EQ( Drivers::runCmd( "echo hi", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "hi\n" );
}

TEST( RunCmd, StandardErrorIsNotCollected ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo hi >&2' 2>/dev/null", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, TheShellInterpretsTheCommand ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "echo hi | tr h j; echo there", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "ji\nthere\n" );
}

TEST( RunCmd, LinesLongerThanItsBufferArriveWhole ) {
    for ( const unsigned length : { 126, 127, 128, 129, 254, 255, 1000 } ) {
        const std::string digits( length, '7' );
        std::string output;
        EXPECT_EQ( Drivers::runCmd( ( "echo " + digits + "; echo end" ).c_str(), output, ample ),
                   PL_STATUS_OK );
        EXPECT_EQ( output, digits + "\nend\n" ) << length;
    }
}

TEST( RunCmd, OutputWithoutANewlineAtItsEndIsWhole ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "printf 'one\\ntwo'", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "one\ntwo" );
}

TEST( RunCmd, ExitCodesTellTheStatus ) {
    const struct {
        const char *command;
        pl_status status;
    } cases[] = {
        { "true", PL_STATUS_OK },
        { "false", PL_STATUS_FAILED },
        { "sh -c 'exit 2'", PL_STATUS_FAILED },
        { "sh -c 'exit 123'", PL_STATUS_FAILED },
        { "sh -c 'exit 124'", PL_STATUS_TRANSPORT },
        { "sh -c 'exit 125'", PL_STATUS_FAILED },
        { "sh -c 'exit 255'", PL_STATUS_FAILED },
        { "/nonexistent/command 2>/dev/null", PL_STATUS_FAILED },
    };
    for ( const auto &[ command, status ] : cases ) {
        std::string output = "old";
        EXPECT_EQ( Drivers::runCmd( command, output, ample ), status ) << command;
        EXPECT_EQ( output, "" ) << command;
    }
}

TEST( RunCmd, FailingCommandsOutputIsKept ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; exit 3'", output, ample ), PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, CommandEndedByASignalFails ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; kill -TERM $$'", output, ample ),
               PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, ShellEndedByASignalFails ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "echo part; kill -KILL $$", output, ample ), PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, TimeLimitStrikes ) {
    std::string output;
    timespec before, after;
    clock_gettime( CLOCK_MONOTONIC, &before );
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; sleep 50'", output, 1 ), PL_STATUS_TRANSPORT );
    clock_gettime( CLOCK_MONOTONIC, &after );
    EXPECT_EQ( output, "part\n" );
    // Less than the command itself would take; how much longer than the limit is up to the machine.
    EXPECT_GE( after.tv_sec - before.tv_sec, 1 );
    EXPECT_LT( after.tv_sec - before.tv_sec, 40 );
}

TEST( RunCmd, NullCommandFails ) {
    std::string output = "old";
    const int standardError = dup( STDERR_FILENO );
    std::freopen( "/dev/null", "w", stderr ); // where timeout(1) would tell its usage
    EXPECT_EQ( Drivers::runCmd( nullptr, output, ample ), PL_STATUS_FAILED );
    dup2( standardError, STDERR_FILENO );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, CommandThatCannotBeStartedFails ) {
    rlimit files;
    getrlimit( RLIMIT_NOFILE, &files );
    const rlimit none = { 0, files.rlim_max };
    setrlimit( RLIMIT_NOFILE, &none );
    std::string output = "old";
    EXPECT_EQ( Drivers::runCmd( "echo hi", output, ample ), PL_STATUS_FAILED );
    setrlimit( RLIMIT_NOFILE, &files );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, OutputBeyondTheMemoryEndsTheCommandAndFails ) {
    std::string output;
    const AllocationFailure failure( 1u << 20 );
    EXPECT_EQ( Drivers::runCmd( "yes", output, ample ), PL_STATUS_FAILED );
    EXPECT_TRUE( failure.happened() );
    EXPECT_EQ( output.substr( 0, 6 ), "y\ny\ny\n" );
}

// shellQuote

TEST( ShellQuote, QuotesTheWordAndItsQuotes ) {
    EXPECT_EQ( Drivers::shellQuote( "psu1" ), "'psu1'" );
    EXPECT_EQ( Drivers::shellQuote( "" ), "''" );
    EXPECT_EQ( Drivers::shellQuote( "it's" ), "'it'\\''s'" );
    EXPECT_EQ( Drivers::shellQuote( std::string( "a\0b", 3 ) ), "'ab'" );
}

TEST( ShellQuote, TheShellGivesBackTheVeryText ) {
    const std::string texts[] = {
        "",          "a b",      "'",         "''; echo pwned; '",
        "$(echo x)", "`echo x`", "$HOME \\",  "\"quoted\" *",
        "\t\n x\n",  "-n",       "# & | > <", "\xC3\xA9",
    };
    for ( const std::string &text : texts ) {
        std::string output;
        EXPECT_EQ( Drivers::runCmd( ( "printf %s: " + Drivers::shellQuote( text ) ).c_str(), output,
                                    ample ),
                   PL_STATUS_OK );
        EXPECT_EQ( output, text + ":" );
    }
}

// trim

TEST( Trim, TakesSpacesAndTabsOffBothEnds ) {
    EXPECT_EQ( Drivers::trim( " \tab c\t " ), "ab c" );
    EXPECT_EQ( Drivers::trim( "abc" ), "abc" );
    EXPECT_EQ( Drivers::trim( "x " ), "x" );
    EXPECT_EQ( Drivers::trim( "\tx" ), "x" );
    EXPECT_EQ( Drivers::trim( "" ), "" );
    EXPECT_EQ( Drivers::trim( " \t \t" ), "" );
}

TEST( Trim, OtherWhiteSpaceStays ) {
    EXPECT_EQ( Drivers::trim( " a\n" ), "a\n" );
    EXPECT_EQ( Drivers::trim( "\r\n" ), "\r\n" );
    EXPECT_EQ( Drivers::trim( std::string( " \0 ", 3 ) ), std::string( 1, '\0' ) );
}

// zeroChecksum

TEST( ZeroChecksum, TellsWhetherTheBytesAddUpToZero ) {
    const struct {
        std::string data;
        bool zero;
    } cases[] = {
        { std::string( "\x01\x00\x00\x01\x00\x00\x00\xFE", 8 ), true },
        { std::string( "\x01\x00\x00\x01\x00\x00\x00\xFF", 8 ), false },
        { "", true },
        { std::string( 1, '\0' ), true },
        { "\x01", false },
        { "\x80\x80", true },
        { std::string( 256, '\x01' ), true },
        { std::string( 255, '\x01' ), false },
    };
    for ( const auto &[ data, zero ] : cases ) {
        EXPECT_EQ( Drivers::zeroChecksum( data ), zero ) << testing::PrintToString( data );
    }
}

// Devices of the topology

class DeviceByLabel : public testing::Test {
  protected:
    /** The devices' Ham, of the kind "Scripted". */
    inline static ScriptedHam ham_;

    DeviceByLabel() {
        Utils::isInSimulation = 0;
        Ham::hams[ "Scripted" ] = []( const Topology::Topology &, const Drivers::DriverArgs & ) {
            return &ham_;
        };
    }

    static void load( const std::string &devices ) {
        ASSERT_EQ( Topology::loadTopology( ( "[ { \"type\": \"I2C\", \"id\": 0, \"ham\": "
                                             "\"Scripted\", \"devices\": [ " +
                                             devices + " ] } ]" )
                                               .c_str() ),
                   PL_STATUS_OK );
    }
};

const char unnamedDriver[] =
    R"({ "did": 7, "label": "PSoC", "driver": "", "address": { "address": 16 } })";

TEST_F( DeviceByLabel, MakesTheInstanceOnce ) {
    load( R"({ "did": 7, "label": "PSoC", "driver": "Dummy", "address": { "address": 16 } })" );
    const std::unique_ptr<Component::HardwareDevice> device(
        Drivers::getHardwareDeviceByLabel( "PSoC", "PCA9548" ) );
    EXPECT_NE( dynamic_cast<Drivers::Dummy *>( device.get() ), nullptr );
    EXPECT_EQ( device->ham(), &ham_ );
    EXPECT_EQ( Drivers::getHardwareDeviceByLabel( "PSoC", "PCA9548" ), device.get() );
}

TEST_F( DeviceByLabel, TakesTheInstanceThatTheDeviceHas ) {
    load( unnamedDriver );
    Drivers::Dummy existing;
    Component::DeviceBase::devices[ 7 ] = &existing;
    EXPECT_EQ( Drivers::getHardwareDeviceByLabel( "PSoC", "PCA9548" ), &existing );
}

TEST_F( DeviceByLabel, DeviceWithoutADriverGetsTheGivenOneAndKeepsIt ) {
    load( unnamedDriver );
    const std::unique_ptr<Component::HardwareDevice> device(
        Drivers::getHardwareDeviceByLabel( "PSoC", "Dummy" ) );
    EXPECT_NE( dynamic_cast<Drivers::Dummy *>( device.get() ), nullptr );
    EXPECT_EQ( Topology::findDevice( 7 )->args->driver, "Dummy" );
    Drivers::getHardwareDeviceByLabel( "PSoC", "PCA9548" );
    EXPECT_EQ( Topology::findDevice( 7 )->args->driver, "Dummy" );
}

TEST_F( DeviceByLabel, UnknownLabelAborts ) {
    load( unnamedDriver );
    EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "nothing", "Dummy" ),
                  "Assertion `device' failed" );
}

TEST_F( DeviceByLabel, UnknownLabelIsTraced ) {
    load( unnamedDriver );
    EXPECT_DEATH(
        {
            const TracesOnAbort traces;
            Drivers::getHardwareDeviceByLabel( "nothing", "Dummy" );
        },
        "trace 0: Unable to locate device nothing\n" );
}

TEST_F( DeviceByLabel, LabelOfABusAborts ) {
    ASSERT_EQ( Topology::loadTopology(
                   R"([ { "type": "I2C", "id": 0, "ham": "Scripted", "label": "bus" } ])" ),
               PL_STATUS_OK );
    EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "bus", "Dummy" ),
                  "Assertion `device' failed" );
}

TEST_F( DeviceByLabel, DeviceWithoutArgumentsCountsAsNotLocated ) {
    load( R"({ "did": 7, "label": "PSoC" })" );
    EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "PSoC", "Dummy" ),
                  "Assertion `device' failed" );
}

TEST_F( DeviceByLabel, DeviceThatCannotBeMadeAborts ) {
    load( unnamedDriver );
    EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "PSoC", "NoSuchDriver" ),
                  "Assertion `dev' failed" );
}

TEST_F( DeviceByLabel, ComposedDeviceAborts ) {
    load( unnamedDriver );
    struct Composed : Component::DeviceBase {
    } composed;
    Component::DeviceBase::devices[ 7 ] = &composed;
    EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "PSoC", "Dummy" ), "Assertion `dev' failed" );
}

TEST_F( DeviceByLabel, RegisterBitOfADeviceIsAGpio ) {
    Drivers::Dummy device;
    device.hamIs( &ham_ );
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio(
        Drivers::getRegGpioForDevice( &device, 10, 1 ) );
    ham_.bytes[ 10 ] = 0x02;
    unsigned int value = 9;
    EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
    EXPECT_EQ( ham_.log, ( std::vector<std::string>{ "prepare", "read8 0x0a", "execute" } ) );
}

TEST_F( DeviceByLabel, RegisterBitOfALabelledDeviceWithoutADriverIsADummysGpio ) {
    load( unnamedDriver );
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio(
        Drivers::getRegGpioForDevice( "PSoC", 8, 0 ) );
    const std::unique_ptr<Component::DeviceBase> device( Component::DeviceBase::devices.at( 7 ) );
    EXPECT_NE( dynamic_cast<Drivers::Dummy *>( device.get() ), nullptr );
    gpio->writeOnly = true;
    ham_.takeLog();
    EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( std::vector<std::string>{ "prepare", "write8 0x08 0x01", "execute" } ) );
}

/** Keeps the arguments that it is asked for a GPIO with. */
struct AskedDevice : Component::HardwareDevice {
    Component::LogicalDevice::Gpio *newGpio( const Drivers::DriverArgs &args ) override {
        asked = args.driverArgs;
        return answer;
    }
    std::map<std::string, std::string> asked;
    Component::LogicalDevice::Gpio *answer = nullptr;
};

TEST_F( DeviceByLabel, TheDevicesOwnKindOfGpioIsAskedForInUnsignedDecimals ) {
    Drivers::Dummy other;
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio(
        Drivers::getRegGpioForDevice( &other, 1, 2 ) );
    AskedDevice device;
    device.answer = gpio.get();
    EXPECT_EQ( Drivers::getRegGpioForDevice( &device, 4294967295u, 31 ), gpio.get() );
    EXPECT_EQ( device.asked, ( std::map<std::string, std::string>{ { "register", "4294967295" },
                                                                   { "bitpos", "31" } } ) );
}

TEST_F( DeviceByLabel, DeviceThatGivesNoGpioAborts ) {
    AskedDevice device;
    EXPECT_DEATH( Drivers::getRegGpioForDevice( &device, 10, 1 ), "Assertion `gpio' failed" );
}

} // namespace
