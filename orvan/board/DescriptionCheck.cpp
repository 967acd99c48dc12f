#include "orvan/board/DescriptionCheck.h"

#include <cstring>

#include <fmt/core.h>

#include "OrvanGeneric/Drivers/ArgText.h"
#include "orvan/json/Schema.h"

namespace orvan {

namespace {

using rapidjson::Value;

constexpr const char *systemController = "PSoC";
constexpr const char *psuExpander = "PsuPCA";
constexpr const char *psuExpanderDriver = "MirePsuPCA9555";
constexpr const char *proxyDriver = "SmbusProxyDriver";
constexpr const char *anyDriver = "Dummy"; // what a device without a driver name gets

constexpr const char *knownHams[] = { "OrvanSmbus", "SimHam" };

std::string argPointer( const std::string &pointer, const char *name ) {
    return common::pointerTo( common::pointerTo( pointer, "driverArgs" ), name );
}

} // namespace

ArgTexts argTexts( const Value &description ) {
    ArgTexts texts;
    const auto it = description.FindMember( "driverArgs" );
    if ( it != description.MemberEnd() && it->value.IsObject() ) {
        for ( const auto &member : it->value.GetObject() ) {
            texts[ member.name.GetString() ] = Drivers::argText( member.value );
        }
    }
    return texts;
}

bool DescriptionCheck::serviceOf( const std::string &kind, const ArgTexts &args,
                                  Service &service ) {
    static const std::map<std::string, Service> byKind = {
        { "gpio", Service::Gpio },       { "led", Service::Led },
        { "fan", Service::Fan },         { "temp_sensor", Service::TempSensor },
        { "psu", Service::Psu },         { "slot", Service::Slot },
        { "smbus", Service::SmbusProxy } };
    static const std::map<std::string, Service> byType = { { "sfp", Service::SfpXcvr },
                                                           { "sfp+", Service::SfpXcvr },
                                                           { "qsfp", Service::QsfpXcvr },
                                                           { "qsfp+", Service::QsfpXcvr } };
    const auto type = args.find( "type" );
    const auto &table = kind == "xcvr" ? byType : byKind;
    const auto it = table.find( kind != "xcvr" ? kind : type == args.end() ? "" : type->second );
    if ( it == table.end() ) {
        return false;
    }
    service = it->second;
    return true;
}

std::string DescriptionCheck::labelKey( const std::string &label, uint32_t address ) {
    return fmt::format( "{}<{:#04x}>", label, address );
}

void DescriptionCheck::description( const JsonFile &file, const Value &value,
                                    const std::string &pointer, Service service ) {
    if ( topologySchema().check( "description", file, value, pointer, problems_ ) ) {
        check( { file, value, pointer, argTexts( value ) }, service );
    }
}

void DescriptionCheck::argumentError( const Subject &subject, const char *name,
                                      const std::string &expected ) {
    const auto args = subject.value.FindMember( "driverArgs" );
    const Value *found = nullptr;
    if ( args != subject.value.MemberEnd() && args->value.HasMember( name ) ) {
        found = &args->value[ name ];
    }
    const auto text = subject.args.find( name );
    if ( found || text == subject.args.end() ) {
        problems_.error( subject.file.name, argPointer( subject.pointer, name ), found,
                         found ? expected : expected + " (the key is missing)" );
    } else {
        problems_.errorText( subject.file.name, argPointer( subject.pointer, name ), text->second,
                             expected );
    }
}

void DescriptionCheck::arguments( const Subject &subject, std::span<const Argument> rules ) {
    for ( const Argument &rule : rules ) {
        if ( !applies( rule.condition, subject.args ) ) {
            continue;
        }
        const auto it = subject.args.find( rule.name );
        if ( it == subject.args.end() ) {
            if ( rule.required ) {
                argumentError( subject, rule.name, expected( rule ) );
            }
        } else if ( !accepts( rule, it->second ) ) {
            argumentError( subject, rule.name, expected( rule ) );
        } else if ( rule.type == ArgType::DeviceLabel ) {
            referenced( subject.file, nullptr, argPointer( subject.pointer, rule.name ), it->second,
                        nullptr );
        }
    }
}

/** Sets of arguments that are counted from 1; each set is whole, and the first of it ends the count. */
void DescriptionCheck::numbered( const Subject &subject, std::span<const Argument> rules ) {
    if ( rules.empty() ) {
        return;
    }
    for ( int number = 1;; ++number ) {
        const std::string first = fmt::format( "{}{}", rules.front().name, number );
        const bool more = subject.args.contains( first );
        for ( const Argument &rule : rules ) {
            const std::string name = fmt::format( "{}{}", rule.name, number );
            const auto it = subject.args.find( name );
            const bool given = it != subject.args.end();
            if ( more && ( !given || !accepts( rule, it->second ) ) ) {
                argumentError( subject, name.c_str(), expected( rule ) );
            } else if ( !more && given ) {
                argumentError( subject, first.c_str(), expected( rules.front() ) );
            }
        }
        if ( !more ) {
            return;
        }
    }
}

/**
 * The driver that makes @p device for the one at @p pointer that uses it: @p wantedDriver or, without
 * one, any whose lines are given by register and bit. Null after an error.
 */
const DriverRow *DescriptionCheck::referencedDriver( const DevicePlace &device,
                                                     const std::string &pointer,
                                                     const char *wantedDriver ) {
    const Value &declared = ( *device.object )[ "driver" ];
    std::string name = declared.GetString();
    if ( name.empty() ) {
        name = wantedDriver ? wantedDriver : anyDriver;
    }
    const DriverRow *driver = findDriver( name );
    std::string expected;
    if ( wantedDriver ) {
        if ( name != wantedDriver ) {
            expected = fmt::format( "\"{}\", since {} uses this device", wantedDriver, pointer );
        }
    } else {
        const ServiceRow *lines = serviceRow( *driver, Service::Gpio );
        if ( !lines || std::strcmp( lines->args.front().name, "register" ) != 0 ) {
            expected = fmt::format( "a driver whose lines are given by register and bit, since {} "
                                    "uses one",
                                    pointer );
        }
    }
    if ( expected.empty() ) {
        return driver;
    }
    problems_.error( topologyFile_.name, common::pointerTo( device.pointer, "driver" ), &declared,
                     expected );
    return nullptr;
}

/** A device reached by its label: the library makes it from its declaration in the topology. */
void DescriptionCheck::referenced( const JsonFile &file, const Value *value,
                                   const std::string &pointer, const std::string &label,
                                   const char *wantedDriver ) {
    const DevicePlace *device = topology_.deviceLabelled( label );
    if ( !device || !device->inlineDeclared() ) {
        problems_.errorText( file.name, pointer,
                             value ? common::shortJson( *value ) : "\"" + label + "\"",
                             fmt::format( "a device labelled \"{}\" in the topology, declared "
                                          "inline with \"driver\" and \"address\"",
                                          label ) );
        return;
    }
    const DriverRow *driver = referencedDriver( *device, pointer, wantedDriver );
    if ( !driver ) {
        return;
    }
    const Subject subject{ topologyFile_, *device->object, device->pointer,
                           argTexts( *device->object ) };
    const auto ham = device->object->FindMember( "provideHam" );
    if ( ham != device->object->MemberEnd() && ham->value.GetUint() == 0 ) {
        problems_.error( topologyFile_.name, common::pointerTo( device->pointer, "provideHam" ),
                         &ham->value, "1, since " + pointer + " uses the device" );
    }
    if ( sharesDriver( subject, device->did, *driver, false, Service::Gpio ) ) {
        arguments( subject, driver->creation );
    }
    place( subject, *driver );
}

bool DescriptionCheck::sharesDriver( const Subject &subject, uint32_t did, const DriverRow &driver,
                                     bool gpioOnly, Service service ) {
    const auto [ it, isNew ] = makers_.emplace(
        did, Maker{ &driver, subject.file.name + " at " + subject.pointer, gpioOnly } );
    const Maker &maker = it->second;
    if ( std::strcmp( maker.driver->implementation, driver.implementation ) != 0 ) {
        problems_.errorText( subject.file.name, subject.pointer,
                             fmt::format( "driver \"{}\" for device {}", driver.name, did ),
                             fmt::format( "\"{}\", which {} makes for this device",
                                          maker.driver->name, maker.where ) );
        return false;
    }
    if ( maker.gpioOnly && service != Service::Gpio ) {
        problems_.errorText( subject.file.name, subject.pointer, serviceName( service ),
                             fmt::format( "GPIO lines only, since {} makes the device with "
                                          "\"type\" \"gpio\"",
                                          maker.where ) );
        return false;
    }
    return true;
}

void DescriptionCheck::place( const Subject &subject, const DriverRow &driver ) {
    const Value &value = subject.value;
    if ( value.HasMember( "provideHam" ) && value[ "provideHam" ].GetUint() == 0 ) {
        if ( !( driver.traits & Drivers::Table::NeedsNoHam ) ) {
            problems_.error(
                subject.file.name, common::pointerTo( subject.pointer, "provideHam" ),
                &value[ "provideHam" ],
                fmt::format( "1, since driver \"{}\" reaches its device", driver.name ) );
        }
        return;
    }
    if ( driver.traits & Drivers::Table::IsMultiDevice ) {
        return;
    }
    const char *key = value.HasMember( "uid" ) ? "uid" : "did";
    const uint32_t id = value[ key ].GetUint();
    const DevicePlace *device = *key == 'u' ? topology_.component( id ) : topology_.device( id );
    const std::string pointer = common::pointerTo( subject.pointer, key );
    if ( !device ) {
        problems_.error( subject.file.name, pointer, &value[ key ],
                         *key == 'u' ? "the id of a component of the topology"
                                     : "the id of a device of the topology" );
        return;
    }
    if ( device->onFileSystem ) {
        problems_.error( subject.file.name, pointer, &value[ key ],
                         "a device on a bus: " + device->pointer + " is on a LinuxFs medium" );
        return;
    }
    for ( const char *ham : knownHams ) {
        if ( device->ham == ham ) {
            return;
        }
    }
    problems_.error( subject.file.name, pointer, &value[ key ],
                     fmt::format( "a device on a medium whose \"ham\" is \"OrvanSmbus\" or "
                                  "\"SimHam\": that of {} is \"{}\"",
                                  device->pointer, device->ham ) );
}

/** The driver that @p subject names, if it makes @p service. Null after an error. */
const DriverRow *DescriptionCheck::wantedDriver( const Subject &subject, Service service ) {
    const Value &value = subject.value;
    const std::string driverPointer = common::pointerTo( subject.pointer, "driver" );
    const DriverRow *driver = findDriver( value[ "driver" ].GetString() );
    if ( !driver ) {
        problems_.error( subject.file.name, driverPointer, &value[ "driver" ],
                         "a driver of the library: " + driverNames() );
        return nullptr;
    }
    if ( !serviceRow( *driver, service ) ) {
        problems_.error( subject.file.name, driverPointer, &value[ "driver" ],
                         fmt::format( "a driver that makes {}: {}", serviceName( service ),
                                      driverNames( service ) ) );
        return nullptr;
    }
    return driver;
}

void DescriptionCheck::check( const Subject &subject, Service service ) {
    const DriverRow *driver = wantedDriver( subject, service );
    if ( !driver ) {
        return;
    }
    const Value &value = subject.value;
    const bool multiDevice =
        value.HasMember( "isMultiDevice" ) && value[ "isMultiDevice" ].IsTrue();
    if ( multiDevice != static_cast<bool>( driver->traits & Drivers::Table::IsMultiDevice ) ) {
        problems_.error(
            subject.file.name, common::pointerTo( subject.pointer, "isMultiDevice" ),
            multiDevice ? &value[ "isMultiDevice" ] : nullptr,
            fmt::format( "{} for driver \"{}\"", multiDevice ? "false" : "true", driver->name ) );
        return;
    }
    place( subject, *driver );
    const auto type = subject.args.find( "type" );
    const bool gpioOnly = ( driver->traits & Drivers::Table::GpioTypeOffersNone ) &&
                          type != subject.args.end() && type->second == "gpio";
    if ( !sharesDriver( subject, value[ "did" ].GetUint(), *driver, gpioOnly, service ) ) {
        return;
    }
    arguments( subject, driver->creation );
    const ServiceRow *row = serviceRow( *driver, service );
    arguments( subject, row->args );
    numbered( subject, row->numbered );
    if ( driver->traits & Drivers::Table::ReadsPsuExpander ) {
        referenced( subject.file, &value[ "driver" ],
                    common::pointerTo( subject.pointer, "driver" ), psuExpander,
                    psuExpanderDriver );
    }
    if ( multiDevice ) {
        nested( subject );
    }
}

/** The parts of a multi-device: each is added as a slot, with the slot's own arguments put in. */
void DescriptionCheck::nested( const Subject &subject ) {
    const std::string base = common::pointerTo( subject.pointer, "multiDeviceArgs" );
    if ( !subject.value.HasMember( "multiDeviceArgs" ) ) {
        problems_.error( subject.file.name, base, nullptr,
                         "an object of nested device descriptions (the key is missing)" );
        return;
    }
    for ( const auto &member : subject.value[ "multiDeviceArgs" ].GetObject() ) {
        const std::string pointer =
            common::pointerTo( base, std::string( member.name.GetString() ) );
        JsonFile part;
        if ( !parseJsonText( subject.file.name + " at " + pointer, member.value.GetString(), part,
                             problems_ ) ||
             !topologySchema().check( "description", part, part.document, "", problems_ ) ) {
            continue;
        }
        if ( !part.document.HasMember( "driverArgs" ) ) {
            problems_.error( part.name, "/driverArgs", nullptr,
                             "an object, if need be empty: the slot's arguments go there" );
            continue;
        }
        ArgTexts args = argTexts( part.document );
        for ( const auto &[ key, text ] : subject.args ) {
            args[ key ] = text;
        }
        check( { part, part.document, "", std::move( args ) }, Service::Slot );
    }
}

void DescriptionCheck::labelled( const JsonFile &file, const Value &value,
                                 const std::string &pointer ) {
    if ( !peripheralsSchema().check( "labelled", file, value, pointer, problems_ ) ) {
        return;
    }
    const std::string key = labelKey( value[ "label" ].GetString(), value[ "address" ].GetUint() );
    const DevicePlace *device = topology_.deviceLabelled( key );
    if ( !device || !device->inlineDeclared() ) {
        problems_.error( file.name, pointer, &value,
                         fmt::format( "a device labelled \"{}\" in the topology, declared inline "
                                      "with \"driver\" and \"address\"",
                                      key ) );
        return;
    }
    const DriverRow &driver = *findDriver( proxyDriver );
    place( { topologyFile_, *device->object, device->pointer, {} }, driver );
    sharesDriver( { file, value, pointer, {} }, device->did, driver, false, Service::SmbusProxy );
    arguments( { topologyFile_, *device->object, device->pointer, argTexts( *device->object ) },
               serviceRow( driver, Service::SmbusProxy )->args );
}

void DescriptionCheck::system( const JsonFile &file, const std::string &pointer ) {
    referenced( file, nullptr, pointer, systemController, nullptr );
}

} // namespace orvan
