#include "orvan/board/Board.h"

#include <algorithm>
#include <map>

#include <fmt/core.h>

#include "orvan/board/SharedAddresses.h"
#include "orvan/json/Schema.h"

namespace orvan {

namespace {

using rapidjson::SizeType;
using rapidjson::Value;

/** Reads the entries of peripherals.json one by one. */
class Loader {
  public:
    Loader( Board &board, JsonFile &file, Problems &problems )
        : board_( board ), file_( file ), problems_( problems ),
          check_( board.topologyFile, board.topology, problems ) {}

    void peripheral( Value &value, const std::string &pointer ) {
        PeripheralDescription peripheral;
        peripheral.kind = value[ "kind" ].GetString();
        peripheral.name = value[ "name" ].GetString();
        const auto [ it, isNew ] = names_.emplace( peripheral.name, pointer );
        if ( !isNew ) {
            problems_.error( file_.name, common::pointerTo( pointer, "name" ), &value[ "name" ],
                             "a name of its own: " + it->second + " has the same" );
        }
        if ( peripheral.kind == "temp_sensor" ) {
            if ( !peripheralsSchema().check( "temp_sensor", file_, value, pointer, problems_ ) ) {
                return;
            }
            peripheral.alert = value[ "alert" ].GetFloat();
            peripheral.critical = value[ "critical" ].GetFloat();
        }
        Value &description = value[ "description" ];
        const std::string where = common::pointerTo( pointer, "description" );
        if ( peripheral.kind == "system" ) {
            peripheral.device = compactJson( description );
            check_.system( file_, pointer );
        } else if ( peripheral.kind == "smbus" && description.HasMember( "label" ) ) {
            labelled( description, where, peripheral );
        } else {
            described( description, where, peripheral );
        }
        board_.peripherals.push_back( std::move( peripheral ) );
    }

    /** Addresses of the devices described so far, by device id. */
    const std::map<uint32_t, uint32_t> &addresses() const { return addresses_; }

  private:
    void labelled( const Value &description, const std::string &where,
                   PeripheralDescription &peripheral ) {
        const auto before = problems_.all().size();
        check_.labelled( file_, description, where );
        if ( problems_.all().size() != before ) {
            return;
        }
        peripheral.device = description[ "label" ].GetString();
        peripheral.address = description[ "address" ].GetUint();
        peripheral.driver = "SmbusProxyDriver";
        const DevicePlace *place = board_.topology.deviceLabelled(
            DescriptionCheck::labelKey( peripheral.device, peripheral.address ) );
        show( place, TopologyIndex::addressOf( *place ), peripheral );
    }

    void described( Value &description, const std::string &where,
                    PeripheralDescription &peripheral ) {
        nestedToText( description );
        peripheral.args = argTexts( description );
        Service service{};
        if ( !DescriptionCheck::serviceOf( peripheral.kind, peripheral.args, service ) ) {
            const std::string pointer =
                common::pointerTo( common::pointerTo( where, "driverArgs" ), "type" );
            const auto type = peripheral.args.find( "type" );
            problems_.errorText( file_.name, pointer,
                                 type == peripheral.args.end() ? "" : "\"" + type->second + "\"",
                                 "one of \"sfp\", \"sfp+\", \"qsfp\", \"qsfp+\"" );
            return;
        }
        const auto before = problems_.all().size();
        check_.description( file_, description, where, service );
        if ( problems_.all().size() != before ) {
            return;
        }
        peripheral.device = compactJson( description );
        parts( description, peripheral );
        peripheral.driver = description[ "driver" ].GetString();
        const uint32_t did = description[ "did" ].GetUint();
        addresses_.emplace( did, description[ "address" ][ "address" ].GetUint() );
        show( description.HasMember( "uid" )
                  ? board_.topology.component( description[ "uid" ].GetUint() )
                  : board_.topology.device( did ),
              description[ "address" ][ "address" ].GetUint(), peripheral );
    }

    /** Authors may write a nested description as an object; the library wants its text. */
    void nestedToText( Value &description ) {
        const auto it = description.FindMember( "multiDeviceArgs" );
        if ( it == description.MemberEnd() || !it->value.IsObject() ) {
            return;
        }
        auto &allocator = file_.document.GetAllocator();
        for ( auto &member : it->value.GetObject() ) {
            if ( member.value.IsObject() ) {
                member.value.SetString( compactJson( member.value ), allocator );
            }
        }
    }

    /** The arguments with which the library will add each part; they have been checked. */
    static void parts( const Value &description, PeripheralDescription &peripheral ) {
        const auto it = description.FindMember( "multiDeviceArgs" );
        if ( it == description.MemberEnd() ) {
            return;
        }
        for ( const auto &member : it->value.GetObject() ) {
            rapidjson::Document part;
            part.Parse( member.value.GetString() );
            ArgTexts args = peripheral.args;
            args.merge( argTexts( part ) );
            peripheral.parts.push_back( std::move( args ) );
        }
    }

    void show( const DevicePlace *place, uint32_t address, PeripheralDescription &peripheral ) {
        if ( place ) {
            peripheral.place =
                fmt::format( "{}, {:#04x}", place->path( board_.topology ), address );
        }
    }

    Board &board_;
    JsonFile &file_;
    Problems &problems_;
    DescriptionCheck check_;
    std::map<std::string, std::string> names_;
    std::map<uint32_t, uint32_t> addresses_;
};

} // namespace

const PeripheralDescription *Board::find( const std::string &name ) const {
    const auto it =
        std::find_if( peripherals.begin(), peripherals.end(),
                      [ &name ]( const PeripheralDescription &p ) { return p.name == name; } );
    return it == peripherals.end() ? nullptr : &*it;
}

void loadBoard( const std::filesystem::path &folder, Board &board, Problems &problems ) {
    board.folder = folder;
    if ( !std::filesystem::is_directory( folder ) ) {
        problems.errorText( folder.string(), "", "", "a board folder" );
        return;
    }
    JsonFile peripherals;
    const bool topologyRead =
        readJsonFile( folder / "topology.json", board.topologyFile, problems );
    const bool peripheralsRead = readJsonFile( folder / "peripherals.json", peripherals, problems );
    if ( topologyRead ) {
        board.topology.build( board.topologyFile, problems );
    }
    // Without a good topology every description would be called wrong.
    if ( !topologyRead || !peripheralsRead || problems.hasErrors() ) {
        return;
    }
    if ( !peripheralsSchema().check( "peripherals", peripherals, peripherals.document, "",
                                     problems ) ) {
        return;
    }
    Loader loader( board, peripherals, problems );
    for ( SizeType i = 0; i < peripherals.document.Size(); ++i ) {
        loader.peripheral( peripherals.document[ i ], common::pointerTo( "", i ) );
    }
    warnOfSharedAddresses( board.topologyFile.name, board.topology, loader.addresses(), problems );
}

} // namespace orvan
