/**
 * @file
 * The types of the table of drivers (DriverRows.h): what a device description can ask of each, as data.
 *
 * The library does not need the table to run, so it does not include it. Its tests hold every row against
 * the real drivers; the host program checks descriptions by it before the library sees them.
 */
#pragma once

#include <array>
#include <span>

namespace Drivers::Table {

/** What a driver can be asked to make. */
enum class Service {
    Gpio,       ///< a GPIO line
    Led,        ///< an LED
    Fan,        ///< a fan
    TempSensor, ///< a temperature sensor
    SfpXcvr,    ///< a transceiver cage whose "type" is "sfp" or "sfp+"
    QsfpXcvr,   ///< a transceiver cage whose "type" is "qsfp" or "qsfp+"
    Psu,        ///< a power supply
    Slot,       ///< a bay of a fan or a supply
    SmbusProxy, ///< raw SMBus access
    Mux,        ///< a channel of a multiplexer; the topology asks for it, no host adds one
};

/** How the text of an argument is read. */
enum class ArgType {
    Integer,     ///< decimal, from `minimum` to `maximum`
    Flag,        ///< "true" or "false"; the library takes every other text for false
    OneOf,       ///< one of the texts in `choices`
    Text,        ///< any text but the empty one
    AnyText,     ///< any text
    Template,    ///< a text with each placeholder in `choices`, written in braces
    DeviceLabel, ///< the label of a device that the topology declares with a driver
};

/** What the library makes of an argument that is missing or wrong. */
enum class Effect {
    Accepted, ///< takes it; the text tells people what comes of it
    Masked,   ///< takes an integer's low eight bits
    Traced, ///< makes the device, which cannot do its work, after a trace that begins with the text
    MakesNothing, ///< makes no device, after a trace that begins with the text
    Throws,       ///< throws an exception whose what() begins with the text
    ThrowsOnUse,  ///< the same when the device is first used
    Aborts,       ///< aborts on the assertion in the text
    AbortsOnUse,  ///< the same when the device is first used
};

/** An effect with its words. */
struct Outcome {
    Effect effect = Effect::Accepted; ///< what happens
    const char *text = "";            ///< see Effect
};

/** When an argument's rule holds, by another argument of the same description. */
struct Condition {
    /** How the other argument is judged. */
    enum Kind {
        Always,   ///< the rule always holds
        Given,    ///< the other argument is there
        NotGiven, ///< it is not
        HasText,  ///< it has the text `text`
    };
    Kind kind = Always;             ///< of the condition
    const char *argument = nullptr; ///< name of the other argument; null for Always
    const char *text = nullptr;     ///< for HasText; else null
};

/** The longest list of choices or placeholders. */
constexpr int maxChoices = 6;

/**
 * One member of a description's "driverArgs". Where several rules have the same name, all whose condition
 * holds count.
 */
struct Argument {
    const char *name;                ///< exactly; of a numbered one without the number
    const char *text;                ///< for people: what it is, in one line
    ArgType type = ArgType::Integer; ///< how its text is read
    int minimum = 0;                 ///< least Integer, in `unit`
    int maximum = 0;                 ///< greatest Integer, in `unit`
    const char *unit = "";           ///< of an Integer: "rpm", "s", "ms"; "" for a mere number
    std::array<const char *, maxChoices> choices{}; ///< as the type says; ends at the first null
    bool required = true;           ///< whether it must be given while the rule holds
    const char *standard = nullptr; ///< the text that an absent one counts as; null: none
    Condition condition{};          ///< when the rule holds
    Outcome missing{};              ///< of leaving out a required one
    Outcome below{};                ///< of `minimum` - 1
    Outcome above{};                ///< of `maximum` + 1, which may be beyond an int
    Outcome other{};                ///< of another OneOf text, a Template without
                                    ///< placeholders, or an unknown DeviceLabel
};

/** What a driver asks in order to make one kind of thing. */
struct ServiceRow {
    Service service;                ///< what is made
    std::span<const Argument> args; ///< in the order in which people are told of them
    /**
     * Arguments that come in sets: their names end in a number, counted from 1. The sets end before the
     * first number at which the first of these arguments is missing.
     */
    std::span<const Argument> numbered{};
};

/** Peculiarities that no argument tells. */
enum Trait : unsigned {
    NeedsNoHam = 1,         ///< works with "provideHam": 0
    IsMultiDevice = 2,      ///< "isMultiDevice" must be true; with other drivers it must not
    ReadsPsuExpander = 4,   ///< looks up the device labelled "PsuPCA", a MirePsuPCA9555
    GpioTypeOffersNone = 8, ///< made with "type" "gpio" it serves GPIO lines only
    FansReadOnly = 16,      ///< setting a fan's speed aborts
};

/** One key of the driver registry. */
struct DriverRow {
    const char *name;           ///< the key, as a description's "driver" gives it
    const char *implementation; ///< the class; keys with the same one name the same driver
    const char *text;           ///< for people: what it drives, in one line
    unsigned traits = 0;        ///< of Trait
    std::span<const Argument> creation{};   ///< arguments of every description of the device
    std::span<const ServiceRow> services{}; ///< what it makes, each once
};

} // namespace Drivers::Table
