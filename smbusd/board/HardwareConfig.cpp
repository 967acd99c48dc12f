#include "smbusd/board/HardwareConfig.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "smbusd/board/FaultConfig.h"
#include "smbusd/bus/MasterNames.h"
#include "smbusd/emulation/ChipTypes.h"

namespace smbusd {

namespace {

constexpr uint32_t lastAddress = 0x7F;
constexpr uint32_t longestMilliseconds = 24 * 60 * 60 * 1000;
constexpr uint32_t largestNumber = 0xFFFFFFFF;

/** Fills one board from one document. */
class Loader {
  public:
    Loader( Hardware &hardware, const std::string &folder, const AdapterBusFactory &adapterBus )
        : hardware_( hardware ), folder_( folder ), adapterBus_( adapterBus ) {}

    void load( const JsonView &root ) {
        root.expectObject(
            { "name", "description", "powerCycleMs", "buses", "units", "connections", "faults" } );
        if ( const auto name = root.find( "name" ) ) {
            name->text();
        }
        if ( const auto cycle = root.find( "powerCycleMs" ) ) {
            hardware_.setPowerCycleTime(
                std::chrono::milliseconds( cycle->number( 0, longestMilliseconds ) ) );
        }
        root.at( "buses" ).forEachElement( [ this ]( const JsonView &bus ) { loadBus( bus ); } );
        if ( const auto units = root.find( "units" ) ) {
            units->forEachElement( [ this ]( const JsonView &unit ) { loadUnit( unit ); } );
        }
        if ( const auto connections = root.find( "connections" ) ) {
            connections->forEachElement(
                [ this ]( const JsonView &connection ) { loadConnection( connection ); } );
        }
        hardware_.updateConnections();
        for ( const std::unique_ptr<Chip> &chip : hardware_.chips() ) {
            chip->settle();
        }
        if ( const auto faults = root.find( "faults" ) ) {
            faults->forEachElement( [ this ]( const JsonView &fault ) {
                hardware_.faults.inject( readFault( fault, hardware_ ) );
            } );
        }
    }

  private:
    std::string newName( const JsonView &json ) {
        const JsonView name = json.at( "name" );
        std::string text = name.text();
        if ( text.empty() ) {
            name.fail( "a name" );
        }
        if ( !names_.insert( text ).second ) {
            name.fail( "a name that no other bus, chip or unit has" );
        }
        return text;
    }

    void loadBus( const JsonView &json ) {
        json.expectObject( { "name", "description", "master", "pci", "accelerator", "bus",
                             "adapter", "force", "chips" } );
        const std::string name = newName( json );
        const BusKey key = readKey( json );
        if ( hardware_.findBus( key ) != nullptr ) {
            json.fail( fmt::format( "a place that no other bus has ({} is \"{}\" already)",
                                    describe( key ), hardware_.findBus( key )->name() ) );
        }
        const auto adapter = json.find( "adapter" );
        const auto chips = json.find( "chips" );
        if ( adapter.has_value() == chips.has_value() ) {
            json.fail( "either \"chips\" (an emulated bus) or \"adapter\" (a kernel adapter)" );
        }
        const auto force = json.find( "force" );
        if ( force && !adapter ) {
            force->fail(
                "no \"force\" on an emulated bus: no driver of the kernel uses its chips" );
        }
        if ( adapter ) {
            loadAdapter( *adapter, name, key, force && force->boolean() );
        } else {
            loadChips( *chips, hardware_.addVirtualBus( name, key ).root() );
        }
    }

    void loadAdapter( const JsonView &json, const std::string &name, const BusKey &key,
                      bool force ) {
        AdapterSpec spec = readAdapterSpec( json );
        spec.force = force;
        const auto taken = [ &json ]( const std::string &by ) {
            json.fail( fmt::format( "an adapter that no other bus has ({})", by ) );
        };
        for ( const auto &[ other, bus ] : adapters_ ) {
            if ( other.sameWords( spec ) ) {
                taken( fmt::format( "bus \"{}\" has it", bus ) );
            }
        }
        try {
            hardware_.addBus( adapterBus_( name, key, spec ) );
        } catch ( const AdapterTaken &error ) {
            taken( error.what() );
        }
        adapters_.emplace_back( spec, name );
    }

