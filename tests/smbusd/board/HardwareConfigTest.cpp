#include "smbusd/board/HardwareConfig.h"

#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "common/TemporaryFolder.h"
#include "smbusd/emulation/ChipTypes.h"
#include "tests/support/TestBoard.h"

namespace {

using test::TestBoard;

std::string messageOf( const std::string &hardware ) {
    try {
        TestBoard board( hardware );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

std::string chipMessage( const std::string &chips, const std::string &more = "" ) {
    return messageOf( TestBoard::withChips( chips, more ) );
}

std::string busMessage( const std::string &buses ) {
    return messageOf( R"({ "buses": [ )" + buses + " ] }" );
}

const char *const expander = R"({ "name": "e", "type": "pca9555", "address": 32 })";

TEST( HardwareConfig, MapsBusesByMasterControllerAcceleratorAndBus ) {
    TestBoard test( R"({ "name": "b", "description": "d", "buses": [
        { "name": "a", "master": "SCD", "pci": "0x300", "accelerator": 1, "bus": 2, "chips": [] },
        { "name": "b", "master": "SCD", "pci": "0x301", "accelerator": 1, "bus": 2, "chips": [] },
        { "name": "c", "master": "SCD", "pci": "0x300", "bus": 2, "chips": [] },
        { "name": "d", "master": "I2C", "bus": 127, "chips": [] } ] })" );
    using smbusd::BusKey;
    const auto nameAt = [ & ]( const BusKey &key ) {
        const smbusd::Bus *bus = test.hardware.findBus( key );
        return bus == nullptr ? std::string() : bus->name();
    };
    EXPECT_EQ( nameAt( { Smbus::SCD, 0x300, 1, 2 } ), "a" );
    EXPECT_EQ( nameAt( { Smbus::SCD, 0x301, 1, 2 } ), "b" );
    EXPECT_EQ( nameAt( { Smbus::SCD, 0x300, 0, 2 } ), "c" );
    EXPECT_EQ( nameAt( { Smbus::I2C, 0, 0, 127 } ), "d" );
    EXPECT_EQ( nameAt( { Smbus::SIMULATED, 0, 0, 127 } ), "" );
}

TEST( HardwareConfig, RefusesWrongBuses ) {
    EXPECT_EQ( messageOf( "{}" ), "hardware.json: {}; expected an object with \"buses\"" );
    EXPECT_EQ( messageOf( "[]" ), "hardware.json: []; expected an object" );
    EXPECT_EQ( messageOf( R"({ "busses": [] })" ),
               "hardware.json: at /busses: []; expected no such key here, only name, description, "
               "powerCycleMs, buses, units, connections, faults" );
    EXPECT_EQ( busMessage( R"({ "name": "a", "master": "PCI", "bus": 1, "chips": [] })" ),
               "hardware.json: at /buses/0/master: \"PCI\"; expected one of Simulated, I2C, SCD, "
               "IOPort, Celestica, PLM, SccSpi" );
    EXPECT_EQ( busMessage( R"({ "name": "a", "master": "I2C", "bus": 128, "chips": [] })" ),
               "hardware.json: at /buses/0/bus: 128; expected a whole number from 0 to 127 (or as "
               "text: \"0x7F\")" );
    EXPECT_EQ(
        busMessage( R"({ "name": "a", "master": "I2C", "pci": 1, "bus": 1, "chips": [] })" ),
        "hardware.json: at /buses/0/pci: 1; expected no PCI address, since the master is not "
        "an SCD" );
    EXPECT_EQ(
        busMessage( R"({"name":"a","master":"SCD","bus":1,"chips":[]})" ),
        "hardware.json: at /buses/0: {\"name\":\"a\",\"master\":\"SCD\",\"bus\":1,\"chips\":[]}; "
        "expected an object with \"pci\"" );
    EXPECT_EQ(
        busMessage( R"({"name":"a","master":"I2C","bus":1})" ),
        "hardware.json: at /buses/0: {\"name\":\"a\",\"master\":\"I2C\",\"bus\":1}; expected "
        "either \"chips\" (an emulated bus) or \"adapter\" (a kernel adapter)" );
    EXPECT_EQ( busMessage( R"({"name":"a","master":"I2C","bus":1,"adapter":""})" ),
               "hardware.json: at /buses/0/adapter: \"\"; expected a kernel adapter: its number, "
               "its name as in sysfs, or a device file such as \"/dev/i2c-1\"" );
    EXPECT_EQ( busMessage( R"({"name":"a","master":"I2C","bus":1,"chips":[],"force":true})" ),
               "hardware.json: at /buses/0/force: true; expected no \"force\" on an emulated bus: "
               "no driver of the kernel uses its chips" );
    EXPECT_EQ( busMessage( R"({"name":"a","master":"I2C","bus":1,"chips":[]},
                              {"name":"b","master":"I2C","bus":1,"chips":[]})" ),
               "hardware.json: at /buses/1: "
               "{\"name\":\"b\",\"master\":\"I2C\",\"bus\":1,\"chips\":[]}; expected a place that "
               "no other bus has (I2C accelerator 0 bus 1 is \"a\" already)" );
    EXPECT_EQ( busMessage( R"({"name":"","master":"I2C","bus":1,"chips":[]})" ),
               "hardware.json: at /buses/0/name: \"\"; expected a name" );
}

TEST( HardwareConfig, RefusesWrongChips ) {
    EXPECT_EQ( chipMessage( "1" ),
               "hardware.json: at /buses/0/chips/0: 1; expected a chip: an object" );
    EXPECT_EQ(
        chipMessage( R"({ "name": "x", "type": "pca9556", "address": 32 })" ),
        fmt::format( "hardware.json: at /buses/0/chips/0/type: \"pca9556\"; expected one of {}",
                     fmt::join( smbusd::chipTypeNames(), ", " ) ) );
    EXPECT_EQ(
        chipMessage( R"({ "name": "x", "type": "pca9555", "address": "0x80" })" ),
        "hardware.json: at /buses/0/chips/0/address: \"0x80\"; expected a whole number from 0 "
        "to 127 (or as text: \"0x7F\")" );
    EXPECT_EQ(
        chipMessage( R"({ "name": "x", "type": "pca9555", "address": 32, "channels": {} })" ),
        "hardware.json: at /buses/0/chips/0/channels: {}; expected no such key here, only "
        "name, description, type, address, plugged, inputs, registers" );
    EXPECT_EQ(
        chipMessage( R"({ "name": "bus", "type": "pca9555", "address": 32 })" ),
        "hardware.json: at /buses/0/chips/0/name: \"bus\"; expected a name that no other bus, "
        "chip or unit has" );
    EXPECT_EQ( chipMessage( std::string( expander ) +
                            R"(, { "name": "f", "type": "pca9555", "address": "0x20" })" ),
               "hardware.json: at /buses/0/chips/1/address: \"0x20\"; expected an address that no "
               "other plugged chip of the bus has (\"e\" has it)" );
    EXPECT_EQ(
        chipMessage(
            R"({ "name": "x", "type": "pca9555", "address": 32, "inputs": { "p08": 1 } })" ),
        "hardware.json: at /buses/0/chips/0/inputs/p08: 1; expected an input of the chip "
        "(pca9555 \"x\" has no input \"p08\"; it has p00, p01, p02, p03, p04, p05, p06, p07, "
        "p10, p11, p12, p13, p14, p15, p16, p17)" );
    EXPECT_EQ( chipMessage(
                   R"({ "name": "x", "type": "pca9555", "address": 32, "inputs": { "p07": 2 } })" ),
               "hardware.json: at /buses/0/chips/0/inputs/p07: 2; expected an input of the chip "
               "(input \"p07\" of pca9555 \"x\" is a line: 0 or 1, not 2)" );
    EXPECT_EQ( chipMessage( R"({ "name": "x", "type": "pca9555", "address": 32,
                                 "registers": { "1": 0 } })" ),
               "hardware.json: at /buses/0/chips/0/registers/1: 0; expected a key from 2 to 7 (or "
               "\"0x7\")" );
    EXPECT_EQ( chipMessage( R"({ "name": "m", "type": "pca9548", "address": 112,
                                 "channels": { "8": [] } })" ),
               "hardware.json: at /buses/0/chips/0/channels/8: []; expected a key from 0 to 7 (or "
               "\"0x7\")" );
}

