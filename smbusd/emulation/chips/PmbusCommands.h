#pragma once

#include <cstdint>

/** Command codes of PMBus (Power System Management Protocol, part II, appendix I). */
namespace smbusd::pmbus {

/** What a message to a PMBus device starts with. */
enum Command : uint8_t {
    OPERATION = 0x01,          ///< bit 7: whether the output is on
    CLEAR_FAULTS = 0x03,       ///< send byte: the STATUS registers forget
    WRITE_PROTECT = 0x10,      ///< what can still be written
    CAPABILITY = 0x19,         ///< bit 7: packet error codes; bits 5-6: bus speed
    VOUT_MODE = 0x20,          ///< format of the output voltage
    FAN_CONFIG_1_2 = 0x3A,     ///< by fan: installed, percent or revolutions
    FAN_COMMAND_1 = 0x3B,      ///< LINEAR11, in the unit of FAN_CONFIG_1_2
    FAN_COMMAND_2 = 0x3C,      ///< as FAN_COMMAND_1
    STATUS_BYTE = 0x78,        ///< low byte of STATUS_WORD
    STATUS_WORD = 0x79,        ///< summary of all STATUS registers
    STATUS_VOUT = 0x7A,        ///< faults of the output voltage
    STATUS_IOUT = 0x7B,        ///< faults of the output current
    STATUS_INPUT = 0x7C,       ///< faults of the mains
    STATUS_TEMPERATURE = 0x7D, ///< faults by heat
    STATUS_CML = 0x7E,         ///< faults of communication
    STATUS_FANS_1_2 = 0x81,    ///< faults of the fans
    READ_VIN = 0x88,           ///< volts, LINEAR11
    READ_IIN = 0x89,           ///< amperes, LINEAR11
    READ_VOUT = 0x8B,          ///< volts, as VOUT_MODE says
    READ_IOUT = 0x8C,          ///< amperes, LINEAR11
    READ_TEMPERATURE_1 = 0x8D, ///< degrees Celsius, LINEAR11
    READ_TEMPERATURE_2 = 0x8E, ///< degrees Celsius, LINEAR11
    READ_TEMPERATURE_3 = 0x8F, ///< degrees Celsius, LINEAR11
    READ_FAN_SPEED_1 = 0x90,   ///< revolutions per minute, LINEAR11
    READ_FAN_SPEED_2 = 0x91,   ///< revolutions per minute, LINEAR11
    READ_POUT = 0x96,          ///< watts, LINEAR11
    READ_PIN = 0x97,           ///< watts, LINEAR11
    PMBUS_REVISION = 0x98,     ///< by part, a digit each
    MFR_ID = 0x99,             ///< block: the manufacturer
    MFR_MODEL = 0x9A,          ///< block: the model
    MFR_SERIAL = 0x9E,         ///< block: the serial number
};

} // namespace smbusd::pmbus
