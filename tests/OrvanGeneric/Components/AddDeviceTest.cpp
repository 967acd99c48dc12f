#include "OrvanGeneric/Components/AddDevice.h"

#include <gtest/gtest.h>

#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/ScriptedDriver.h"

namespace {

using Component::addDevice;
using Component::DeviceBase;
using Component::orTrace;
using Component::untraced;

class AddDevice : public testing::Test {
  protected:
    /** Stands for a logical device; never looked into. */
    Component::LogicalDevice::Fan *const fan_ =
        reinterpret_cast<Component::LogicalDevice::Fan *>( this );
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( AddDevice, GivesWhatTheMemberMakes ) {
    std::string name;
    driver_.newFan = [ & ]( const Drivers::DriverArgs &args ) {
        name = args.driverArgs.at( "name" );
        return fan_;
    };
    const std::string description = scriptedDescription( R"({"name":"left"})" );
    EXPECT_EQ( addDevice( description.c_str(), "newFan", &DeviceBase::newFan ), fan_ );
    EXPECT_EQ( name, "left" );
    EXPECT_EQ( host_.traces, scriptedCreation( description ) );
}

TEST_F( AddDevice, GivesWhatTheFunctionMakesOfTheDriverInstance ) {
    const std::string description = scriptedDescription();
    DeviceBase *asked = nullptr;
    const auto make = [ & ]( DeviceBase &device, const Drivers::DriverArgs & ) {
        asked = &device;
        return fan_;
    };
    EXPECT_EQ( addDevice( description.c_str(), "newFan", make ), fan_ );
    ASSERT_EQ( driver_.made.size(), 1u );
    EXPECT_EQ( asked, driver_.made[ 0 ] );
}

TEST_F( AddDevice, FailuresAreTracedUnlessTheKindIsSilent ) {
    EXPECT_EQ( addDevice( "?", "newFan", &DeviceBase::newFan ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
    host_.traces.clear();
    EXPECT_EQ( addDevice( "?", untraced, &DeviceBase::newFan ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?" ) );

    driver_.newFan = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string description = scriptedDescription();
    addDevice( description.c_str(), untraced, &DeviceBase::newFan );
    host_.traces.clear();
    EXPECT_EQ( addDevice( description.c_str(), "newFan", &DeviceBase::newFan ), nullptr );
    EXPECT_EQ( host_.traces.back(), ( FakeHost::Trace{ 0, "newFan() failed" } ) );
    const size_t traced = host_.traces.size();
    host_.traces.clear();
    EXPECT_EQ( addDevice( description.c_str(), untraced, &DeviceBase::newFan ), nullptr );
    EXPECT_EQ( host_.traces.size(), traced - 1 );
}

TEST_F( AddDevice, AKindThatTheDriverDoesNotServeThrows ) {
    const std::string description = scriptedDescription();
    EXPECT_THROW( addDevice( description.c_str(), "newFan", &DeviceBase::newFan ),
                  Component::NotImplementedException );
}

TEST_F( AddDevice, OrTraceGivesTheResultAndTracesNullOnly ) {
    EXPECT_EQ( orTrace( fan_, "newFan" ), fan_ );
    EXPECT_EQ( orTrace<int>( nullptr, untraced ), nullptr );
    EXPECT_TRUE( host_.traces.empty() );
    EXPECT_EQ( orTrace<int>( nullptr, "newFan" ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "newFan() failed" } } ) );
}

} // namespace
