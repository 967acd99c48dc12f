/**
 * @file
 * What the library's drivers ask of a device description, as data.
 */
#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace orvan {

/** What a driver can be asked to make. Transceivers count by their type, muxes though no host adds them. */
enum class Service { Gpio, Led, Fan, TempSensor, SfpXcvr, QsfpXcvr, Psu, Slot, SmbusProxy, Mux };

/** How an argument's text is judged. */
enum class ArgType {
    Integer,     ///< decimal, from minimum to maximum
    Flag,        ///< "true" or "false"
    OneOf,       ///< one of the texts in `texts`, separated by '|'
    Text,        ///< any text but the empty one
    Template,    ///< a text that holds each of the placeholders in `texts`, separated by '|'
    DeviceLabel, ///< the label of a device that the topology declares with a driver
};

/** One argument of "driverArgs". */
struct ArgRule {
    const char *name;
    bool required;
    ArgType type;
    long minimum = 0;
    long maximum = 0;
    const char *texts = nullptr;
    /** The rule holds only when this other argument is given; "!other": is not; "other=text": has that text. */
    const char *onlyWith = nullptr;

    /** For people: "an integer from 0 to 7". */
    std::string expected() const;
    /** Whether @p text, an argument as the library sees it, will do. Labels are judged elsewhere. */
    bool accepts( std::string_view text ) const;
    /** Whether the rule holds for a description with the arguments @p args. */
    bool applies( const std::map<std::string, std::string> &args ) const;
};

/** What a driver asks in order to make one kind of thing. */
struct ServiceRow {
    Service service;
    std::span<const ArgRule> args;
};

/** Peculiarities that no argument rule expresses. */
enum DriverTrait : unsigned {
    NeedsNoHam = 1,          ///< works with "provideHam": 0
    IsMultiDevice = 2,       ///< "isMultiDevice" must be true; elsewhere it must not
    ReadsPsuExpander = 4,    ///< looks up the device labelled "PsuPCA"
    NumberedModels = 8,      ///< pairs "model_N" and "psuFdl_N", counted from 1
    GpioTypeOffersNone = 16, ///< made with "type" "gpio" it serves GPIO lines only
    FansReadOnly = 32,       ///< setting a fan's speed ends the process
};

/** One driver of the library. */
struct DriverRow {
    const char *name;
    const char *implementation; ///< equal for names of one and the same driver
    unsigned traits;
    std::span<const ArgRule> creation;
    std::span<const ServiceRow> services;

    /** Null when the driver does not offer @p service. */
    const ServiceRow *serviceRow( Service service ) const;
};

/** All drivers that a description may name. */
std::span<const DriverRow> driverTable();
/** Null for a name that is none. Names are compared exactly. */
const DriverRow *findDriver( std::string_view name );
/** The names of all drivers, or of those that offer @p service. */
std::string driverNames();
std::string driverNames( Service service );

/** For people: "a fan". */
const char *serviceName( Service service );

} // namespace orvan