TEST( HardwareConfig, AllowsAlternativesOfWhichOneIsPlugged ) {
    TestBoard test( TestBoard::withChips(
        std::string( expander ) +
        R"(, { "name": "f", "type": "pca9555", "address": "0x20", "plugged": false })" ) );
    EXPECT_TRUE( test.chip( "e" ).plugged() );
    EXPECT_FALSE( test.chip( "f" ).plugged() );
}

TEST( HardwareConfig, ReadsUnits ) {
    TestBoard test( TestBoard::withChips( expander, R"(, "units": [
        { "name": "u", "chips": [ "e" ], "plugged": false },
        { "name": "v", "inputs": [
            { "chip": "e", "input": "p01", "plugged": 0, "unplugged": 1 } ] } ])" ) );
    EXPECT_FALSE( test.hardware.findUnit( "u" )->plugged );
    EXPECT_FALSE( test.chip( "e" ).plugged() );
    EXPECT_TRUE( test.hardware.findUnit( "v" )->plugged );
    EXPECT_EQ( test.number( "e", 0 ), 0xFDu );
    EXPECT_EQ( test.hardware.findUnit( "e" ), nullptr );
}

TEST( HardwareConfig, RefusesWrongUnits ) {
    EXPECT_EQ( chipMessage( expander, R"(, "units": [ { "name": "e" } ])" ),
               "hardware.json: at /units/0/name: \"e\"; expected a name that no other bus, chip or "
               "unit has" );
    EXPECT_EQ( chipMessage( expander, R"(, "units": [ { "name": "u", "chips": [ "x" ] } ])" ),
               "hardware.json: at /units/0/chips/0: \"x\"; expected the name of a chip" );
    EXPECT_EQ(
        chipMessage( expander, R"(, "units": [ { "name": "u", "inputs": [
                   { "chip": "e", "input": "q", "plugged": 0, "unplugged": 1 } ] } ])" )
            .substr( 0, 79 ),
        "hardware.json: at /units/0/inputs/0/input: \"q\"; expected an input of the chip (" );
}

