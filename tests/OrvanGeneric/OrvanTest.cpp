#include "OrvanGeneric/Orvan.h"

#include <PLSocket.h>
#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "OrvanGeneric/Topology.h"
#include "OrvanGeneric/Utils.h"
#include "tests/support/FakeHost.h"
#include "tests/support/SocketPeer.h"

namespace {

using support::SocketPeer;

constexpr char plainBus[] = R"([ { "type": "I2C", "ham": "SmbusHam", "id": 3 } ])";

/** Accepts, and keeps the connection until the client closes it. */
void accept( SocketPeer::Connection &connection ) {
    connection.awaitClose();
}

/** A service that a test may start while the library pauses; without it nobody listens. */
class OrvanTest : public testing::Test {
  protected:
    OrvanTest() {
        peer_.emplace( accept );
        setenv( "PL_SMBUS_SOCKET", peer_->path().c_str(), 1 );
    }
    ~OrvanTest() override {
        delete _plSock; // the library keeps it for the life of the process
        _plSock = nullptr;
    }

    FakeTime time_;
    FakeHost &host_ = FakeHost::instance();
    std::optional<SocketPeer> peer_;
};

// Opening the socket

TEST_F( OrvanTest, NoSocketBeforeAnyInit ) {
    EXPECT_EQ( _plSock, nullptr );
}

TEST_F( OrvanTest, FirstAttemptSucceeds ) {
    EXPECT_EQ( plSockInit( "caller", 1 ), 0 );
    ASSERT_NE( _plSock, nullptr );
    EXPECT_GE( _plSock->descriptor(), 0 );
    EXPECT_TRUE( FakeTime::sleeps.empty() );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( OrvanTest, AnOpenSocketIsKeptWithoutAnAttempt ) {
    ASSERT_EQ( plSockInit( "first", 1 ), 0 );
    PlatformLibrary::PLSocket *const opened = _plSock;
    peer_->stop();
    EXPECT_EQ( plSockInit( "second", 5 ), 0 );
    EXPECT_EQ( plSockInit( "third", 0 ), 0 );
    EXPECT_EQ( _plSock, opened );
    EXPECT_TRUE( FakeTime::sleeps.empty() );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( OrvanTest, PausesASecondAfterEachFailureTheLastOneToo ) {
    peer_->stop();
    EXPECT_EQ( plSockInit( "caller", 3 ), 4 );
    EXPECT_EQ( FakeTime::sleeps, ( std::vector<unsigned>{ 1, 1, 1 } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "caller: socket Setup failed!" } } ) );
    EXPECT_EQ( _plSock, nullptr );
}

TEST_F( OrvanTest, NoAttemptWithoutRetries ) {
    // The service listens: an attempt would succeed.
    for ( const int retries : { 0, -1, -2147483647 } ) {
        host_.traces.clear();
        EXPECT_EQ( plSockInit( "caller", retries ), 4 ) << retries;
        EXPECT_EQ( host_.traces, ( Traces{ { 0, "caller: socket Setup failed!" } } ) );
        EXPECT_EQ( _plSock, nullptr );
    }
    EXPECT_TRUE( FakeTime::sleeps.empty() );
}

TEST_F( OrvanTest, TriesAnewAfterAFailure ) {
    peer_->stop();
    ASSERT_EQ( plSockInit( "caller", 1 ), 4 );
    peer_->start();
    EXPECT_EQ( plSockInit( "caller", 1 ), 0 );
    EXPECT_NE( _plSock, nullptr );
}

TEST_F( OrvanTest, SocketIsThereDuringTheAttempts ) {
    peer_->stop();
    static bool seen;
    seen = false;
    Utils::os.sleep = []( unsigned ) {
        seen = _plSock != nullptr;
        return 0u;
    };
    EXPECT_EQ( plSockInit( "caller", 1 ), 4 );
    EXPECT_TRUE( seen );
}

TEST_F( OrvanTest, TearDownDeletesTheWatcher ) {
    peer_->stop();
    Utils::os.sleep = []( unsigned ) {
        _plSock->watcherIs( 7 );
        return 0u;
    };
    EXPECT_EQ( plSockInit( "caller", 1 ), 4 );
    EXPECT_EQ( host_.deletedWatchers, std::vector<uint32_t>{ 7 } );
}

/** Starts the service of a test during a given pause. */
struct ServiceStart {
    static SocketPeer *peer;
    static int pause;
    static int pauses;
    static unsigned sleep( unsigned seconds ) {
        EXPECT_EQ( seconds, 1u );
        if ( ++pauses == pause ) {
            peer->start();
        }
        return 0;
    }
};
SocketPeer *ServiceStart::peer;
int ServiceStart::pause;
int ServiceStart::pauses;

TEST_F( OrvanTest, ServiceThatComesUpBeforeTheLastAttempt ) {
    peer_->stop();
    ServiceStart::peer = &*peer_;
    ServiceStart::pause = 29;
    Utils::os.sleep = ServiceStart::sleep;
    EXPECT_EQ( pl_fan_init( plainBus ), PL_STATUS_OK );
    EXPECT_EQ( ServiceStart::pauses, 29 );
    EXPECT_NE( Topology::_topology, nullptr );
}

TEST_F( OrvanTest, ServiceThatComesUpAfterTheLastAttempt ) {
    peer_->stop();
    ServiceStart::peer = &*peer_;
    ServiceStart::pause = 30;
    Utils::os.sleep = ServiceStart::sleep;
    EXPECT_EQ( pl_fan_init( plainBus ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ServiceStart::pauses, 30 );
    EXPECT_EQ( _plSock, nullptr );
    EXPECT_EQ( Topology::_topology, nullptr );
}

// The library's start

TEST_F( OrvanTest, StartOpensTheSocketAndLoadsTheTopology ) {
    EXPECT_EQ( orvanLibraryInit( "caller", plainBus, 1 ), 0 );
    EXPECT_NE( _plSock, nullptr );
    EXPECT_NE( Topology::_topology, nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "caller" },
                                       { 5, std::string( "caller: json = " ) + plainBus },
                                       { 2, "loading topology json" } } ) );
}

