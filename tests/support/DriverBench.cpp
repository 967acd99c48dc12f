#include "tests/support/DriverBench.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <utility>

#include <gtest/gtest.h>
#include <pl/fan.h>
#include <pl/gpio.h>
#include <pl/led.h>
#include <pl/psu.h>
#include <pl/slot.h>
#include <pl/smbus.h>
#include <pl/temp_sensor.h>
#include <pl/xcvr.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/Components/Mux.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"
#include "OrvanGeneric/Topology.h"

namespace {

using Component::DeviceBase;
using Drivers::Table::Service;

constexpr uint32_t testedDid = 1;
constexpr uint32_t linesDid = 2;
constexpr uint32_t expanderDid = 3;

constexpr const char *topology = R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus", "devices": [
    { "did": 2, "label": "lines", "driver": "Dummy", "address": { "address": 16 } },
    { "did": 3, "label": "PsuPCA", "driver": "MirePsuPCA9555", "address": { "address": 32 } } ] } ])";

/** Whether a trace shows the description word for word, or an address in memory. */
bool variesByItself( const std::string &trace ) {
    static const std::regex address( "0x[0-9a-f]{7,}" );
    return trace.rfind( "parsing devArgs = ", 0 ) == 0 || trace.rfind( "pl_smbus_add( ", 0 ) == 0 ||
           std::regex_search( trace, address );
}

std::string descriptionText( const std::string &driver, const DriverBench::Args &args,
                             bool multiDevice ) {
    std::string text = R"({ "did": 1, "address": { "address": 80 }, "driver": ")" + driver + '"';
    if ( multiDevice ) {
        text += R"(, "isMultiDevice": true, "multiDeviceArgs": {})";
    }
    text += R"(, "driverArgs": {)";
    const char *separator = " ";
    for ( const auto &[ name, value ] : args ) {
        text += separator + ( '"' + name + "\": \"" ) + value + '"';
        separator = ", ";
    }
    return text + " } }";
}

} // namespace

DriverBench::DriverBench() {
    FakeTime::microsleeps.clear();
    Topology::loadTopology( topology );
    auto *lines = new Drivers::Dummy;
    lines->hamIs( &linesHam_ );
    DeviceBase::devices[ linesDid ] = lines;
    auto *expander = new Drivers::MirePsuPCA9555;
    expander->hamIs( &expanderHam_ );
    DeviceBase::devices[ expanderDid ] = expander;
    // Readings that show a difference of exponents, and a supply that tells who it is.
    ham_.bytes = { { 0x20, 0x17 }, { 0x9A, 4 }, { 0x9E, 4 } };
    ham_.words = { { 0x8B, 0x1800 } };
    ham_.blocks = { { 0x9A, std::string( "\x04" ) + word },
                    { 0x9E, std::string( "\x04" ) + word } };

    answerCommands( true );
    setenv( "PATH", folder_.path().c_str(), 1 );
    firstTrace_ = FakeHost::instance().traces.size();
}

DriverBench::~DriverBench() {
    for ( const uint32_t did : { linesDid, expanderDid, testedDid } ) {
        const auto it = DeviceBase::devices.find( did );
        if ( it != DeviceBase::devices.end() ) {
            delete it->second;
            DeviceBase::devices.erase( it );
        }
    }
}

/** The library runs its commands under "timeout", which is what is found here. */
void DriverBench::answerCommands( bool good ) {
    const std::string answer = good ? std::string( "echo " ) + word + ",5,RPM,ok\n" : "exit 1\n";
    const std::string tool = folder_.write(
        "timeout", "#!/bin/sh\necho \"$@\" >> " + folder_.file( "commands" ) + "\n" + answer );
    std::filesystem::permissions( tool, std::filesystem::perms::owner_all );
}

bool DriverBench::create( const std::string &driver, const Args &args ) {
    driver_ = driver;
    Drivers::DriverArgs driverArgs;
    driverArgs.driver = driver;
    driverArgs.did = testedDid;
    driverArgs.driverArgs = args;
    device_ = Drivers::drivers.at( driver )( driverArgs, &ham_ );
    if ( !device_ ) {
        return false;
    }
    if ( auto *hardware = dynamic_cast<Component::HardwareDevice *>( device_ ) ) {
        hardware->hamIs( &ham_ );
    }
    DeviceBase::devices[ testedDid ] = device_;
    device_->init();
    return true;
}

void DriverBench::keep( const std::string &what, int status, double value ) {
    results_.push_back( what + ": " + std::to_string( status ) + " " + std::to_string( value ) );
}

bool DriverBench::keepUse( const void *record, std::function<void()> use ) {
    if ( record ) {
        uses_.push_back( std::move( use ) );
    }
    return record != nullptr;
}

bool DriverBench::addGpio( const std::string &text ) {
    pl_gpio *gpio = pl_gpio_add( text.c_str() );
    return keepUse( gpio, [ this, gpio ] {
        unsigned bit = 0;
        const pl_status status = gpio->ops->bit_read( gpio, &bit );
        keep( "bit_read", status, bit );
        keep( "bit_set", gpio->ops->bit_set( gpio ), 0 );
    } );
}

bool DriverBench::addLed( const std::string &text ) {
    pl_led *led = pl_led_add( text.c_str() );
    return keepUse( led, [ this, led ] {
        keep( "led", led->ops->set_light_setting( led, PL_LED_STATUS_BAD ), 0 );
    } );
}

