#pragma once

#include <cstdint>

namespace smbusd {

/** Command codes of PMBus (Power System Management Protocol, part II, appendix I). */
namespace pmbus {

enum Command : uint8_t {
    OPERATION = 0x01,
    CLEAR_FAULTS = 0x03,
    WRITE_PROTECT = 0x10,
    CAPABILITY = 0x19,
    VOUT_MODE = 0x20,
    FAN_CONFIG_1_2 = 0x3A,
    FAN_COMMAND_1 = 0x3B,
    FAN_COMMAND_2 = 0x3C,
    STATUS_BYTE = 0x78,
    STATUS_WORD = 0x79,
    STATUS_VOUT = 0x7A,
    STATUS_IOUT = 0x7B,
    STATUS_INPUT = 0x7C,
    STATUS_TEMPERATURE = 0x7D,
    STATUS_CML = 0x7E,
    STATUS_FANS_1_2 = 0x81,
    READ_VIN = 0x88,
    READ_IIN = 0x89,
    READ_VOUT = 0x8B,
    READ_IOUT = 0x8C,
    READ_TEMPERATURE_1 = 0x8D,
    READ_TEMPERATURE_2 = 0x8E,
    READ_TEMPERATURE_3 = 0x8F,
    READ_FAN_SPEED_1 = 0x90,
    READ_FAN_SPEED_2 = 0x91,
    READ_POUT = 0x96,
    READ_PIN = 0x97,
    PMBUS_REVISION = 0x98,
    MFR_ID = 0x99,
    MFR_MODEL = 0x9A,
    MFR_SERIAL = 0x9E,
};

} // namespace pmbus

} // namespace smbusd