TEST_F( OrvanTest, UnreachableServiceLeavesTheTopologyAlone ) {
    ASSERT_EQ( orvanLibraryInit( "caller", plainBus, 1 ), 0 );
    const Topology::Topology *const loaded = Topology::_topology;
    delete _plSock;
    _plSock = nullptr;
    peer_->stop();
    EXPECT_EQ( orvanLibraryInit( "caller", "[]", 2 ), 4 );
    EXPECT_EQ( Topology::_topology, loaded );
    EXPECT_EQ( FakeTime::sleeps.size(), 2u );
}

TEST_F( OrvanTest, TopologysStatusIsPassedOnAndTheSocketStays ) {
    EXPECT_EQ( orvanLibraryInit( "caller", "[ { ]", 1 ), 3 );
    EXPECT_NE( _plSock, nullptr );
    EXPECT_EQ( Topology::_topology, nullptr );
}

TEST_F( OrvanTest, TopologyTextIsTracedWhole ) {
    const std::string text = "[" + std::string( 1'000'000, ' ' ) + "]";
    EXPECT_EQ( orvanLibraryInit( "caller", text.c_str(), 1 ), 0 );
    EXPECT_TRUE( host_.traced( 5, "caller: json = " + text ) );
}

TEST_F( OrvanTest, TextsWithConversionsAreTracedAsTheyAre ) {
    EXPECT_EQ( orvanLibraryInit( "%s%n", "%s%n", 1 ), 3 );
    EXPECT_TRUE( host_.traced( 0, "%s%n" ) );
    EXPECT_TRUE( host_.traced( 5, "%s%n: json = %s%n" ) );
}

TEST_F( OrvanTest, SecondKindGoesStraightToTheTopology ) {
    ASSERT_EQ( pl_fan_init( plainBus ), PL_STATUS_OK );
    const Topology::Topology *const loaded = Topology::_topology;
    peer_->stop();
    host_.traces.clear();
    EXPECT_EQ( pl_led_init( plainBus ), PL_STATUS_OK );
    EXPECT_EQ( Topology::_topology, loaded );
    EXPECT_TRUE( FakeTime::sleeps.empty() );
    EXPECT_EQ(
        host_.traces,
        ( Traces{ { 0, "pl_led_init" },
                  { 5, std::string( "pl_led_init: json = " ) + plainBus },
                  { 2, "topology is the same as the previously loaded one (using it)" } } ) );
}

// Each kind's initialiser

struct Initialiser {
    const char *name;
    pl_status ( *function )( const char * );
};

void PrintTo( const Initialiser &initialiser, std::ostream *out ) {
    *out << initialiser.name;
}

class OrvanInitialiser : public OrvanTest, public testing::WithParamInterface<Initialiser> {
  protected:
    /** Its traces ahead of those of the socket and the topology. */
    Traces opening() const {
        const std::string name = GetParam().name;
        Traces traces = { { 0, name }, { 5, name + ": json = " + plainBus } };
        if ( name == "pl_smbus_init" ) {
            traces.insert( traces.begin(), { 7, "pl_smbus_init\n" } );
        }
        return traces;
    }
};

TEST_P( OrvanInitialiser, LoadsTheTopologyUnderItsOwnName ) {
    EXPECT_EQ( GetParam().function( plainBus ), PL_STATUS_OK );
    Traces expected = opening();
    expected.push_back( { 2, "loading topology json" } );
    EXPECT_EQ( host_.traces, expected );
    EXPECT_NE( Topology::_topology, nullptr );
}

TEST_P( OrvanInitialiser, GivesUpAfterThirtyAttemptsASecondApart ) {
    peer_->stop();
    EXPECT_EQ( GetParam().function( plainBus ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( FakeTime::sleeps, std::vector<unsigned>( 30, 1 ) );
    Traces expected = opening();
    expected.push_back( { 0, std::string( GetParam().name ) + ": socket Setup failed!" } );
    EXPECT_EQ( host_.traces, expected );
    EXPECT_EQ( _plSock, nullptr );
    EXPECT_EQ( Topology::_topology, nullptr );
}

TEST_P( OrvanInitialiser, ReportsATextThatIsNotJson ) {
    EXPECT_EQ( GetParam().function( "[" ), PL_STATUS_INVALID );
    EXPECT_NE( _plSock, nullptr );
}

INSTANTIATE_TEST_SUITE_P( All, OrvanInitialiser,
                          testing::Values( Initialiser{ "pl_slot_init", pl_slot_init },
                                           Initialiser{ "pl_led_init", pl_led_init },
                                           Initialiser{ "pl_temp_sensor_init",
                                                        pl_temp_sensor_init },
                                           Initialiser{ "pl_fan_init", pl_fan_init },
                                           Initialiser{ "pl_xcvr_init", pl_xcvr_init },
                                           Initialiser{ "pl_psu_init", pl_psu_init },
                                           Initialiser{ "pl_gpio_init", pl_gpio_init },
                                           Initialiser{ "pl_smbus_init", pl_smbus_init },
                                           Initialiser{ "pl_system_init", pl_system_init } ),
                          []( const auto &test ) { return std::string( test.param.name ); } );

} // namespace
