/**
 * @file
 * What the host can do with each kind of peripheral, as tables.
 */
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <pl/types.h>

#include "orvan/board/Board.h"

namespace orvan {

struct Kind;

/** A peripheral of the board, added or about to be. */
struct Peripheral {
    const PeripheralDescription *description = nullptr; ///< the board's entry, owned by the board
    const Kind *kind = nullptr;                         ///< its entry in kinds()
    void *record = nullptr;  ///< the library's record, of the kind's type; null until added
    std::string failure;     ///< why it could not be added; empty: it could, or was not yet tried
    std::string lastSetting; ///< what this run last set successfully
};

/** The outcome of a reading. */
struct Value {
    pl_status status = PL_STATUS_OK; ///< what the library answered
    std::variant<std::monostate, long long, double, std::string> data; ///< with PL_STATUS_OK
    std::string exception; ///< what the library threw instead of answering

    /** The outcome of a call that answered @p status, other than PL_STATUS_OK. */
    static Value failed( pl_status status ) { return { status, {}, {} }; }
    /** A whole number, read successfully. */
    static Value of( long long number ) { return { PL_STATUS_OK, number, {} }; }
    /** A number with a fraction, in the reading's unit, read successfully. */
    static Value of( double number ) { return { PL_STATUS_OK, number, {} }; }
    /** A text, read successfully. */
    static Value of( std::string text ) { return { PL_STATUS_OK, std::move( text ), {} }; }
    /** The outcome of a call that answered @p status and, if that is PL_STATUS_OK, @p number. */
    template <typename Number>
    static Value answer( pl_status status, Number number ) {
        if ( status != PL_STATUS_OK ) {
            return failed( status );
        }
        if constexpr ( std::is_floating_point_v<Number> ) {
            return of( static_cast<double>( number ) );
        } else {
            return of( static_cast<long long>( number ) );
        }
    }
};

/** The readings of one peripheral at one moment: what several of them need is asked once. */
class Readout {
  public:
    /** Of @p peripheral, which must have a record and outlive this object. */
    explicit Readout( const Peripheral &peripheral ) : peripheral_( peripheral ) {}

    /** The peripheral that is read. */
    const Peripheral &peripheral() const { return peripheral_; }
    /** Its record, of the library; @p Record must be that of its kind. */
    template <typename Record>
    Record *record() const {
        return static_cast<Record *>( peripheral_.record );
    }
    /** The description's argument @p name as a decimal number; @p fallback when it has none. */
    long argument( const char *name, long fallback ) const;
    /**
     * The answer of @p ask, which is called the first time that @p what is asked for; later calls give
     * the same answer. The reference holds as long as this object.
     */
    const Value &once( const char *what, const std::function<Value()> &ask );

  private:
    const Peripheral &peripheral_;
    std::map<std::string, Value> answers_;
};

/** Something that can be read. */
struct Reading {
    const char *name; ///< as `get` takes it; the heading of its column in `show`
    const char *unit; ///< "V", "rpm"; "" for none
    int decimals;     ///< of a number with a fraction
    /** Asks the library. What that throws passes. */
    Value ( *read )( Readout &readout );
    bool inTables = true; ///< false: too long or too rare for a column of `show`
};

/** Something that can be set. */
struct Setting {
    const char *name;   ///< "": the kind's one setting, given without a name
    const char *values; ///< what it can be set to, in words, for help and errors
    /** Sets it to @p text and returns the library's status. Throws BadInput when that is no value of it. */
    pl_status ( *apply )( Peripheral &peripheral, const std::string &text );
};

/** A kind of peripheral: how the library adds it, and what can be read and set. */
struct Kind {
    const char *name;       ///< as in peripherals.json
    const char *initSymbol; ///< the library's initialisation function: "pl_fan_init"
    const char *addSymbol;  ///< the library's add function: "pl_fan_add"
    /** Calls the add function at @p symbol. @return the library's record; null when it refuses */
    void *( *add )( void *symbol, const PeripheralDescription &description );
    /** What can be read from a peripheral of this kind; may depend on its description and record. */
    std::span<const Reading> ( *readings )( const Peripheral &peripheral );
    /** What can be set on it; likewise. */
    std::span<const Setting> ( *settings )( const Peripheral &peripheral );
};

/** All kinds, in the order in which `show` prints them. */
std::span<const Kind *const> kinds();
/** The kind called @p name; null when there is none. */
const Kind *findKind( const std::string &name );

/**
 * The text of @p value, read by @p reading, as it is shown: numbers with the reading's decimals, without
 * unit; "-" when there is nothing to show; after a failure the status's name, or "threw " and what was
 * thrown.
 */
std::string valueText( const Reading &reading, const Value &value );

/** True for "on" and "1", false for "off" and "0". Throws BadInput, naming @p what, for other texts. */
bool parseSwitch( const std::string &text, const char *what );

/** True when a callback table is long enough to hold @p entry and has it. */
template <typename Ops, typename Entry>
bool offers( const Ops *ops, Entry Ops::*entry ) {
    const auto offset =
        reinterpret_cast<const char *>( &( ops->*entry ) ) - reinterpret_cast<const char *>( ops );
    return ops->size >= static_cast<std::size_t>( offset ) + sizeof( Entry ) && ops->*entry;
}

/** Calls an entry of a callback table with @p arguments; PL_STATUS_UNSUPPORTED when it is empty. */
template <typename Ops, typename... Parameters, typename... Arguments>
pl_status call( const Ops *ops, pl_status ( *Ops::*entry )( Parameters... ),
                Arguments... arguments ) {
    return offers( ops, entry ) ? ( ops->*entry )( arguments... ) : PL_STATUS_UNSUPPORTED;
}

/** Kind::add for add functions whose only argument is the description's text. */
template <typename Record>
void *addDescribed( void *symbol, const PeripheralDescription &description ) {
    return reinterpret_cast<Record *( * )( const char * )>( symbol )( description.device.c_str() );
}

/** Kind::settings of kinds on which nothing can be set. */
inline std::span<const Setting> noSettings( const Peripheral & ) {
    return {};
}
/** Kind::readings of kinds from which nothing can be read. */
inline std::span<const Reading> noReadings( const Peripheral & ) {
    return {};
}

extern const Kind gpioKind;       ///< single lines
extern const Kind ledKind;        ///< lights
extern const Kind fanKind;        ///< fans, in revolutions per minute
extern const Kind tempSensorKind; ///< temperature sensors, in degrees Celsius
extern const Kind xcvrKind;       ///< transceiver cages, SFP and QSFP
extern const Kind psuKind;        ///< power supplies
extern const Kind slotKind;       ///< bays of supplies and fan trays
extern const Kind smbusKind;      ///< raw SMBus access to a device
extern const Kind systemKind;     ///< power control of the whole board

} // namespace orvan
