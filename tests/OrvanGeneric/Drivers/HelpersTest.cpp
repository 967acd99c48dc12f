#include "OrvanGeneric/Drivers/Helpers.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/TopologyVisitor.h"
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
