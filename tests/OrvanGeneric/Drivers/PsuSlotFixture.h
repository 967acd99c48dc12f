#pragma once

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/PsuSlot.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

/** A slot driver on a scripted Ham, and the device "cpld" with its lines. */
class PsuSlotTest : public testing::Test {
  protected:
    using PsuSlot = Drivers::PsuSlot;
    using Log = std::vector<std::string>;
    using Arguments = std::map<std::string, std::string>;

    static Drivers::DriverArgs withArguments( const Arguments &arguments ) {
        Drivers::DriverArgs args;
        args.driverArgs = arguments;
        return args;
    }

    /** Arguments of supply 1's slot, identified so, that knows two models; @p more wins. */
    static Arguments slotArguments( const std::string &type, const Arguments &more = {} ) {
        Arguments arguments = more;
        arguments.insert( { { "psuId", "1" },
                            { "identificationType", type },
                            { "model_1", "DPS550AB6A" },
                            { "psuFdl_1", "550 W, {serialNum}" },
                            { "model_2", "PS-2471-1AZ1-LF" },
                            { "psuFdl_2", "470 W, {serialNum}" } } );
        return arguments;
    }

    PsuSlotTest() : driver_( PsuSlot::create( withArguments( {} ), &ham_ ) ) {
        driver_->hamIs( &ham_ );
        host_.traces.clear();
        gpioDevice_.hamIs( &gpioHam_ );
        Component::DeviceBase::devices[ 7 ] = &gpioDevice_;
    }

    static void loadGpioDevice() {
        ASSERT_EQ( Topology::loadTopology( R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus",
            "devices": [ { "did": 7, "label": "cpld", "driver": "Dummy",
                           "address": { "address": 16 } } ] } ])" ),
                   PL_STATUS_OK );
    }
    std::unique_ptr<PsuSlot::Slot> slot( const Arguments &arguments ) {
        std::unique_ptr<PsuSlot::Slot> made(
            static_cast<PsuSlot::Slot *>( driver_->newSlot( withArguments( arguments ) ) ) );
        host_.traces.clear();
        return made;
    }
    /** A pmbus slot with both lines, on bits 2 and 5 of register 9 of "cpld". */
    std::unique_ptr<PsuSlot::Slot> slotWithLines( const Arguments &more = {} ) {
        loadGpioDevice();
        Arguments arguments = more;
        arguments.insert( { { "gpioDevice", "cpld" },
                            { "presenceReg", "9" },
                            { "presenceBit", "2" },
                            { "powerOkReg", "9" },
                            { "powerOkBit", "5" } } );
        auto made = slot( slotArguments( "pmbus", arguments ) );
        gpioHam_.takeLog();
        return made;
    }
    /** What a PMBus supply says of itself. */
    void insert( const std::string &model, const std::string &serial ) {
        const auto set = [ this ]( unsigned command, const std::string &text ) {
            ham_.bytes[ command ] = static_cast<uint8_t>( text.size() );
            ham_.blocks[ command ] = static_cast<char>( text.size() ) + text;
        };
        set( 0x9A, model );
        set( 0x9E, serial );
    }
    /** What the slot gives; "" when it gives nothing. */
    static std::string presence( PsuSlot::Slot &slot, pl_status expected = PL_STATUS_OK ) {
        char *fdl = nullptr;
        EXPECT_EQ( slot.getPresence( &fdl ), expected );
        EXPECT_EQ( fdl != nullptr, expected == PL_STATUS_OK );
        const std::string text = fdl ? fdl : "";
        std::free( fdl );
        return text;
    }

    FakeHost &host_ = FakeHost::instance();
    ScriptedHam ham_;
    ScriptedHam gpioHam_;
    Drivers::Dummy gpioDevice_;
    std::unique_ptr<Component::HardwareDevice> driver_;
};
