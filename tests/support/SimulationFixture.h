#pragma once

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Topology.h"
#include "OrvanGeneric/Utils.h"
#include "common/TemporaryFolder.h"
#include "tests/support/FakeHost.h"

/** Drivers on simulated devices: every device is a text file in a folder of the test's own. */
class SimulationFixture : public testing::Test {
  protected:
    SimulationFixture() {
        // Read once in a process, by the first simulated device.
        setenv( "ORVANLIB_SIMDIR", folder_.path().c_str(), 1 );
        Utils::isInSimulation = 1;
        FakeTime::now = 100;
    }

    /** Loads an I2C bus with @p devices, JSON objects that a comma separates; throws if that fails. */
    static void loadDevices( const std::string &devices ) {
        const std::string topology =
            R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus", "devices": [ )" + devices +
            " ] } ]";
        if ( Topology::loadTopology( topology.c_str() ) != PL_STATUS_OK ) {
            throw std::invalid_argument( "not a topology: " + topology );
        }
    }
    /** What the file of the device named @p name of @p driver holds, the newline at its end included. */
    std::string fileText( const std::string &driver, const std::string &name ) const {
        return common::readFile( folder_.file( driver + "-" + name ) );
    }
    /** Destroys the instance of that identity, which a host never does. */
    static void deleteDevice( uint32_t did ) {
        auto *device =
            static_cast<Component::HardwareDevice *>( Component::DeviceBase::devices.at( did ) );
        hamOfDeletedInstance_ = device->ham();
        delete device;
        Component::DeviceBase::devices.erase( did );
    }

    const common::TemporaryFolder folder_;
    FakeTime time_;
    FakeHost &host_ = FakeHost::instance();

  private:
    /** A Ham cannot be destroyed; this keeps that of a destroyed instance from counting as leaked. */
    static inline Ham::Ham *hamOfDeletedInstance_ = nullptr;
};
