#include "orvan/board/TopologyIndex.h"

#include <algorithm>
#include <set>
#include <span>
#include <string_view>

#include <fmt/core.h>

#include "orvan/board/DriverRules.h"
#include "orvan/json/Schema.h"

namespace orvan {

namespace {

using rapidjson::SizeType;
using rapidjson::Value;

/** The keys that the library reads, per kind of node; others it passes over. */
constexpr std::string_view busKeys[] = { "id", "label", "devices", "muxes", "comment" };
constexpr std::string_view muxKeys[] = { "did", "label", "busses", "comment" };
constexpr std::string_view acceleratorKeys[] = { "id", "label", "busses", "comment" };
constexpr std::string_view mediumKeys[] = { "type", "ham",       "label",   "pci",   "accelerators",
                                            "id",   "simulated", "devices", "muxes", "comment" };
constexpr std::string_view deviceKeys[] = {
    "did",        "label",         "components", "driver",          "address", "uid",
    "driverArgs", "isMultiDevice", "provideHam", "multiDeviceArgs", "name",    "comment" };

} // namespace

bool DevicePlace::inlineDeclared() const {
    return object && object->HasMember( "driver" );
}

std::string DevicePlace::path( const TopologyIndex &topology ) const {
    std::string text = medium;
    if ( accelerator ) {
        text += fmt::format( " accel {}", *accelerator );
    }
    if ( bus ) {
        text += fmt::format( " bus {}", *bus );
    }
    for ( const MuxStep &step : muxes ) {
        const DevicePlace *chip = topology.device( step.did );
        text += chip ? fmt::format( ", mux {:#04x} ch {:#04x}", TopologyIndex::addressOf( *chip ),
                                    step.channel )
                     : fmt::format( ", mux {} ch {:#04x}", step.did, step.channel );
    }
    return text;
}

/** One walk over the document, carrying the way from the root. */
struct TopologyIndex::Builder {
    TopologyIndex &index;
    const JsonFile &file;
    Problems &problems;
    DevicePlace way;                                    // without device
    std::map<std::string, std::string> labelPointers{}; // first use of each label

    void error( const std::string &pointer, const Value &value, const std::string &expected ) {
        problems.error( file.name, pointer, &value, expected );
    }

    void warnOfKeys( const Value &object, const std::string &pointer,
                     std::span<const std::string_view> known ) {
        for ( const auto &member : object.GetObject() ) {
            const std::string_view key( member.name.GetString(), member.name.GetStringLength() );
            if ( std::find( known.begin(), known.end(), key ) == known.end() ) {
                problems.warning( file.name, common::pointerTo( pointer, key ),
                                  "unknown key, ignored by the library" );
            }
        }
    }

    void label( const Value &node, const std::string &pointer, std::optional<uint32_t> did ) {
        if ( !node.HasMember( "label" ) ) {
            return;
        }
        const std::string text = node[ "label" ].GetString();
        const auto [ it, isNew ] = labelPointers.emplace( text, pointer );
        if ( !isNew ) {
            error( common::pointerTo( pointer, "label" ), node[ "label" ],
                   "a label of its own: " + it->second + " has the same" );
        }
        index.labels_[ text ] = did;
    }

    /** @p each is called with every element and its pointer. */
    template <typename Each>
    void array( const Value &node, const char *key, const std::string &pointer, Each each ) {
        if ( !node.HasMember( key ) ) {
            return;
        }
        const Value &elements = node[ key ];
        const std::string base = common::pointerTo( pointer, key );
        for ( SizeType i = 0; i < elements.Size(); ++i ) {
            each( elements[ i ], common::pointerTo( base, i ) );
        }
    }

    /** Walks the elements of @p key; each must have an "id" that no earlier one has. */
    template <typename Each>
    void uniqueIds( const Value &node, const char *key, const std::string &pointer,
                    const char *what, Each each ) {
        std::map<int64_t, std::string> seen;
        array( node, key, pointer, [ & ]( const Value &element, const std::string &where ) {
            const auto [ it, isNew ] = seen.emplace( element[ "id" ].GetInt64(), where );
            if ( !isNew ) {
                error( common::pointerTo( where, "id" ), element[ "id" ],
                       fmt::format( "{} of its own: {} has the same", what, it->second ) );
            }
            each( element, where );
        } );
    }

