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
    const PeripheralDescription *description = nullptr;
    const Kind *kind = nullptr;
    void *record = nullptr;  ///< the library's record; null until added
    std::string failure;     ///< why it could not be added; empty: it could, or was not yet tried
    std::string lastSetting; ///< what this run last set successfully
};

/** The outcome of a reading. */
struct Value {
    pl_status status = PL_STATUS_OK;
    std::variant<std::monostate, long long, double, std::string> data; ///< with PL_STATUS_OK
    std::string exception; ///< what the library threw instead of answering

    static Value failed( pl_status status ) { return { status, {}, {} }; }
    static Value of( long long number ) { return { PL_STATUS_OK, number, {} }; }
    static Value of( double number ) { return { PL_STATUS_OK, number, {} }; }
    static Value of( std::string text ) { return { PL_STATUS_OK, std::move( text ), {} }; }
    /** @p number if @p status is good. */
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
    explicit Readout( const Peripheral &peripheral ) : peripheral_( peripheral ) {}

    const Peripheral &peripheral() const { return peripheral_; }
    template <typename Record>
    Record *record() const {
        return static_cast<Record *>( peripheral_.record );
    }
    /** An argument of the description as a number, or @p fallback. */
    long argument( const char *name, long fallback ) const;
    /** The answer of @p ask, which is called the first time that @p what is wanted. */
    const Value &once( const char *what, const std::function<Value()> &ask );

  private:
    const Peripheral &peripheral_;
    std::map<std::string, Value> answers_;
};

/** Something that can be read. */
struct Reading {
    const char *name;
    const char *unit; ///< "" for none
    int decimals;     ///< of a number with a fraction
    Value ( *read )( Readout &readout );
    bool inTables = true; ///< false: too long or too rare for a column of `show`
};

/** Something that can be set. */
struct Setting {
    const char *name;   ///< "": the kind's one setting, given without a name
    const char *values; ///< for help and errors
    /** Sets it. Throws BadInput when @p text is none of the values. */
    pl_status ( *apply )( Peripheral &peripheral, const std::string &text );
};

/** A kind of peripheral. */
struct Kind {
    const char *name;
    const char *initSymbol;
    const char *addSymbol;
    /** Calls the add function at @p symbol; null as the library answers. */
    void *( *add )( void *symbol, const PeripheralDescription &description );
    std::span<const Reading> ( *readings )( const Peripheral &peripheral );
    std::span<const Setting> ( *settings )( const Peripheral &peripheral );
};

/** All kinds. */
std::span<const Kind *const> kinds();
/** Null for a name that is none. */
const Kind *findKind( const std::string &name );

/** The text of a value as shown: with its decimals; or the status's name; or what was thrown. */
std::string valueText( const Reading &reading, const Value &value );

/** "on", "1" / "off", "0". Throws BadInput naming @p what otherwise. */
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

/** Calls an add function that takes the description alone. */
template <typename Record>
void *addDescribed( void *symbol, const PeripheralDescription &description ) {
    return reinterpret_cast<Record *( * )( const char * )>( symbol )( description.device.c_str() );
}

inline std::span<const Setting> noSettings( const Peripheral & ) {
    return {};
}
inline std::span<const Reading> noReadings( const Peripheral & ) {
    return {};
}

extern const Kind gpioKind, ledKind, fanKind, tempSensorKind, xcvrKind, psuKind, slotKind,
    smbusKind, systemKind;

} // namespace orvan
