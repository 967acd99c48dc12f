#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "tests/support/FakeHost.h"

/**
 * A driver made to order. While it lives, descriptions reach it under its key; each factory
 * operation does what the test put in, or is one that the driver does not offer.
 *
 * Driver instances go with it; the logical devices that the operations return are the test's.
 */
class ScriptedDriver {
  public:
    using Args = Drivers::DriverArgs;
    template <class Kind>
    using Factory = std::function<Kind *( const Args & )>;

    Factory<Component::LogicalDevice::Slot> newSlot;
    Factory<Component::LogicalDevice::Led> newLed;
    Factory<Component::LogicalDevice::Fan> newFan;
    Factory<Component::LogicalDevice::Psu> newPsu;
    Factory<Component::LogicalDevice::TempSensor> newTempSensor;
    Factory<Component::LogicalDevice::Gpio> newGpio;
    std::function<Component::LogicalDevice::SfpXcvr *( unsigned, const Args & )> newSfpXcvr;
    std::function<Component::LogicalDevice::QsfpXcvr *( unsigned, const Args & )> newQsfpXcvr;

    /** Instances made so far. */
    std::vector<Component::HardwareDevice *> made;

    explicit ScriptedDriver( const std::string &key = "Scripted" ) : key_( key ) {
        Drivers::drivers[ key_ ] = [ this ]( const Args &, Ham::Ham * ) {
            made.push_back( new Device( *this ) );
            return made.back();
        };
    }
    ~ScriptedDriver() {
        Drivers::drivers.erase( key_ );
        for ( const auto &[ did, device ] : Component::DeviceBase::devices ) {
            delete device;
        }
        Component::DeviceBase::devices.clear();
    }
    ScriptedDriver( const ScriptedDriver & ) = delete;
    ScriptedDriver &operator=( const ScriptedDriver & ) = delete;

  private:
    class Device : public Component::HardwareDevice {
      public:
        explicit Device( const ScriptedDriver &script ) : script_( script ) {}

        Component::LogicalDevice::Slot *newSlot( const Args &args ) override {
            return script_.newSlot ? script_.newSlot( args ) : DeviceBase::newSlot( args );
        }
        Component::LogicalDevice::Led *newLed( const Args &args ) override {
            return script_.newLed ? script_.newLed( args ) : DeviceBase::newLed( args );
        }
        Component::LogicalDevice::Fan *newFan( const Args &args ) override {
            return script_.newFan ? script_.newFan( args ) : DeviceBase::newFan( args );
        }
        Component::LogicalDevice::Psu *newPsu( const Args &args ) override {
            return script_.newPsu ? script_.newPsu( args ) : DeviceBase::newPsu( args );
        }
        Component::LogicalDevice::TempSensor *newTempSensor( const Args &args ) override {
            return script_.newTempSensor ? script_.newTempSensor( args )
                                         : DeviceBase::newTempSensor( args );
        }
        Component::LogicalDevice::Gpio *newGpio( const Args &args ) override {
            return script_.newGpio ? script_.newGpio( args ) : HardwareDevice::newGpio( args );
        }
        Component::LogicalDevice::SfpXcvr *newSfpXcvr( unsigned id, const Args &args ) override {
            return script_.newSfpXcvr ? script_.newSfpXcvr( id, args )
                                      : DeviceBase::newSfpXcvr( id, args );
        }
        Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned id, const Args &args ) override {
            return script_.newQsfpXcvr ? script_.newQsfpXcvr( id, args )
                                       : DeviceBase::newQsfpXcvr( id, args );
        }

      private:
        const ScriptedDriver &script_;
    };

    std::string key_;
};

/** A description of device 5, without a Ham, for @p driver; @p driverArgs is its JSON object. */
inline std::string scriptedDescription( const std::string &driverArgs = "{}",
                                        const std::string &driver = "Scripted" ) {
    return R"({"did":5,"driver":")" + driver +
           R"(","address":{"address":32},"provideHam":0,"driverArgs":)" + driverArgs + "}";
}

/** What the creation of scriptedDescription()'s device traces, @p more after it. */
inline Traces scriptedCreation( const std::string &description, const Traces &more = {} ) {
    Traces traces = { { 0, "parsing devArgs = " + description },
                      { 0, "looking for already existing device 5" },
                      { 0, "creating HardwareDevice Scripted" },
                      { 0, "calling factory function for Scripted" },
                      { 0, "Scripted device created" } };
    traces.insert( traces.end(), more.begin(), more.end() );
    return traces;
}

/** What a description that is not JSON traces, @p more after it. */
inline Traces unparsable( const std::string &description, const Traces &more = {} ) {
    Traces traces = { { 0, "parsing devArgs = " + description },
                      { 0, "failed to load device from json: Invalid value. offset 0" },
                      { 0, "failed to parse json object as a device" } };
    traces.insert( traces.end(), more.begin(), more.end() );
    return traces;
}

/** What scriptedDescription( "{}", "Nobody" ) traces, @p more after it. */
inline Traces unknownDriver( const std::string &description, const Traces &more = {} ) {
    Traces traces = { { 0, "parsing devArgs = " + description },
                      { 0, "looking for already existing device 5" },
                      { 0, "creating HardwareDevice Nobody" },
                      { 0, "driver Nobody not found" },
                      { 0, "factory function returned a null object" } };
    traces.insert( traces.end(), more.begin(), more.end() );
    return traces;
}
