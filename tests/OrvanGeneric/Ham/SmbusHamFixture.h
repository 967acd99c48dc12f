#pragma once

#include <PLSocket.h>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Orvan.h"
#include "OrvanGeneric/TopologyVisitor.h"
#include "tests/support/FakeHost.h"
#include "tests/support/SmbusPeer.h"

using Log = std::vector<std::string>;

/** Keeps a Ham, which is never destroyed, where a leak checker sees that it is meant to stay. */
template <class T>
T *kept( T *ham ) {
    static auto &hams = *new std::vector<T *>();
    hams.push_back( ham );
    return ham;
}

/** Arguments of device @p did at address 0x50. */
inline Drivers::DriverArgs device( uint32_t did, uint32_t uid = Drivers::noComponent ) {
    Drivers::DriverArgs args;
    args.did = did;
    args.uid = uid;
    args.address.address = 0x50;
    args.address.addrSize = 1;
    return args;
}

inline Ham::OrvanSmbusHam *create( const Drivers::DriverArgs &args ) {
    Ham::Ham *made = Ham::OrvanSmbusHam::create( *Topology::_topology, args );
    return made ? kept( dynamic_cast<Ham::OrvanSmbusHam *>( made ) ) : nullptr;
}

inline Ham::OrvanSmbusHam *createOnBus( const char *label, uint8_t address ) {
    Ham::OrvanSmbusHam *made = Ham::OrvanSmbusHam::createOnBus(
        *Topology::_topology, Topology::getBusByLabel( label ), address );
    return made ? kept( made ) : nullptr;
}

inline void load( const std::string &text ) {
    ASSERT_EQ( Topology::loadTopology( text.c_str() ), PL_STATUS_OK );
    FakeHost::instance().traces.clear();
}

/** The process's socket leads to a service that keeps what it is sent and answers as told. */
class SmbusServiceTest : public testing::Test {
  protected:
    SmbusServiceTest() {
        // Tests that end the process start over in a new one, since a fork would lack the
        // service's threads.
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        _plSock = new PlatformLibrary::PLSocket();
        if ( _plSock->setup() != 0 ) {
            throw std::runtime_error( "no connection to the test's service" );
        }
    }
    ~SmbusServiceTest() override {
        delete _plSock;
        _plSock = nullptr;
    }

    support::SmbusPeer peer_;
    FakeHost &host_ = FakeHost::instance();
};
