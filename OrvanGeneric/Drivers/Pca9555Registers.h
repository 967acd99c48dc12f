#pragma once

#include <cstdint>

/** The PCA9555, a GPIO expander with two banks of eight lines (NXP data sheet PCA9555, table 4). */
namespace Drivers::Pca9555 {

/** Banks of eight lines. */
constexpr uint8_t banks = 2;

/** Those for inverted inputs, 4 and 5, are left alone. */
enum Register : uint8_t {
    inputPort0 = 0,
    inputPort1 = 1,
    outputPort0 = 2,
    outputPort1 = 3,
    configuration0 = 6, ///< a bit for each line: 1 an input, 0 an output
    configuration1 = 7,
};

} // namespace Drivers::Pca9555