    static BusKey readKey( const JsonView &json ) {
        BusKey key;
        const JsonView master = json.at( "master" );
        const auto type = masterFromName( master.text() );
        if ( !type ) {
            master.fail( fmt::format( "one of {}", fmt::join( masterNames(), ", " ) ) );
        }
        key.master = *type;
        const auto pci = json.find( "pci" );
        if ( key.master == Smbus::SCD ) {
            key.pci = json.at( "pci" ).number( 0, largestNumber );
        } else if ( pci ) {
            pci->fail( "no PCI address, since the master is not an SCD" );
        }
        if ( const auto accelerator = json.find( "accelerator" ) ) {
            key.accelerator = static_cast<uint8_t>( accelerator->number( 0, 0x7F ) );
        }
        key.bus = static_cast<uint8_t>( json.at( "bus" ).number( 0, 0x7F ) );
        return key;
    }

    void loadChips( const JsonView &json, Segment &segment ) {
        json.forEachElement( [ & ]( const JsonView &chip ) { loadChip( chip, segment ); } );
    }

    void loadChip( const JsonView &json, Segment &segment ) {
        if ( !json.isObject() ) {
            json.fail( "a chip: an object" );
        }
        const JsonView typeName = json.at( "type" );
        const ChipType *type = findChipType( typeName.text() );
        if ( type == nullptr ) {
            typeName.fail( fmt::format( "one of {}", fmt::join( chipTypeNames(), ", " ) ) );
        }
        const std::string name = newName( json );
        const JsonView address = json.at( "address" );
        const auto deviceAddress = static_cast<uint8_t>( address.number( 0, lastAddress ) );

        std::unique_ptr<Chip> made =
            type->create( { name, std::string( type->name ), deviceAddress, hardware_.scheduler(),
                            hardware_.log(), hardware_ },
                          { json, folder_ } );
        std::vector<std::string_view> keys = type->keys;
        if ( made->mux() != nullptr ) {
            keys.push_back( "channels" );
        }
        json.expectObject( { "name", "description", "type", "address", "plugged", "inputs" },
                           keys );
        Chip &chip = hardware_.addChip( std::move( made ) );
        if ( const auto inputs = json.find( "inputs" ) ) {
            loadInputs( *inputs, chip );
        }
        if ( const auto plugged = json.find( "plugged" ) ) {
            chip.plug( plugged->boolean() );
        }
        expectFree( address, chip, segment );
        segment.add( chip );
        if ( const auto channels = json.find( "channels" ) ) {
            channels->forEachMember( [ & ]( std::string_view key, const JsonView &channel ) {
                Mux &mux = *chip.mux();
                loadChips( channel,
                           mux.channel( channel.keyNumber( key, 0, mux.channelCount() - 1 ) ) );
            } );
        }
    }

    static void expectFree( const JsonView &address, const Chip &chip, const Segment &segment ) {
        for ( const Chip *other : segment.chips() ) {
            if ( chip.plugged() && other->plugged() && other->listensTo( chip.address() ) ) {
                address.fail( fmt::format( "an address that no other plugged chip of the bus has "
                                           "(\"{}\" has it)",
                                           other->name() ) );
            }
        }
    }

    static void loadInputs( const JsonView &json, Chip &chip ) {
        json.forEachMember( [ & ]( std::string_view input, const JsonView &value ) {
            try {
                chip.setInput( input, value.real() );
            } catch ( const ChipError &error ) {
                value.fail( fmt::format( "an input of the chip ({})", error.what() ) );
            }
        } );
    }