    void device( const Value &node, const std::string &pointer ) {
        warnOfKeys( node, pointer, deviceKeys );
        DevicePlace place = way;
        place.did = node[ "did" ].GetUint();
        place.pointer = pointer;
        place.object = &node;
        if ( node.HasMember( "label" ) ) {
            place.label = node[ "label" ].GetString();
        }
        label( node, pointer, place.did );
        const auto [ it, isNew ] = index.devices_.emplace( place.did, place );
        if ( !isNew ) {
            error( common::pointerTo( pointer, "did" ), node[ "did" ],
                   "a device id of its own: " + it->second.pointer + " has the same" );
        }
        if ( place.inlineDeclared() ) {
            inlineDeclaration( node, pointer );
        }
        array( node, "components", pointer, [ & ]( const Value &part, const std::string &where ) {
            label( part, where, std::nullopt );
            const uint32_t uid = part[ "uid" ].GetUint();
            if ( !index.components_.emplace( uid, place.did ).second ) {
                error( common::pointerTo( where, "uid" ), part[ "uid" ],
                       fmt::format(
                           "a component id of its own: device {} has a component with the same",
                           index.components_.at( uid ) ) );
            }
        } );
    }

    void inlineDeclaration( const Value &node, const std::string &pointer ) {
        if ( !topologySchema().check( "description", file, node, pointer, problems ) ) {
            return;
        }
        const std::string driver = node[ "driver" ].GetString();
        // An empty name is filled in by whoever looks the device up by its label.
        if ( !driver.empty() && !findDriver( driver ) ) {
            error( common::pointerTo( pointer, "driver" ), node[ "driver" ],
                   "a driver of the library: " + driverNames() );
        }
        if ( node.HasMember( "isMultiDevice" ) && node[ "isMultiDevice" ].IsTrue() ) {
            error( common::pointerTo( pointer, "isMultiDevice" ), node[ "isMultiDevice" ],
                   "false: a device of the topology is a single one" );
        }
    }

    void mux( const Value &node, const std::string &pointer ) {
        warnOfKeys( node, pointer, muxKeys );
        label( node, pointer, std::nullopt );
        uniqueIds( node, "busses", pointer, "a channel byte",
                   [ & ]( const Value &channel, const std::string &where ) {
                       way.muxes.push_back(
                           { node[ "did" ].GetUint(), channel[ "id" ].GetUint(), pointer } );
                       bus( channel, where );
                       way.muxes.pop_back();
                   } );
    }

    void bus( const Value &node, const std::string &pointer, bool isMedium = false ) {
        if ( !isMedium ) {
            warnOfKeys( node, pointer, busKeys );
            label( node, pointer, std::nullopt );
        }
        array( node, "devices", pointer, [ & ]( const Value &element, const std::string &where ) {
            device( element, where );
        } );
        array( node, "muxes", pointer,
               [ & ]( const Value &element, const std::string &where ) { mux( element, where ); } );
    }

    void medium( const Value &node, const std::string &pointer ) {
        const std::string type = node[ "type" ].GetString();
        const bool isBus = type != "SCD" && type != "Celestica" && type != "LinuxFs";
        if ( !topologySchema().check( isBus ? "I2C" : type, file, node, pointer, problems ) ) {
            return;
        }
        warnOfKeys( node, pointer, mediumKeys );
        label( node, pointer, std::nullopt );
        way = DevicePlace();
        way.medium = node.HasMember( "label" ) ? node[ "label" ].GetString() : type;
        way.ham = node[ "ham" ].GetString();
        way.onFileSystem = type == "LinuxFs";
        if ( isBus ) {
            way.bus = node[ "id" ].GetUint();
        }
        if ( isBus || way.onFileSystem ) {
            bus( node, pointer, true );
            return;
        }
        uniqueIds( node, "accelerators", pointer, "an accelerator number",
                   [ & ]( const Value &accelerator, const std::string &where ) {
                       warnOfKeys( accelerator, where, acceleratorKeys );
                       label( accelerator, where, std::nullopt );
                       way.accelerator = accelerator[ "id" ].GetUint();
                       uniqueIds( accelerator, "busses", where, "a bus number",
                                  [ & ]( const Value &element, const std::string &there ) {
                                      way.bus = element[ "id" ].GetUint();
                                      bus( element, there );
                                  } );
                   } );
    }