bool DriverBench::addFan( const std::string &text ) {
    pl_fan *fan = pl_fan_add( text.c_str() );
    return keepUse( fan, [ this, fan ] {
        int rpm = 0;
        const pl_status status = fan->ops->get_rpm( fan, &rpm );
        keep( "get_rpm", status, rpm );
        // A fan of the BMC aborts when it is set.
        if ( driver_ != "Ipmi" ) {
            keep( "set_rpm", fan->ops->set_rpm( fan, 1 ), 0 );
        }
    } );
}

bool DriverBench::addTempSensor( const std::string &text ) {
    pl_temp_sensor *sensor = pl_temp_sensor_add( text.c_str(), 60, 70 );
    return keepUse( sensor, [ this, sensor ] {
        float celsius = 0;
        const pl_status status = sensor->ops->get_temperature( sensor, &celsius );
        keep( "get_temperature", status, celsius );
    } );
}

bool DriverBench::addSfpXcvr( const std::string &text ) {
    pl_xcvr *cage = pl_xcvr_add( text.c_str() );
    return keepUse( cage,
                    [ this, cage ] { keep( "sfp", cage->ops->u.sfp.get_presence( cage ), 0 ); } );
}

bool DriverBench::addQsfpXcvr( const std::string &text ) {
    pl_xcvr *cage = pl_xcvr_add( text.c_str() );
    return keepUse( cage,
                    [ this, cage ] { keep( "qsfp", cage->ops->u.qsfp.get_presence( cage ), 0 ); } );
}

bool DriverBench::addPsu( const std::string &text ) {
    pl_psu *psu = pl_psu_add( text.c_str() );
    return keepUse( psu, [ this, psu ] {
        float volts = 0;
        const pl_status status = psu->ops->get_output_voltage( psu, &volts );
        keep( "get_output_voltage", status, volts );
        int ok = 0;
        const pl_status power = psu->ops->get_power_ok( psu, &ok );
        keep( "get_power_ok", power, ok );
    } );
}

bool DriverBench::addSlot( const std::string &text ) {
    pl_slot *slot = pl_slot_add( text.c_str() );
    return keepUse( slot, [ this, slot ] {
        char *fdl = nullptr;
        const pl_status status = slot->ops->get_presence( slot, &fdl );
        keep( std::string( "slot " ) + ( fdl ? fdl : "" ), status, 0 );
        std::free( fdl );
    } );
}

bool DriverBench::addSmbusProxy( const std::string &text ) {
    pl_smbus *smbus = pl_smbus_add( text.c_str(), 80 );
    return keepUse( smbus, [ this, smbus ] {
        unsigned char value = 0;
        const pl_status status = smbus->ops->receive_byte( smbus, &value );
        keep( "receive_byte", status, value );
        keep( "send_byte", smbus->ops->send_byte( smbus, 1 ), 0 );
    } );
}

bool DriverBench::addMux() {
    Component::LogicalDevice::Mux *mux = device_->newMux( {}, 4 );
    return keepUse( mux, [ this, mux ] { keep( "mux", mux->executeMuxRequest(), 0 ); } );
}

bool DriverBench::add( Service service, const Args &args ) {
    const bool multiDevice = dynamic_cast<Component::MultiDevice *>( device_ ) != nullptr;
    const std::string text = descriptionText( driver_, args, multiDevice );
    switch ( service ) {
    case Service::Gpio:
        return addGpio( text );
    case Service::Led:
        return addLed( text );
    case Service::Fan:
        return addFan( text );
    case Service::TempSensor:
        return addTempSensor( text );
    case Service::SfpXcvr:
        return addSfpXcvr( text );
    case Service::QsfpXcvr:
        return addQsfpXcvr( text );
    case Service::Psu:
        return addPsu( text );
    case Service::Slot:
        return addSlot( text );
    case Service::SmbusProxy:
        return addSmbusProxy( text );
    case Service::Mux:
        return addMux();
    }
    return false;
}

void DriverBench::use() {
    for ( const auto &each : uses_ ) {
        each();
    }
}

void DriverBench::useOverTime() {
    constexpr double whole[] = { 0, 0.999, 1.001, 1.999, 2.001 };
    constexpr double failing[] = { 3.5, 4.6, 8.4, 8.6, 9.5 };
    const double start = FakeTime::now;
    answerCommands( true );
    for ( const double seconds : whole ) {
        FakeTime::now = start + seconds;
        use();
    }
    answerCommands( false );
    for ( const double seconds : failing ) {
        FakeTime::now = start + seconds;
        use();
    }
    FakeTime::now = start;
}

std::vector<std::string> DriverBench::seen() const {
    std::vector<std::string> all = results_;
    const auto &traces = FakeHost::instance().traces;
    for ( size_t i = firstTrace_; i < traces.size(); ++i ) {
        if ( !variesByItself( traces[ i ].text ) ) {
            all.push_back( traces[ i ].text );
        }
    }
    for ( const ScriptedHam *ham : { &ham_, &linesHam_, &expanderHam_ } ) {
        all.insert( all.end(), ham->log.begin(), ham->log.end() );
    }
    for ( const unsigned pause : FakeTime::microsleeps ) {
        all.push_back( "pause " + std::to_string( pause ) );
    }
    std::ifstream commands( folder_.file( "commands" ) );
    for ( std::string line; std::getline( commands, line ); ) {
        all.push_back( line );
    }
    return all;
}
