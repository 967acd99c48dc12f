#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <rapidjson/fwd.h>

#include "OrvanGeneric/HamAddress.h"

namespace Drivers {

using Topology::HamAddress;

/** The `uid` of arguments that name no component. */
constexpr uint32_t noComponent = 0xFFFFFFFF;

/**
 * A parsed device description: which driver, which device, where it sits, and the driver's own
 * arguments as text.
 *
 * A description that lacks "did", "driver" or "address", or gives a member the wrong type, is the
 * programming error of its author and aborts.
 */
struct DriverArgs {
    std::string driver;         ///< key of the driver registry
    uint32_t uid = noComponent; ///< component of the device, or noComponent
    uint32_t did = 0;           ///< identity of the device; equal ones share a driver instance
    HamAddress address{};       ///< where the device answers
    /** The driver's own arguments; a member that is no number, text or flag is the empty text. */
    std::map<std::string, std::string> driverArgs;
    const char *jsonText = nullptr; ///< the text parsed from, not owned; null for parsed values
    bool isMultiDevice = false;     ///< composed of the devices in multiDeviceArgs
    std::map<std::string, std::string> multiDeviceArgs; ///< description text of each role
    bool provideHam = true;                             ///< whether the driver is given a Ham

    /** Reads a description. @return false when the text is not JSON; nothing is changed then. */
    bool parseJSON( const char *text );
    /** Reads a description that is already parsed; arguments read before stay unless overwritten. */
    void parseJSON( const rapidjson::Value &json );
    /** New arguments read from a parsed description. */
    static std::shared_ptr<DriverArgs> fromJSON( const rapidjson::Value &json );
};

/*
 * Reading the driver's own arguments by name. Numbers are decimal; a text that is none throws
 * std::invalid_argument, one that does not fit std::out_of_range. A missing required argument aborts
 * on "it != args.driverArgs.end()".
 */

/** @return the argument's text, which belongs to @p args; null when it is not there */
const std::string *optionalArg( const DriverArgs &args, const char *name );
/** @return the argument's text, which belongs to @p args */
const std::string &requiredArg( const DriverArgs &args, const char *name );
/** @return a copy of the argument's text, or @p defaultValue */
std::string textArg( const DriverArgs &args, const char *name, const char *defaultValue = "" );
/** @return the argument as a number */
int requiredIntArg( const DriverArgs &args, const char *name );
/** @return the argument as a number, or @p defaultValue */
int intArg( const DriverArgs &args, const char *name, int defaultValue );
/** @return whether the argument is the exact text "true", or @p defaultValue when it is not there */
bool flagArg( const DriverArgs &args, const char *name, bool defaultValue );

} // namespace Drivers