    /** The chip of every mux must be there, be a mux, and be reachable without going through itself. */
    void muxChips( const Value &node, const std::string &pointer ) {
        if ( node.IsArray() ) {
            for ( SizeType i = 0; i < node.Size(); ++i ) {
                muxChips( node[ i ], common::pointerTo( pointer, i ) );
            }
            return;
        }
        for ( const char *key : { "accelerators", "busses", "muxes" } ) {
            if ( node.HasMember( key ) ) {
                muxChips( node[ key ], common::pointerTo( pointer, key ) );
            }
        }
        array( node, "muxes", pointer, [ & ]( const Value &element, const std::string &where ) {
            muxChip( element, where );
        } );
    }

    void muxChip( const Value &node, const std::string &pointer ) {
        const DevicePlace *chip = index.device( node[ "did" ].GetUint() );
        const std::string where = common::pointerTo( pointer, "did" );
        if ( !chip ) {
            error( where, node[ "did" ], "the id of a device of this topology: the mux chip" );
            return;
        }
        if ( !chip->inlineDeclared() ) {
            error( where, node[ "did" ],
                   "a device declared inline, with \"driver\" and \"address\": " + chip->pointer +
                       " is not" );
            return;
        }
        const DriverRow *driver = findDriver( ( *chip->object )[ "driver" ].GetString() );
        if ( !driver || !serviceRow( *driver, Service::Mux ) ) {
            error( common::pointerTo( chip->pointer, "driver" ), ( *chip->object )[ "driver" ],
                   "a mux driver, since " + pointer +
                       " is this chip: " + driverNames( Service::Mux ) );
        }
        std::set<uint32_t> seen;
        if ( reachedThrough( *chip, chip->did, seen ) ) {
            error( where, node[ "did" ], "a mux chip that is not behind itself" );
        }
    }

    bool reachedThrough( const DevicePlace &place, uint32_t muxDid, std::set<uint32_t> &seen ) {
        for ( const MuxStep &step : place.muxes ) {
            if ( step.did == muxDid ) {
                return true;
            }
            const DevicePlace *chip = index.device( step.did );
            if ( chip && seen.insert( step.did ).second && reachedThrough( *chip, muxDid, seen ) ) {
                return true;
            }
        }
        return false;
    }
};

void TopologyIndex::build( const JsonFile &file, Problems &problems ) {
    if ( !topologySchema().check( "topology", file, file.document, "", problems ) ) {
        return;
    }
    Builder builder{ *this, file, problems, {} };
    for ( SizeType i = 0; i < file.document.Size(); ++i ) {
        builder.medium( file.document[ i ], common::pointerTo( "", i ) );
    }
    if ( !problems.hasErrors() ) {
        builder.muxChips( file.document, "" );
    }
}

const DevicePlace *TopologyIndex::device( uint32_t did ) const {
    const auto it = devices_.find( did );
    return it == devices_.end() ? nullptr : &it->second;
}

const DevicePlace *TopologyIndex::component( uint32_t uid ) const {
    const auto it = components_.find( uid );
    return it == components_.end() ? nullptr : device( it->second );
}

const DevicePlace *TopologyIndex::deviceLabelled( const std::string &label ) const {
    const auto it = labels_.find( label );
    return it == labels_.end() || !it->second ? nullptr : device( *it->second );
}

uint32_t TopologyIndex::addressOf( const DevicePlace &place ) {
    return ( *place.object )[ "address" ][ "address" ].GetUint();
}

} // namespace orvan