const std::string expanderAndSupply =
    std::string( expander ) + R"(, { "name": "psu", "type": "pmbus", "address": "0x58",
                       "model": "M", "serial": "S" })";

TEST( HardwareConfig, RefusesWrongConnections ) {
    const auto message = [ & ]( const std::string &connection ) {
        return chipMessage( expanderAndSupply, R"(, "connections": [ { )" + connection + " } ]" );
    };
    const std::string place = "hardware.json: at /connections/0/";
    EXPECT_EQ(
        message( R"("from": [ "psu", "x" ], "output": "powergood", "to": "e", "input": "p00")" ),
        place + "from/1: \"x\"; expected the name of a chip" );
    EXPECT_EQ( message( R"("from": [ "psu" ], "output": "smoke", "to": "e", "input": "p00")" ),
               place + "output: \"smoke\"; expected an output of the chip (pmbus \"psu\" has no "
                       "output \"smoke\"; it has powergood, powerbad, acgood)" );
    EXPECT_EQ( message( R"("from": [ "e" ], "output": "p00", "to": "e", "input": "p00")" ),
               place + "output: \"p00\"; expected an output of the chip (pca9555 \"e\" has no "
                       "output \"p00\"; it has none)" );
    EXPECT_EQ( message( R"("from": [ "psu" ], "output": "powergood", "to": "y", "input": "p00")" ),
               place + "to: \"y\"; expected the name of a chip" );
    EXPECT_EQ( message( R"("from": [ "psu" ], "output": "powergood", "to": "e", "input": "q")" )
                   .substr( 0, place.size() + 43 ),
               place + "input: \"q\"; expected an input of the chip (" );
}

/** Stands in for the bus of a kernel adapter. */
struct AdapterBus : smbusd::Bus {
    using Bus::Bus;
    std::string backend() const override { return "adapter"; }
    void execute( const smbusd::Operation &, Completion ) override {}
    const std::string &trace() const override { return name(); }
};

TEST( HardwareConfig, RefusesFaultsOfRealHardware ) {
    test::ManualScheduler scheduler;
    smbusd::Log log( smbusd::LogLevel::Error );
    smbusd::Hardware board( scheduler, log );
    std::string device;
    const auto factory =
        [ & ]( std::string name, const smbusd::BusKey &key,
               const smbusd::AdapterSpec &wanted ) -> std::unique_ptr<smbusd::Bus> {
        device = wanted.describe();
        return std::make_unique<AdapterBus>( name, key );
    };
    try {
        smbusd::loadHardwareText(
            R"({ "buses": [ { "name": "r", "master": "I2C", "bus": 1, "adapter": "/dev/i2c-7" } ],
                 "faults": [ { "target": "r", "kind": "nack" } ] })",
            "h.json", ".", board, factory );
        FAIL() << "loaded";
    } catch ( const smbusd::ConfigError &error ) {
        EXPECT_EQ(
            std::string( error.what() ),
            "h.json: at /faults/0/target: \"r\"; expected an emulated bus: real hardware has "
            "faults of its own" );
    }
    EXPECT_EQ( device, "/dev/i2c-7" );
}

