#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <pl/slot.h>

#include "orvan/kinds/FieldData.h"
#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

/** Asks once for presence and field data: the answer's text is the field data. */
const Value &answer( Readout &readout ) {
    return readout.once( "fdl", [ &readout ] {
        auto *slot = readout.record<pl_slot>();
        char *text = nullptr;
        const pl_status status = call( slot->ops, &pl_slot_ops::get_presence, slot, &text );
        const std::unique_ptr<char, decltype( &std::free )> owner( text, &std::free );
        if ( status != PL_STATUS_OK ) {
            return Value::failed( status );
        }
        return text ? Value::of( std::string( text ) ) : Value();
    } );
}

Value present( Readout &readout ) {
    const pl_status status = answer( readout ).status;
    if ( status != PL_STATUS_OK && status != PL_STATUS_NOT_PRESENT ) {
        return Value::failed( status );
    }
    return Value::of( static_cast<long long>( status == PL_STATUS_OK ) );
}

Value fdl( Readout &readout ) {
    const Value &value = answer( readout );
    return value.status == PL_STATUS_NOT_PRESENT ? Value() : value;
}

/** The argument that holds the template of a fan tray's field data. */
constexpr const char *trayTemplate = "fanFdl";
/** Those that hold a template for each model of supply; the models' own arguments end alike. */
constexpr const char *supplyTemplates = "psuFdl_";
constexpr const char *supplyModels = "model_";

using Arguments = std::map<std::string, std::string>;

std::string argumentOr( const Arguments &args, const std::string &name ) {
    const auto it = args.find( name );
    return it == args.end() ? std::string() : it->second;
}

/** What the text @p fdl tells of the slot's unit, by each of the templates it fits. */
void readBack( const std::string &fdl, const Arguments &args, std::vector<Arguments> &found ) {
    for ( const auto &[ argument, format ] : args ) {
        const bool isSupply = argument.starts_with( supplyTemplates );
        if ( !isSupply && argument != trayTemplate ) {
            continue;
        }
        if ( auto fields = fieldData( fdl, format ) ) {
            if ( isSupply ) {
                const std::string number = argument.substr( std::strlen( supplyTemplates ) );
                ( *fields )[ "modelName" ] = argumentOr( args, supplyModels + number );
            }
            found.push_back( std::move( *fields ) );
        }
    }
}

/** One of the field data; none when templates disagree on it. */
Value field( Readout &readout, const char *name ) {
    Value value = fdl( readout );
    const auto *text = std::get_if<std::string>( &value.data );
    if ( !text ) {
        return value;
    }
    std::vector<Arguments> found;
    const PeripheralDescription &description = *readout.peripheral().description;
    readBack( *text, description.args, found );
    for ( const Arguments &part : description.parts ) {
        readBack( *text, part, found );
    }
    std::set<std::string> answers;
    for ( const Arguments &fields : found ) {
        answers.insert( argumentOr( fields, name ) );
    }
    return answers.size() == 1 && !answers.begin()->empty() ? Value::of( *answers.begin() )
                                                            : Value();
}

Value airflow( Readout &readout ) {
    return field( readout, "airflowDirection" );
}

Value model( Readout &readout ) {
    return field( readout, "modelName" );
}

Value serial( Readout &readout ) {
    return field( readout, "serialNum" );
}

constexpr Reading readings[] = { { "present", "", 0, present }, { "fdl", "", 0, fdl } };
constexpr Reading trayReadings[] = { { "present", "", 0, present },
                                     { "airflow", "", 0, airflow },
                                     { "model", "", 0, model },
                                     { "fdl", "", 0, fdl } };
constexpr Reading supplyReadings[] = { { "present", "", 0, present },
                                       { "model", "", 0, model },
                                       { "serial", "", 0, serial },
                                       { "fdl", "", 0, fdl } };

std::span<const Reading> readingsOf( const Arguments &args ) {
    for ( const auto &[ argument, format ] : args ) {
        if ( argument == trayTemplate ) {
            return trayReadings;
        }
        if ( argument.starts_with( supplyTemplates ) ) {
            return supplyReadings;
        }
    }
    return readings;
}

/** What a slot's field data tell follows from what its description fills them with. */
std::span<const Reading> readingsOf( const Peripheral &peripheral ) {
    const PeripheralDescription &description = *peripheral.description;
    // All parts of a slot are of the same unit.
    return readingsOf( description.parts.empty() ? description.args : description.parts.front() );
}

} // namespace

const Kind slotKind = {
    "slot", "pl_slot_init", "pl_slot_add", addDescribed<pl_slot>, readingsOf, noSettings,
};

} // namespace orvan
