/**
 * @file
 * Every driver that a description may name, with all arguments it reads. A new driver adds a row here.
 */
#pragma once

#include <climits>

#include "OrvanGeneric/Drivers/DriverTable.h"

namespace Drivers::Table {

/** @cond PARTS_OF_ROWS: each argument has a text for people */
namespace Rows {

using enum ArgType;
using enum Effect;

// clang-format off

// Outcomes that many arguments share.
constexpr Outcome noArgument = { Aborts, "it != args.driverArgs.end()" };
constexpr Outcome beyondInt = { Throws, "stoi" };
constexpr Outcome lowByte = { Masked, "its low eight bits count" };
constexpr Outcome badBit = { Aborts, "bitpos_ >= 0 && bitpos_ <= 7" };
constexpr Outcome badPlaceholder = { AbortsOnUse, "0 && \"Invalid key in FormatFdl::set\"" };
constexpr Outcome noDevice = { Aborts, "device" };

// A line of the default kind: one bit of one 8-bit register.
constexpr Argument registerBit[] = {
    { .name = "register", .text = "the register that holds the line", .maximum = 255, .missing = noArgument,
      .below = { Accepted, "goes to the bus as it is" }, .above = { Accepted, "goes to the bus as it is" } },
    { .name = "bitpos", .text = "the line's bit in the register, 0 the least significant", .maximum = 7,
      .missing = noArgument, .below = badBit, .above = badBit },
};
constexpr ServiceRow lines[] = { { Service::Gpio, registerBit } };

constexpr Argument expanderPin[] = {
    { .name = "bank", .text = "the bank that holds the line", .maximum = 1, .missing = noArgument,
      .below = { AbortsOnUse, "n < numBanks_" }, .above = { AbortsOnUse, "n < numBanks_" } },
    { .name = "bit", .text = "the line's bit in the bank, 0 the least significant", .maximum = 7, .missing = noArgument,
      .below = { AbortsOnUse, "bit <= 7" }, .above = { AbortsOnUse, "bit <= 7" } },
};
constexpr ServiceRow expanderLines[] = { { Service::Gpio, expanderPin } };

constexpr Argument proxyDelays[] = {
    { .name = "localReadDelayMs", .text = "pause after each read", .maximum = 2147483, .unit = "ms", .required = false,
      .standard = "0", .below = { Accepted, "a pause of over an hour" },
      .above = { Accepted, "a pause that wraps around at 2^32 microseconds" } },
    { .name = "localWriteDelayMs", .text = "pause after each write", .maximum = 2147483, .unit = "ms",
      .required = false, .standard = "0", .below = { Accepted, "a pause of over an hour" },
      .above = { Accepted, "a pause that wraps around at 2^32 microseconds" } },
};
constexpr ServiceRow proxy[] = { { Service::Gpio, registerBit }, { Service::SmbusProxy, proxyDelays } };

constexpr ServiceRow mux[] = { { Service::Gpio, registerBit }, { Service::Mux, {} } };

// Expanders.
constexpr Argument bankDirections[] = {
    { .name = "bank-io-0", .text = "directions of the pins of bank 0: a 1 bit for an input", .maximum = 255,
      .missing = noArgument, .below = lowByte, .above = lowByte },
    { .name = "bank-io-1", .text = "directions of the pins of bank 1: a 1 bit for an input", .maximum = 255,
      .missing = noArgument, .below = lowByte, .above = lowByte },
};
constexpr Argument genericExpander[] = {
    bankDirections[ 0 ], bankDirections[ 1 ],
    { .name = "cacheTimeout", .text = "for how long inputs are not read again", .maximum = 255, .unit = "s",
      .required = false, .standard = "2", .below = lowByte, .above = lowByte },
    { .name = "inputBankBase", .text = "input register of bank 0", .maximum = 255, .required = false, .standard = "0",
      .below = lowByte, .above = lowByte },
    { .name = "outputBankBase", .text = "output register of bank 0", .maximum = 255, .required = false,
      .standard = "2", .below = lowByte, .above = lowByte },
    { .name = "configBankBase", .text = "configuration register of bank 0", .maximum = 255, .required = false,
      .standard = "6", .below = lowByte, .above = lowByte },
};

// PMBus supplies.
constexpr Condition withGpioDevice = { Condition::Given, "gpioDevice" };
constexpr Argument pmbus[] = {
    { .name = "voutExponent", .text = "exponent of READ_VOUT, 5-bit two's complement; 255: as VOUT_MODE says",
      .maximum = 255, .required = false, .standard = "255", .below = lowByte, .above = lowByte },
    { .name = "gpioDevice", .text = "label of the device with the power-good line; STATUS_WORD tells without it",
      .type = DeviceLabel, .required = false, .other = noDevice },
    { .name = "powerOkReg", .text = "register of the power-good line", .maximum = 255, .condition = withGpioDevice,
      .missing = { Throws, "map::at" }, .below = lowByte, .above = lowByte },
    { .name = "powerOkBit", .text = "bit of the power-good line", .maximum = 7, .condition = withGpioDevice,
      .missing = { Throws, "map::at" }, .below = badBit, .above = badBit },
    { .name = "powerOkActiveLow", .text = "whether a 0 on the power-good line means good", .type = Flag,
      .required = false, .standard = "true" },
};
constexpr Outcome noFanId = { Aborts, "args.driverArgs.find( \"fanId\" ) != args.driverArgs.end()" };
constexpr Outcome noMaxFanRpm = { Aborts, "args.driverArgs.find( \"maxFanRpm\" ) != args.driverArgs.end()" };
constexpr Outcome noSensorId = { Aborts, "args.driverArgs.find( \"sensorId\" ) != args.driverArgs.end()" };
constexpr Outcome badPmbusFan = { Aborts, "fanId == 1 || fanId == 2" };
constexpr Outcome badPmbusSensor = { Throws, "array::at" };
constexpr Argument pmbusFan[] = {
    { .name = "fanId", .text = "number of the fan in the supply", .minimum = 1, .maximum = 2, .missing = noFanId,
      .below = badPmbusFan, .above = badPmbusFan },
    { .name = "maxFanRpm", .text = "speed at full duty", .minimum = 1, .maximum = INT_MAX, .unit = "rpm",
      .missing = noMaxFanRpm, .below = { Accepted, "setting a speed answers 4" }, .above = beyondInt },
    { .name = "pec", .text = "whether writes carry a packet error code", .type = Flag, .required = false,
      .standard = "false" },
};
constexpr Argument pmbusSensor[] = {
    { .name = "sensorId", .text = "the sensor's id", .maximum = 255, .condition = { Condition::Given, "tempSensor" },
      .missing = noSensorId, .below = lowByte, .above = lowByte },
    { .name = "sensorId", .text = "the sensor's id, and N of READ_TEMPERATURE_N", .minimum = 1, .maximum = 3,
      .condition = { Condition::NotGiven, "tempSensor" }, .missing = noSensorId, .below = badPmbusSensor,
      .above = badPmbusSensor },
    { .name = "tempSensor", .text = "N of READ_TEMPERATURE_N; the sensor's id unless given", .minimum = 1,
      .maximum = 3, .required = false, .below = badPmbusSensor, .above = badPmbusSensor },
};
constexpr ServiceRow pmbusServices[] = { { Service::Gpio, registerBit }, { Service::Psu, {} },
    { Service::Fan, pmbusFan }, { Service::TempSensor, pmbusSensor } };

constexpr Argument emerson[] = {
    { .name = "psuId", .text = "number of the supply", .minimum = 1, .maximum = 2, .missing = noArgument,
      .below = { Aborts, "psuId == 1 || psuId == 2" }, .above = { Aborts, "psuId == 1 || psuId == 2" } },
};
constexpr Argument emersonFan[] = {
    pmbusFan[ 0 ],
    { .name = "maxFanRpm", .text = "greatest speed that is set", .minimum = 1, .maximum = INT_MAX, .unit = "rpm",
      .missing = noMaxFanRpm, .below = { Accepted, "every speed is set as 0" }, .above = beyondInt },
    pmbusFan[ 2 ],
};
constexpr ServiceRow emersonServices[] = { { Service::Gpio, registerBit }, { Service::Psu, {} },
    { Service::Fan, emersonFan } };

// Supply bays.
constexpr Outcome noType = { ThrowsOnUse, "unknown identification type for psu" };
constexpr Outcome badPsuId = { Aborts, "psuId == 1 || psuId == 2" };
constexpr Outcome noIpmiId = { Traced, "PsuSlot identification type is ipmi but ipmiId not found" };
constexpr Argument psuSlot[] = {
    { .name = "psuId", .text = "number of the supply", .minimum = 1, .maximum = 2,
      .missing = { MakesNothing, "Error: expected 'psuId' in slot driverArgs" }, .below = badPsuId, .above = badPsuId },
    { .name = "identificationType", .text = "how the supply tells who it is", .type = OneOf,
      .choices = { "pmbus", "ipmi", "ipmitool", "ipmitool_raw", "wedge", "tlv" }, .missing = noType, .other = noType },
    { .name = "gpioDevice", .text = "label of the device with the bay's lines", .type = DeviceLabel,
      .required = false, .other = noDevice },
    { .name = "presenceReg", .text = "register of the presence line", .maximum = 255, .required = false,
      .condition = withGpioDevice, .below = beyondInt, .above = { Accepted, "goes to the bus as it is" } },
    { .name = "presenceBit", .text = "bit of the presence line", .maximum = 7, .required = false,
      .condition = withGpioDevice, .below = beyondInt, .above = badBit },
    { .name = "presenceActiveLow", .text = "whether a 0 on the presence line means present", .type = Flag,
      .required = false, .standard = "false" },
    { .name = "powerOkReg", .text = "register of the power-good line; lines are read if both are given",
      .maximum = 255, .required = false, .condition = withGpioDevice, .below = beyondInt,
      .above = { Accepted, "goes to the bus as it is" } },
    { .name = "powerOkBit", .text = "bit of the power-good line", .maximum = 7, .required = false,
      .condition = withGpioDevice, .below = beyondInt, .above = badBit },
    { .name = "powerOkActiveLow", .text = "whether a 0 on the power-good line means good", .type = Flag,
      .required = false, .standard = "false" },
    { .name = "assertOnUnknownModelName", .text = "whether a model that no model_N names aborts", .type = Flag,
      .required = false, .standard = "false" },
    { .name = "allowInvalidCommonHeaderChecksum", .text = "of type ipmi: whether a bad header checksum is let pass",
      .type = Flag, .required = false, .standard = "false" },
    { .name = "useApi", .text = "of type ipmitool: whether the command has the word api", .type = Flag,
      .required = false, .standard = "false" },
    { .name = "ipmiId", .text = "needed by type ipmi, and otherwise unused", .type = Text,
      .condition = { Condition::HasText, "identificationType", "ipmi" }, .missing = noIpmiId },
    { .name = "ipmiId", .text = "what the identification command is given", .type = Text,
      .condition = { Condition::HasText, "identificationType", "ipmitool" }, .missing = noIpmiId },
    { .name = "ipmiRawModel", .text = "what the identification command is given for the model", .type = Text,
      .condition = { Condition::HasText, "identificationType", "ipmitool_raw" },
      .missing = { Traced, "PsuSlot identification type is ipmitool_raw but ipmiRawModel not found" } },
    { .name = "ipmiRawSerialNumber", .text = "what the identification command is given for the serial number",
      .type = Text, .condition = { Condition::HasText, "identificationType", "ipmitool_raw" },
      .missing = { Traced, "PsuSlot identification type is ipmitool_raw but ipmiRawSerialNumber not found" } },
};
constexpr Argument psuModels[] = {
    { .name = "model_", .text = "a known model, as the supply tells it", .type = Text, .required = false },
    { .name = "psuFdl_", .text = "field data of that model", .type = Template, .choices = { "serialNum" },
      .condition = { Condition::Given, "model_" },
      .missing = { Aborts, "slotArgs_.find( psuFdlKey ) != slotArgs_.end()" }, .other = badPlaceholder },
};
constexpr ServiceRow psuSlotServices[] = { { Service::Gpio, registerBit }, { Service::Slot, psuSlot, psuModels } };

constexpr Outcome badSlotId = { Aborts, "slotId >= 1 && slotId <= 5" };
constexpr Argument multiSlot[] = {
    { .name = "id", .text = "number of the slot", .minimum = 1, .maximum = 5, .missing = noArgument,
      .below = badSlotId, .above = badSlotId },
};
constexpr ServiceRow multiSlotServices[] = { { Service::Slot, multiSlot } };

// Cages.
constexpr Outcome badCage = { Aborts, "false" };
constexpr Argument sfpType = { .name = "type", .text = "kind of the cage", .type = OneOf,
    .choices = { "sfp", "sfp+" }, .missing = badCage, .other = badCage };
constexpr Argument qsfpType = { .name = "type", .text = "kind of the cage", .type = OneOf,
    .choices = { "qsfp", "qsfp+" }, .missing = badCage, .other = badCage };
constexpr const char *cageId = "number of the cage on the front panel";
constexpr Outcome badCpldSfp = { Aborts, "id >= 1 && id <= 48" };
constexpr Outcome badCpldQsfp = { Aborts, "id >= 1 && id <= 32" };
constexpr Outcome badSfp = { Aborts, "1 <= id && id <= 48" };
constexpr Outcome badYQsfp = { Aborts, "49 <= id && id <= 56" };
constexpr Outcome badSQsfp = { Aborts, "49 <= id && id <= 54" };
constexpr Argument cpldSfp[] = { { .name = "id", .text = cageId, .minimum = 1, .maximum = 48, .missing = badCage,
    .below = badCpldSfp, .above = badCpldSfp }, sfpType };
constexpr Argument cpldQsfp[] = { { .name = "id", .text = cageId, .minimum = 1, .maximum = 32, .missing = badCage,
    .below = badCpldQsfp, .above = badCpldQsfp }, qsfpType };
constexpr Argument expanderSfp[] = { { .name = "id", .text = cageId, .minimum = 1, .maximum = 48, .missing = badCage,
    .below = badSfp, .above = badSfp }, sfpType };
constexpr Argument yQsfp[] = { { .name = "id", .text = cageId, .minimum = 49, .maximum = 56, .missing = badCage,
    .below = badYQsfp, .above = badYQsfp }, qsfpType };
constexpr Argument sQsfp[] = { { .name = "id", .text = cageId, .minimum = 49, .maximum = 54, .missing = badCage,
    .below = badSQsfp, .above = badSQsfp }, qsfpType };
constexpr Argument sfpExpander[] = { { .name = "type", .text = "with \"gpio\" the device has register bits only",
    .type = AnyText, .required = false } };
constexpr ServiceRow qCpldServices[] = { { Service::Gpio, registerBit }, { Service::SfpXcvr, cpldSfp },
    { Service::QsfpXcvr, cpldQsfp } };
constexpr ServiceRow yCpldServices[] = { { Service::Gpio, registerBit }, { Service::SfpXcvr, cpldSfp } };
constexpr ServiceRow sfpServices[] = { { Service::Gpio, registerBit }, { Service::SfpXcvr, expanderSfp } };
constexpr ServiceRow yQsfpServices[] = { { Service::Gpio, registerBit }, { Service::QsfpXcvr, yQsfp } };
constexpr ServiceRow sQsfpServices[] = { { Service::Gpio, expanderPin }, { Service::QsfpXcvr, sQsfp } };

// Fans. Four LEDs have pins; the driver would let a fifth through, one past the last pin.
constexpr Argument fanLed[] = {
    { .name = "id", .text = "number of the fan", .minimum = 1, .maximum = 4,
      .missing = { Aborts, "args.driverArgs.find( \"id\" ) != args.driverArgs.end()" },
      .below = { Aborts, "fanId >= 1 && fanId <= 5" }, .above = { AbortsOnUse, "n < numBanks_" } },
};
constexpr Outcome badTray = { Aborts, "1 <= fanId && fanId <= 4" };
constexpr Argument fanTray[] = {
    { .name = "fanId", .text = "number of the fan", .minimum = 1, .maximum = 4, .missing = noArgument,
      .below = badTray, .above = badTray },
    { .name = "fanFdl", .text = "the module's field data", .type = Template,
      .choices = { "airflowDirection", "maxRpm", "modelName" }, .missing = { Aborts, "fdlIt != slotArgs_.end()" },
      .other = badPlaceholder },
    { .name = "rpmF2B", .text = "maxRpm of a front-to-back module", .type = Text,
      .missing = { Aborts, "f2bIt != slotArgs_.end()" } },
    { .name = "rpmB2F", .text = "maxRpm of a back-to-front module", .type = Text,
      .missing = { Aborts, "b2fIt != slotArgs_.end()" } },
    { .name = "modelName", .text = "modelName of every module", .type = Text,
      .missing = { Aborts, "modelIt != slotArgs_.end()" } },
};
constexpr ServiceRow fanTrayServices[] = { { Service::Gpio, registerBit }, { Service::Led, fanLed },
    { Service::Slot, fanTray } };

constexpr Outcome badPsocFan = { Aborts, "fanId >= 1 && fanId <= 4" };
constexpr Argument psocFan[] = {
    { .name = "fanId", .text = "number of the fan", .minimum = 1, .maximum = 4, .missing = noArgument,
      .below = badPsocFan, .above = badPsocFan },
    { .name = "maxRpm", .text = "speed at full duty", .minimum = 1, .maximum = INT_MAX, .unit = "rpm",
      .missing = noArgument, .below = { Accepted, "setting a speed answers 4" }, .above = beyondInt },
    { .name = "registerOffset", .text = "the speed register is 64 and twice this", .maximum = 95, .missing = beyondInt,
      .below = lowByte, .above = { Accepted, "the register number wraps around to 0" } },
    { .name = "pwmMaster", .text = "whether this fan's speed sets that of all", .type = Flag, .required = false,
      .standard = "false" },
};
constexpr Argument psocSensor[] = {
    { .name = "sensorId", .text = "the sensor's id", .maximum = 255,
      .missing = { Aborts, "idIt != args.driverArgs.end()" }, .below = lowByte, .above = lowByte },
    { .name = "register", .text = "the temperature's register", .maximum = 255,
      .missing = { Aborts, "regIt != args.driverArgs.end()" }, .below = lowByte, .above = lowByte },
};
constexpr ServiceRow psocServices[] = { { Service::Gpio, registerBit }, { Service::Fan, psocFan },
    { Service::TempSensor, psocSensor } };

constexpr Argument psuLed[] = {
    { .name = "id", .text = "number of the supply", .minimum = 1, .maximum = 2,
      .missing = { Aborts, "args.driverArgs.find( \"id\" ) != args.driverArgs.end()" },
      .below = { Aborts, "1 <= ledId && ledId <= 2" }, .above = { Aborts, "1 <= ledId && ledId <= 2" } },
    { .name = "type", .text = "the LED of the supply, or that of the fan area", .type = OneOf,
      .choices = { "multifan", "psu" }, .missing = noArgument,
      .other = { MakesNothing, "Error: failed to find driverArg for MirePsuPCA9555::newLed" } },
};
constexpr ServiceRow psuExpanderServices[] = { { Service::Gpio, registerBit }, { Service::Led, psuLed } };

// Units of a BMC.
constexpr Argument ipmi[] = {
    { .name = "hamType", .text = "how the BMC is asked", .type = OneOf, .choices = { "ipmitool" },
      .missing = { MakesNothing, "Error: 'hamType' driver arg not provided to IPMI driver" },
      .other = { MakesNothing, "Error: Failed to create ham: " } },
    { .name = "fruId", .text = "the airflow sensor's name is AIRFLOWDIRECTION_ and this; none if empty",
      .type = AnyText, .required = false, .standard = "" },
    { .name = "ipmiCommand", .text = "the tool, with the options that reach the BMC", .type = Text,
      .required = false, .standard = "ipmitool" },
    { .name = "ipmiTimeout", .text = "how long the tool may take", .minimum = 1, .maximum = INT_MAX, .unit = "s",
      .required = false, .standard = "5", .below = { Aborts, "ipmiTimeout >= 1" }, .above = beyondInt },
    { .name = "ipmiCacheAge", .text = "for how long readings are not asked for again", .maximum = INT_MAX,
      .unit = "ms", .required = false, .standard = "1000", .below = { Aborts, "ipmiCacheAge >= 0" },
      .above = beyondInt },
    { .name = "ipmiBackOff", .text = "for how long the tool is left alone after it failed", .maximum = INT_MAX,
      .unit = "ms", .required = false, .standard = "5000", .below = { Aborts, "ipmiBackOff >= 0" },
      .above = beyondInt },
};
constexpr Argument ipmiPsu[] = {
    { .name = "psuId", .text = "number of the supply", .minimum = 1, .maximum = 2,
      .missing = { MakesNothing, "Error: expected 'psuId' in psu driverArgs" }, .below = badPsuId, .above = badPsuId },
    { .name = "ipmiKey", .text = "what the names of the supply's sensors begin with", .type = Text,
      .missing = { MakesNothing, "Error: expected 'ipmiKey' in psu driverArgs" } },
};
constexpr Outcome badIpmiFan = { Aborts, "fanId >= 1 && fanId <= 7" };
constexpr Outcome badIpmiSlot = { Aborts, "1 <= fanId && fanId <= 8" };
constexpr Argument ipmiFan[] = {
    { .name = "fanId", .text = "number of the fan", .minimum = 1, .maximum = 7, .missing = noArgument,
      .below = badIpmiFan, .above = badIpmiFan },
    { .name = "maxRpm", .text = "the fan's greatest speed", .minimum = 1, .maximum = INT_MAX, .unit = "rpm",
      .required = false, .below = { Accepted, "nothing uses it" }, .above = beyondInt },
    { .name = "maxFanRpm", .text = "the same under its other name", .minimum = 1, .maximum = INT_MAX, .unit = "rpm",
      .condition = { Condition::NotGiven, "maxRpm" }, .missing = noArgument,
      .below = { Accepted, "nothing uses it" }, .above = beyondInt },
    { .name = "ipmiKey", .text = "name of the fan's sensor", .type = Text, .missing = noArgument },
};
constexpr Argument ipmiSensor[] = {
    { .name = "ipmiKey", .text = "name of the sensor", .type = Text, .missing = noArgument },
};
constexpr Argument ipmiSlot[] = {
    { .name = "fanId", .text = "number of the fan", .minimum = 1, .maximum = 8, .missing = noArgument,
      .below = badIpmiSlot, .above = badIpmiSlot },
    { .name = "ipmiKey", .text = "name of the sensor that is there while the fan is", .type = Text,
      .missing = noArgument },
    fanTray[ 1 ], fanTray[ 2 ], fanTray[ 3 ],
    { .name = "modelName", .text = "modelName of every fan", .type = AnyText, .required = false, .standard = "" },
    { .name = "ipmiSlotKey", .text = "has no effect: a bay has no sensor of its own", .type = AnyText,
      .required = false, .standard = "" },
};
constexpr ServiceRow ipmiServices[] = { { Service::Psu, ipmiPsu }, { Service::Fan, ipmiFan },
    { Service::TempSensor, ipmiSensor }, { Service::Slot, ipmiSlot } };

// clang-format on

} // namespace Rows
/** @endcond */

// clang-format off

/** All drivers, in the order of the registry's table. */
constexpr DriverRow driverRows[] = {
    { "Dummy", "Dummy", "any device, for its register bits", NeedsNoHam, {}, Rows::lines },
    { "GpioDriver", "Dummy", "any device, for its register bits", NeedsNoHam, {}, Rows::lines },
    { "SmbusProxyDriver", "SmbusProxyDriver", "any device, for raw SMBus access", 0, {}, Rows::proxy },
    { "GenericSmbusMux", "GenericSmbusMux", "a multiplexer that a send-byte switches", 0, {}, Rows::mux },
    { "PCA9548", "GenericSmbusMux", "a PCA9548 multiplexer", 0, {}, Rows::mux },
    { "Pmbus", "Pmbus", "a power supply that speaks PMBus", 0, Rows::pmbus, Rows::pmbusServices },
    { "PsuSlot", "PsuSlot", "the bay of a power supply", 0, {}, Rows::psuSlotServices },
    { "MireQCPLD", "MirelundQCPLD", "a CPLD with the lines of SFP and QSFP cages", 0, {}, Rows::qCpldServices },
    { "MultiSlot", "MultiSlot", "a bay that any of several slot drivers may answer for",
      IsMultiDevice | NeedsNoHam, {}, Rows::multiSlotServices },
    { "GenericPCA9555", "GenericPCA9555", "a PCA9555 expander, for its lines", 0, Rows::genericExpander,
      Rows::expanderLines },
    { "MirelundPCA9555", "MirelundPCA9555", "the PCA9555 of the fan trays", 0, Rows::bankDirections,
      Rows::fanTrayServices },
    { "MirelundPsoc", "MirelundPsoc", "the fan and temperature controller", 0, {}, Rows::psocServices },
    { "MirePsuPCA9555", "MirePsuPCA9555", "the PCA9555 near the power supplies", 0, {}, Rows::psuExpanderServices },
    { "EmersonPmbus", "EmersonPmbus", "an Emerson power supply", ReadsPsuExpander, Rows::emerson,
      Rows::emersonServices },
    { "MirelundSFP", "MirelundSFP", "a PCA9698 with the lines of SFP cages", GpioTypeOffersNone, Rows::sfpExpander,
      Rows::sfpServices },
    { "MireSPCA9555", "MireSQSFP", "a PCA9555 with the lines of QSFP cages", 0, Rows::bankDirections,
      Rows::sQsfpServices },
    { "MireCLedCPLD", "MireCLedCPLD", "a CPLD of port LEDs", 0, {}, Rows::lines },
    { "MireYQSFP", "MireYQSFP", "a PCA9698 with the lines of QSFP cages", 0, {}, Rows::yQsfpServices },
    { "MireYCPLD", "MirelundYCPLD", "a CPLD with the lines of SFP cages", 0, {}, Rows::yCpldServices },
    { "Ipmi", "Ipmi", "supplies, fans, sensors and fan bays that a BMC owns", NeedsNoHam | FansReadOnly, Rows::ipmi,
      Rows::ipmiServices },
};

// clang-format on

} // namespace Drivers::Table
