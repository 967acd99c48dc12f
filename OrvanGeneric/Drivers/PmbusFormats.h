#pragma once

#include <cstdint>

namespace Ham {
class Ham;
}

/**
 * Number formats of PMBus (Power System Management Protocol, part II, chapters 7 and 8), and what
 * all its supplies have in common.
 */
namespace Drivers::PmbusFormats {

/** Command codes. */
enum Command : uint8_t {
    CLEAR_FAULTS = 0x03,
    WRITE_PROTECT = 0x10,
    VOUT_MODE = 0x20,
    FAN_COMMAND_1 = 0x3B,
    FAN_COMMAND_2 = 0x3C,
    STATUS_WORD = 0x79,
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
    MFR_MODEL = 0x9A,
    MFR_SERIAL = 0x9E,
};

/** VOUT_MODE: its upper three bits choose the format of the output voltage; 0 is LINEAR16. */
constexpr uint8_t voutModeFormatMask = 0xE0;

/** Bits of a LINEAR11 word: exponent above, mantissa below, both two's complement. */
constexpr uint8_t linear11MantissaBits = 11;
/** The upper bits of a LINEAR11 word. */
constexpr uint8_t linear11ExponentBits = 5;

/**
 * The number mantissa * 2^exponent.
 * @param mantissa      raw, two's complement in its low @p mantissaBits
 * @param exponent      raw, two's complement in its low @p exponentBits
 * @param mantissaBits  1 to 16
 * @param exponentBits  1 to 8
 */
float linearToReal( uint16_t mantissa, uint8_t exponent, uint8_t mantissaBits,
                    uint8_t exponentBits );

/** The number that a LINEAR11 word stands for. */
float linear11ToReal( uint16_t word );

/**
 * The number that a LINEAR16 word stands for; the mantissa is read as signed.
 * @param mode  its low five bits are the exponent, as VOUT_MODE gives it
 */
float linear16ToReal( uint16_t word, uint8_t mode );

/**
 * A whole number as a LINEAR11 word with an exponent of 0 or more: below 1024 as it is, otherwise
 * halved until it is, which drops low bits.
 */
uint16_t realToLinear11( uint16_t value );

/**
 * Reads a LINEAR11 word.
 * @param value  set on success only
 * @return the Ham's status
 */
int readLinear11( Ham::Ham *ham, uint8_t command, float *value );

} // namespace Drivers::PmbusFormats
