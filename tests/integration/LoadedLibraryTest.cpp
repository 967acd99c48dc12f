#include "tests/integration/LoadedLibrary.h"

#include <cstdlib>
#include <exception>

#include <gmock/gmock.h>
#include <pl/pl.h>

#include "common/TemporaryFolder.h"
#include "tests/support/FakeHost.h"
#include "tests/support/HostRecord.h"
#include "tests/support/SocketPeer.h"

namespace {

constexpr const char *expanderTopology =
    R"([{"type":"I2C","ham":"OrvanSmbus","id":3,"devices":[{"did":5}]}])";
constexpr const char *expanderLine =
    R"({"did":5,"driver":"GenericPCA9555","address":{"address":32},
        "driverArgs":{"bank-io-0":255,"bank-io-1":0,"bank":1,"bit":2}})";
constexpr const char *dummy =
    R"({"did":6,"driver":"Dummy","address":{"address":32},"provideHam":0})";

/** This process as host: the library's traces and timers come to FakeHost. */
class LoadedLibraryTest : public testing::Test {
  protected:
    LoadedLibraryTest() : service_( []( auto &connection ) { connection.awaitClose(); } ) {
        setenv( "PL_SMBUS_SOCKET", service_.path().c_str(), 1 );
        setenv( "ORVANLIB_SIMDIR", simulation_.path().c_str(), 1 );
    }

    common::TemporaryFolder simulation_;
    /** An SMBus service that takes connections and answers nothing. */
    support::SocketPeer service_;
    LoadedLibrary library_;
    FakeHost &host_ = FakeHost::instance();

    decltype( pl_fan_init ) *fanInit_ = library_.entry<decltype( pl_fan_init )>( "pl_fan_init" );
    decltype( pl_led_init ) *ledInit_ = library_.entry<decltype( pl_led_init )>( "pl_led_init" );
    decltype( pl_fan_add ) *fanAdd_ = library_.entry<decltype( pl_fan_add )>( "pl_fan_add" );
    decltype( pl_gpio_add ) *gpioAdd_ = library_.entry<decltype( pl_gpio_add )>( "pl_gpio_add" );
};

TEST_F( LoadedLibraryTest, TracesReachTheHost ) {
    EXPECT_EQ( fanAdd_( "?" ), nullptr );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "parsing devArgs = ?" },
                         { 0, "failed to load device from json: Invalid value. offset 0" },
                         { 0, "failed to parse json object as a device" },
                         { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( LoadedLibraryTest, InitialisersShareOneConnection ) {
    void **const socket = static_cast<void **>( library_.symbol( "_plSock" ) );
    EXPECT_EQ( *socket, nullptr );
    EXPECT_EQ( fanInit_( "[]" ), PL_STATUS_OK );
    void *const opened = *socket;
    EXPECT_NE( opened, nullptr );
    EXPECT_EQ( ledInit_( "[]" ), PL_STATUS_OK );
    EXPECT_EQ( *socket, opened );
    EXPECT_LE( service_.connections(), 1 );
    EXPECT_TRUE( host_.traced( 0, "pl_fan_init" ) );
    EXPECT_TRUE( host_.traced( 0, "pl_led_init" ) );
}

TEST_F( LoadedLibraryTest, ATopologyThatIsNotJsonIsRefused ) {
    EXPECT_EQ( fanInit_( "[1,]" ), PL_STATUS_INVALID );
    EXPECT_EQ( fanInit_( "[]" ), PL_STATUS_OK );
}

TEST_F( LoadedLibraryTest, WithoutAnAttemptThereIsNoConnection ) {
    auto *sockInit = library_.entry<int( const char *, int )>( plSockInitSymbol );
    EXPECT_EQ( sockInit( "tool", 0 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "tool: socket Setup failed!" } } ) );
    EXPECT_EQ( *static_cast<void **>( library_.symbol( "_plSock" ) ), nullptr );
    auto *libraryInit =
        library_.entry<int( const char *, const char *, int )>( orvanLibraryInitSymbol );
    EXPECT_EQ( libraryInit( "tool", "[]", 0 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( libraryInit( "tool", "[]", 1 ), PL_STATUS_OK );
}

TEST_F( LoadedLibraryTest, DescriptionsAreExtendedForTheHostToFree ) {
    auto *insert = library_.entry<bool( const char *, char **, const char *, const char * )>(
        insertDriverArgSymbol );
    char *text = nullptr;
    ASSERT_TRUE( insert( R"({ "driverArgs": {} })", &text, "id", "7" ) );
    EXPECT_STREQ( text, R"({"driverArgs":{"id":"7"}})" );
    std::free( text );
}

TEST_F( LoadedLibraryTest, AKindThatTheDriverLacksThrowsIntoTheHost ) {
    try {
        fanAdd_( dummy );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newFan" );
    }
}

TEST_F( LoadedLibraryTest, ARecordWorksAcrossTheBoundary ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    ASSERT_EQ( fanInit_( expanderTopology ), PL_STATUS_OK );
    pl_gpio *gpio = gpioAdd_( expanderLine );
    ASSERT_NE( gpio, nullptr );
    EXPECT_EQ( gpio->ops->size, sizeof( pl_gpio_ops ) );
    unsigned value = 9;
    EXPECT_EQ( gpio->ops->bit_read( gpio, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0u );
    EXPECT_TRUE( host_.traced( 4, "bitReadCallback" ) );
}

TEST( LoadedLibrary, AFailedAssertionNamesItsSourceWithoutTheFolderOfTheBuild ) {
    const LoadedLibrary library;
    auto *fanAdd = library.entry<decltype( pl_fan_add )>( "pl_fan_add" );
    EXPECT_DEATH( fanAdd( R"({"driver":"Dummy"})" ),
                  testing::AllOf( testing::ContainsRegex(
                                      "OrvanGeneric/Drivers/Drivers\\.cpp:[0-9]+:.*"
                                      "Assertion `json\\.HasMember\\( \"did\" \\)' failed" ),
                                  testing::Not( testing::HasSubstr( ORVAN_SOURCE_DIR ) ) ) );
}

} // namespace
