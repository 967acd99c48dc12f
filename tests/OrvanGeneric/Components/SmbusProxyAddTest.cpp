#include <memory>

#include <gtest/gtest.h>
#include <pl/smbus.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/SmbusProxyDriver.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/TopologyVisitor.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

/** Devices of a board: one with a driver of its own, one that names none, one with a bad driver. */
constexpr char board[] = R"([{ "type": "I2C", "ham": "Scripted", "id": 1, "devices": [
    { "did": 10, "label": "PSU1<0x58>", "driver": "Dummy", "address": { "address": 88 },
      "driverArgs": { "localReadDelayMs": 3 } },
    { "did": 11, "label": "EEPROM<0x05>", "driver": "Dummy", "address": { "address": 5 } },
    { "did": 12, "label": "Bare<0x20>" },
    { "did": 14 }
] }])";

constexpr char describedProxy[] =
    R"({ "did": 14, "driver": "SmbusProxyDriver", "address": { "address": 20 } })";

class SmbusProxyAddTest : public testing::Test {
  protected:
    SmbusProxyAddTest() {
        Ham::hams[ "Scripted" ] = []( const Topology::Topology &, const Drivers::DriverArgs & ) {
            return ham = new ScriptedHam();
        };
        Topology::loadTopology( board );
        FakeHost::instance().traces.clear();
    }

    bool traced( int level, const std::string &text ) {
        return FakeHost::instance().traced( level, text );
    }

    FakeTime time_;
    static ScriptedHam *ham;
};

ScriptedHam *SmbusProxyAddTest::ham = nullptr;

TEST_F( SmbusProxyAddTest, ADescriptionMakesAnEndpoint ) {
    pl_smbus *proxy = pl_smbus_add( describedProxy, 0 );
    ASSERT_NE( proxy, nullptr );
    EXPECT_TRUE( traced( 7, std::string( "pl_smbus_add( '" ) + describedProxy + "', 0 )" ) );
    EXPECT_EQ( proxy->ops->send_byte( proxy, 9 ), PL_STATUS_OK );
    EXPECT_EQ( ham->log.at( 1 ), "sendByte 0x09" );
}

TEST_F( SmbusProxyAddTest, ALabelMakesAnEndpointWhateverTheDevicesDriverIs ) {
    pl_smbus *proxy = pl_smbus_add( "PSU1", 0x58 );
    ASSERT_NE( proxy, nullptr );
    EXPECT_TRUE( traced( 7, "pl_smbus_add( 'PSU1', 88 )" ) );
    EXPECT_NE( dynamic_cast<Drivers::SmbusProxyDriver *>( Component::DeviceBase::devices.at( 10 ) ),
               nullptr );
    unsigned char value;
    proxy->ops->receive_byte( proxy, &value );
    EXPECT_EQ( FakeTime::microsleeps, std::vector<unsigned>{ 3000 } );
}

TEST_F( SmbusProxyAddTest, TheTopologyKeepsTheChangedDriverName ) {
    pl_smbus_add( "PSU1", 0x58 );
    EXPECT_EQ( Topology::getDeviceByLabel( "PSU1<0x58>" )->args->driver, "SmbusProxyDriver" );
    EXPECT_EQ( Topology::getDeviceByLabel( "EEPROM<0x05>" )->args->driver, "Dummy" );
}

TEST_F( SmbusProxyAddTest, TheAddressIsPaddedToTwoLowerCaseDigits ) {
    EXPECT_NE( pl_smbus_add( "EEPROM", 5 ), nullptr );
}

TEST_F( SmbusProxyAddTest, AnUnknownLabelOrAddressGivesNull ) {
    EXPECT_EQ( pl_smbus_add( "PSU1", 0x59 ), nullptr );
    EXPECT_TRUE( traced( 0, "smbus_add failed: device does not exist in topology" ) );
    EXPECT_FALSE( traced( 0, "DeviceBase::create() failed" ) );
}

TEST_F( SmbusProxyAddTest, ADeviceWithoutArgumentsCountsAsNotInTheTopology ) {
    EXPECT_EQ( pl_smbus_add( "Bare", 0x20 ), nullptr );
    EXPECT_TRUE( traced( 0, "smbus_add failed: device does not exist in topology" ) );
}

TEST_F( SmbusProxyAddTest, AFailedCreationGivesNull ) {
    EXPECT_EQ(
        pl_smbus_add( R"({ "did": 14, "driver": "Nobody", "address": { "address": 20 } })", 0 ),
        nullptr );
    EXPECT_TRUE( traced( 0, "DeviceBase::create() failed" ) );
}

TEST_F( SmbusProxyAddTest, AFailedCreationForALabelGivesNull ) {
    Topology::getDeviceByLabel( "PSU1<0x58>" )->args->did = 999;
    EXPECT_EQ( pl_smbus_add( "PSU1", 0x58 ), nullptr );
    EXPECT_TRUE( traced( 0, "DeviceBase::create() failed" ) );
}

TEST_F( SmbusProxyAddTest, ADeviceMadeByAnotherDriverKeepsItAndThrows ) {
    const std::unique_ptr<Component::DeviceBase> dummy(
        Drivers::drivers.at( "Dummy" )( Drivers::DriverArgs(), nullptr ) );
    Component::DeviceBase::devices[ 10 ] = dummy.get();
    EXPECT_THROW( pl_smbus_add( "PSU1", 0x58 ), Component::NotImplementedException );
}

TEST_F( SmbusProxyAddTest, ADriverThatMakesNoEndpointGivesNull ) {
    struct Refusing : Component::HardwareDevice {
        Component::LogicalDevice::SmbusProxy *
        newSmbusProxy( const Drivers::DriverArgs & ) override {
            return nullptr;
        }
    } refusing;
    Component::DeviceBase::devices[ 14 ] = &refusing;
    EXPECT_EQ( pl_smbus_add( describedProxy, 0 ), nullptr );
    EXPECT_TRUE( traced( 0, "newSmbusProxy() failed" ) );
}

} // namespace