TEST( HardwareConfig, MixesKernelAdaptersAndEmulatedBuses ) {
    test::ManualScheduler scheduler;
    smbusd::Log log( smbusd::LogLevel::Error );
    smbusd::Hardware board( scheduler, log );
    std::vector<smbusd::AdapterSpec> specs;
    smbusd::loadHardwareText(
        R"({ "buses": [
            { "name": "a", "master": "I2C", "bus": 1, "adapter": 3 },
            { "name": "b", "master": "I2C", "bus": 2, "adapter": "SMBus I801 adapter at 0700",
              "force": true },
            { "name": "c", "master": "I2C", "bus": 3, "chips": [] },
            { "name": "d", "master": "I2C", "bus": 4, "adapter": "/dev/board-bus",
              "force": false } ] })",
        "h.json", ".", board,
        [ & ]( std::string name, const smbusd::BusKey &key, const smbusd::AdapterSpec &spec ) {
            specs.push_back( spec );
            return std::make_unique<AdapterBus>( name, key );
        } );
    ASSERT_EQ( specs.size(), 3u );
    EXPECT_EQ( specs[ 0 ].describe(), "/dev/i2c-3" );
    EXPECT_FALSE( specs[ 0 ].force );
    EXPECT_EQ( specs[ 1 ].describe(), "\"SMBus I801 adapter at 0700\"" );
    EXPECT_TRUE( specs[ 1 ].force );
    EXPECT_FALSE( specs[ 2 ].force );
    EXPECT_EQ( board.findBus( "c" )->backend(), "virtual" );
    EXPECT_EQ( board.buses().size(), 4u );
}

TEST( HardwareConfig, OneAdapterIsOneBus ) {
    const auto message = []( const std::string &second, const smbusd::AdapterBusFactory &factory ) {
        test::ManualScheduler scheduler;
        smbusd::Log log( smbusd::LogLevel::Error );
        smbusd::Hardware board( scheduler, log );
        try {
            smbusd::loadHardwareText(
                R"({ "buses": [ { "name": "a", "master": "I2C", "bus": 1, "adapter": 3 },
                                { "name": "b", "master": "I2C", "bus": 2, "adapter": )" +
                    second + " } ] }",
                "h.json", ".", board, factory );
        } catch ( const smbusd::ConfigError &error ) {
            return std::string( error.what() );
        }
        return std::string();
    };
    const auto any = []( std::string name, const smbusd::BusKey &key,
                         const smbusd::AdapterSpec &spec ) -> std::unique_ptr<smbusd::Bus> {
        if ( spec.by == smbusd::AdapterSpec::By::Name ) {
            throw smbusd::AdapterTaken( "/dev/i2c-3 (\"host\") is bus \"a\" already" );
        }
        return std::make_unique<AdapterBus>( name, key );
    };
    // By the words of the configuration alone, wherever it is checked.
    for ( const char *same : { "3", "\"3\"", "\"i2c-3\"", "\"/dev/i2c-3\"" } ) {
        EXPECT_EQ( message( same, any ),
                   std::string( "h.json: at /buses/1/adapter: " ) + same +
                       "; expected an adapter that no other bus has (bus \"a\" has it)" );
    }
    // By what the kernel says.
    EXPECT_EQ( message( "\"host\"", any ),
               "h.json: at /buses/1/adapter: \"host\"; expected an adapter that no other bus has "
               "(/dev/i2c-3 (\"host\") is bus \"a\" already)" );
    EXPECT_EQ( message( "4", any ), "" );
}

TEST( HardwareConfig, ReadsAFileAndWhatLiesBesideIt ) {
    const common::TemporaryFolder folder;
    folder.write( "rom.bin", "image" );
    const std::string file = folder.write(
        "hardware.json",
        TestBoard::withChips(
            R"({ "name": "rom", "type": "eeprom", "address": 80, "image": "rom.bin" })" ) );
    test::ManualScheduler scheduler;
    smbusd::Log log( smbusd::LogLevel::Error );
    smbusd::Hardware board( scheduler, log );
    smbusd::loadHardware( file, board, nullptr );
    EXPECT_EQ( std::get<uint32_t>( board.findChip( "rom" )->peek( 4 ) ), uint32_t{ 'e' } );
}

TEST( HardwareConfig, NamesAFileThatCannotBeRead ) {
    test::ManualScheduler scheduler;
    smbusd::Log log( smbusd::LogLevel::Error );
    smbusd::Hardware board( scheduler, log );
    try {
        smbusd::loadHardware( "/nowhere/hardware.json", board, nullptr );
        FAIL() << "loaded";
    } catch ( const smbusd::ConfigError &error ) {
        EXPECT_EQ( std::string( error.what() ),
                   "/nowhere/hardware.json: cannot be read: No such file or directory" );
    }
}

} // namespace
