#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <PLSocket.h>
#include <gtest/gtest.h>

#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Orvan.h"
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

/** The process's socket leads to a service that keeps what it is sent and answers as told. */
class SmbusServiceTest : public testing::Test {
  protected:
    SmbusServiceTest() {
        // Tests that end the process start over in a new one, since a fork would lack the
        // service's threads.
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        _plSock = new PlatformLibrary::PLSocket();
        if ( _plSock->setup() != 0 )
            throw std::runtime_error( "no connection to the test's service" );
    }
    ~SmbusServiceTest() override {
        delete _plSock;
        _plSock = nullptr;
    }

    support::SmbusPeer peer_;
    FakeHost &host_ = FakeHost::instance();
};
