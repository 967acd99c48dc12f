/**
 * @file
 * Judging descriptions by the library's table of drivers.
 */
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "OrvanGeneric/Drivers/DriverTable.h"

namespace orvan {

using Drivers::Table::ArgType;
using Drivers::Table::Argument;
using Drivers::Table::Condition;
using Drivers::Table::DriverRow;
using Drivers::Table::Service;
using Drivers::Table::ServiceRow;

/** The arguments of a description as the library reads them: every value as text. */
using ArgTexts = std::map<std::string, std::string>;

/** For people: "an integer from 0 to 7". */
std::string expected( const Argument &argument );
/** Whether @p value, an argument as the library sees it, will do. Labels are judged elsewhere. */
bool accepts( const Argument &argument, std::string_view value );
/** Whether the rule holds for a description with the arguments @p args. */
bool applies( const Condition &condition, const ArgTexts &args );

/** All drivers that a description may name. */
std::span<const DriverRow> driverTable();
/** Null for a name that is none. Names are compared exactly. */
const DriverRow *findDriver( std::string_view name );
/** Null when the driver does not offer @p service. */
const ServiceRow *serviceRow( const DriverRow &driver, Service service );
/** The names of all drivers, in quotes and with commas between them. */
std::string driverNames();
/** The same for those drivers that offer @p service. */
std::string driverNames( Service service );

/** For people: "a fan". */
const char *serviceName( Service service );

} // namespace orvan
