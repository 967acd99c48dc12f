/**
 * @file
 * A driver library that does as it is told, for tests of the host's side.
 */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <pl/pl.h>

/**
 * How the library behaves, and what was asked of it. A test program gets at it through the exported
 * `fake_state`. A description's "name" decides what its add function does: "null" answers null after
 * a level-0 trace, "throw" throws FakeNotImplemented, "throw int" throws an int, "abort" aborts, "timer" arms
 * a timer of 1000 ms that counts `ticks` up, "throwing timer" one whose callback throws.
 */
struct FakeState {
    pl_status initStatus = PL_STATUS_OK;
    bool throwOnInit = false;
    bool silentNull = false; ///< add functions answer null without a trace
    /** What was called with what: "pl_gpio_add {…}", "bit_set". */
    std::vector<std::string> calls;

    // The answers of all callbacks.
    pl_status status = PL_STATUS_OK;
    bool throwOnCall = false;
    int number = 0;
    float real = 0;
    const char *text = nullptr;       ///< handed out as a copy on the heap
    std::vector<unsigned char> block; ///< what block reads bring
    std::optional<unsigned>
        blockLength{}; ///< the length that a block read claims; none: the block's
    int presence = 0;
    std::function<pl_status( unsigned char command )>
        byteStatus;           ///< of read_byte; sees the command
    bool shortTables = false; ///< the callback tables' sizes say that they end after the size
    unsigned ticks = 0;
};

extern "C" FakeState *fake_state();
