#include "orvan/board/DriverRules.h"

#include <algorithm>
#include <charconv>
#include <climits>

#include <fmt/core.h>

#include "OrvanGeneric/Drivers/DriverRows.h"

namespace orvan {

namespace {

using Choices = decltype( Argument::choices );

/** Calls @p use for every choice; an argument has as many as come before the first null. */
template <typename Use>
void forEachChoice( const Choices &choices, Use use ) {
    for ( const char *choice : choices ) {
        if ( choice ) {
            use( std::string_view( choice ) );
        }
    }
}

std::string listed( const Choices &choices, const char *before, const char *after ) {
    std::string list;
    forEachChoice( choices, [ & ]( std::string_view choice ) {
        list += fmt::format( "{}{}{}{}", list.empty() ? "" : ", ", before, choice, after );
    } );
    return list;
}

bool isIntegerWithin( std::string_view value, long minimum, long maximum ) {
    long number = 0;
    const char *end = value.data() + value.size();
    const auto result = std::from_chars( value.data(), end, number );
    return result.ec == std::errc() && result.ptr == end && number >= minimum && number <= maximum;
}

bool isChoice( const Choices &choices, std::string_view value ) {
    bool found = false;
    forEachChoice( choices,
                   [ & ]( std::string_view choice ) { found = found || choice == value; } );
    return found;
}

bool holdsPlaceholders( const Choices &keys, std::string_view value ) {
    bool all = true;
    forEachChoice( keys, [ & ]( std::string_view key ) {
        all = all && value.find( fmt::format( "{{{}}}", key ) ) != std::string_view::npos;
    } );
    return all;
}

} // namespace

std::string expected( const Argument &argument ) {
    switch ( argument.type ) {
    case ArgType::Integer:
        return argument.maximum == INT_MAX
                   ? fmt::format( "an integer of at least {}", argument.minimum )
                   : fmt::format( "an integer from {} to {}", argument.minimum, argument.maximum );
    case ArgType::Flag:
        return "true or false";
    case ArgType::OneOf:
        return "one of " + listed( argument.choices, "\"", "\"" );
    case ArgType::Text:
        return "a text that is not empty";
    case ArgType::AnyText:
        return "a text";
    case ArgType::Template:
        return "a text with the placeholders " + listed( argument.choices, "{", "}" );
    case ArgType::DeviceLabel:
        return "the label of a device that the topology declares with a driver";
    }
    return {};
}

bool accepts( const Argument &argument, std::string_view value ) {
    switch ( argument.type ) {
    case ArgType::Integer:
        return isIntegerWithin( value, argument.minimum, argument.maximum );
    case ArgType::Flag:
        return value == "true" || value == "false";
    case ArgType::OneOf:
        return isChoice( argument.choices, value );
    case ArgType::Text:
    case ArgType::DeviceLabel:
        return !value.empty();
    case ArgType::AnyText:
        return true;
    case ArgType::Template:
        return holdsPlaceholders( argument.choices, value );
    }
    return false;
}

bool applies( const Condition &condition, const ArgTexts &args ) {
    if ( condition.kind == Condition::Always ) {
        return true;
    }
    const auto it = args.find( condition.argument );
    switch ( condition.kind ) {
    case Condition::Given:
        return it != args.end();
    case Condition::NotGiven:
        return it == args.end();
    case Condition::HasText:
        return it != args.end() && it->second == condition.text;
    case Condition::Always:
        break;
    }
    return true;
}

const ServiceRow *serviceRow( const DriverRow &driver, Service service ) {
    const auto it =
        std::find_if( driver.services.begin(), driver.services.end(),
                      [ service ]( const ServiceRow &row ) { return row.service == service; } );
    return it == driver.services.end() ? nullptr : &*it;
}

std::span<const DriverRow> driverTable() {
    return Drivers::Table::driverRows;
}

const DriverRow *findDriver( std::string_view name ) {
    const auto drivers = driverTable();
    const auto it = std::find_if( drivers.begin(), drivers.end(),
                                  [ name ]( const DriverRow &row ) { return row.name == name; } );
    return it == drivers.end() ? nullptr : &*it;
}

std::string driverNames() {
    std::string names;
    for ( const DriverRow &row : driverTable() ) {
        names += fmt::format( "{}\"{}\"", names.empty() ? "" : ", ", row.name );
    }
    return names;
}

std::string driverNames( Service service ) {
    std::string names;
    for ( const DriverRow &row : driverTable() ) {
        if ( serviceRow( row, service ) ) {
            names += fmt::format( "{}\"{}\"", names.empty() ? "" : ", ", row.name );
        }
    }
    return names;
}

const char *serviceName( Service service ) {
    switch ( service ) {
    case Service::Gpio:
        return "a GPIO line";
    case Service::Led:
        return "an LED";
    case Service::Fan:
        return "a fan";
    case Service::TempSensor:
        return "a temperature sensor";
    case Service::SfpXcvr:
        return "an SFP cage";
    case Service::QsfpXcvr:
        return "a QSFP cage";
    case Service::Psu:
        return "a power supply";
    case Service::Slot:
        return "a slot";
    case Service::SmbusProxy:
        return "raw SMBus access";
    case Service::Mux:
        return "a mux";
    }
    return "";
}

} // namespace orvan