    Chip &chipNamed( const JsonView &json ) const {
        Chip *chip = hardware_.findChip( json.text() );
        if ( chip == nullptr ) {
            json.fail( "the name of a chip" );
        }
        return *chip;
    }

    void loadUnit( const JsonView &json ) {
        json.expectObject( { "name", "description", "chips", "inputs", "plugged" } );
        Unit unit;
        unit.name = newName( json );
        if ( const auto chips = json.find( "chips" ) ) {
            chips->forEachElement(
                [ & ]( const JsonView &chip ) { unit.chips.push_back( &chipNamed( chip ) ); } );
        }
        if ( const auto inputs = json.find( "inputs" ) ) {
            inputs->forEachElement( [ & ]( const JsonView &line ) {
                line.expectObject( { "chip", "input", "plugged", "unplugged" } );
                const JsonView input = line.at( "input" );
                UnitInput unitInput{ &chipNamed( line.at( "chip" ) ), input.text(),
                                     line.at( "plugged" ).real(), line.at( "unplugged" ).real() };
                try {
                    unitInput.chip->setInput( unitInput.input, unitInput.unplugged );
                    unitInput.chip->setInput( unitInput.input, unitInput.plugged );
                } catch ( const ChipError &error ) {
                    input.fail( fmt::format( "an input of the chip ({})", error.what() ) );
                }
                unit.inputs.push_back( std::move( unitInput ) );
            } );
        }
        const auto plugged = json.find( "plugged" );
        const bool isPlugged = plugged ? plugged->boolean() : true;
        Unit &added = hardware_.addUnit( std::move( unit ) );
        hardware_.plug( added, isPlugged );
    }

    void loadConnection( const JsonView &json ) {
        json.expectObject( { "from", "output", "to", "input", "unplugged" } );
        const JsonView output = json.at( "output" );
        const JsonView input = json.at( "input" );
        const auto unplugged = json.find( "unplugged" );
        constexpr double pulledUp = 1;
        Connection connection{ {},
                               output.text(),
                               &chipNamed( json.at( "to" ) ),
                               input.text(),
                               unplugged ? unplugged->real() : pulledUp };
        json.at( "from" ).forEachElement( [ & ]( const JsonView &from ) {
            connection.from.push_back( &chipNamed( from ) );
            try {
                connection.from.back()->output( connection.output );
            } catch ( const ChipError &error ) {
                output.fail( fmt::format( "an output of the chip ({})", error.what() ) );
            }
        } );
        try {
            connection.to->setInput( connection.input, connection.unplugged );
        } catch ( const ChipError &error ) {
            input.fail( fmt::format( "an input of the chip ({})", error.what() ) );
        }
        hardware_.connect( std::move( connection ) );
    }

    Hardware &hardware_;
    const std::string &folder_;
    const AdapterBusFactory &adapterBus_;
    std::set<std::string> names_;
    std::vector<std::pair<AdapterSpec, std::string>> adapters_; ///< and the buses that they are
};

} // namespace

void loadHardwareText( std::string_view text, const std::string &document,
                       const std::string &folder, Hardware &hardware,
                       const AdapterBusFactory &adapterBus ) {
    const rapidjson::Document parsed = parseJson( text, document );
    Loader( hardware, folder, adapterBus ).load( JsonView( parsed, document ) );
}

void loadHardware( const std::string &file, Hardware &hardware,
                   const AdapterBusFactory &adapterBus ) {
    std::ifstream stream( file, std::ios::binary );
    if ( !stream ) {
        throw ConfigError( fmt::format( "{}: cannot be read: {}", file, std::strerror( errno ) ) );
    }
    const std::string text( ( std::istreambuf_iterator<char>( stream ) ),
                            std::istreambuf_iterator<char>() );
    if ( stream.bad() ) {
        throw ConfigError( fmt::format( "{}: cannot be read", file ) );
    }
    loadHardwareText( text, file, std::filesystem::path( file ).parent_path().string(), hardware,
                      adapterBus );
}

} // namespace smbusd
