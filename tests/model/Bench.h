#pragma once

#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "tests/model/Random.h"
#include "tests/model/World.h"

namespace model {

/** Where the driver's transactions go. */
Service &realService();

/** Ends a run: driver and model do not agree; the text tells all. */
struct Disagreement {
    std::string report;
};

/**
 * A driver and its model side by side, each on a bus, a host and a clock of its own. Every step is
 * done by both, under the same faults, and all that can be seen of it must be equal: the outcome,
 * the transactions, the traces, the host's timers and what the chips hold in the end.
 */
class Bench {
  public:
    explicit Bench( uint64_t seed );
    ~Bench();

    Random random;
    World world; ///< the model's

    /** Does a step. @p real and @p modelled do it and tell the outcome as a text. */
    template <class Real, class Modelled>
    void both( const std::string &what, const Real &real, const Modelled &modelled ) {
        begin( what );
        const std::string expected = guarded( modelled );
        beginReal();
        compare( guarded( real ), expected );
    }
    /** A step whose outcome is a status. */
    template <class Real, class Modelled>
    void act( const std::string &what, const Real &real, const Modelled &modelled ) {
        both(
            what, [ & ] { return told( real(), 0 ); }, [ & ] { return told( modelled(), 0 ); } );
    }
    /** A step whose outcome is a status and a value, which holds @p before until it is set. */
    template <class Value, class Real, class Modelled>
    void get( const std::string &what, Value before, const Real &real, const Modelled &modelled ) {
        Value got = before;
        Value expected = before;
        both(
            what, [ & ] { return told( real( &got ), got ); },
            [ & ] { return told( modelled( &expected ), expected ); } );
    }
    /**
     * The same for a step that by contract may end the process. Then nothing happens on either side;
     * now and then a child process shows that the driver does end, on the very assertion.
     */
    template <class Model, class Real, class Modelled>
    void bothUnlessAborting( const std::string &what, Model &model, const Real &real,
                             const Modelled &modelled ) {
        const Model modelBefore = model;
        const World worldBefore = world;
        begin( what );
        std::string expected;
        try {
            expected = modelled();
        } catch ( const WouldAbort &abort ) {
            model = modelBefore;
            world = worldBefore;
            if ( aborting++ % abortsPerCheck == 0 ) {
                checkThatAborts( real, abort.assertion );
            }
            faults_.clear();
            return;
        }
        beginReal();
        compare( guarded( real ), expected );
    }

    /** What the hardware does by itself, to the chips of both sides. */
    void setByte( uint8_t chip, uint32_t reg, uint8_t value );
    void setWord( uint8_t chip, uint32_t reg, uint16_t value );
    void change( uint8_t chip, const std::function<void( Chip & )> &change );
    /** Time passes for both. */
    void pass( int seconds, int nanoseconds );
    /** One or several transactions of the next step may go wrong. */
    void spoil();
    /** For an armed timer: it fires for the driver. */
    static void fire( uint32_t timer );

    static std::string told( int status, double value );

    unsigned faultRate = 3; ///< a step in so many is spoiled; 0: none
    uint64_t steps = 0;
    uint64_t spoiled = 0;  ///< steps that were under a fault
    uint64_t aborting = 0; ///< steps not done because of what they would abort on

  private:
    template <class Side>
    static std::string guarded( const Side &side ) {
        try {
            return side();
        } catch ( const std::exception &error ) {
            return std::string( "throws " ) + error.what();
        }
    }
    static constexpr unsigned abortsPerCheck = 16;

    void checkThatAborts( const std::function<void()> &real, const std::string &assertion );
    void begin( const std::string &what );
    void beginReal();
    void compare( const std::string &got, const std::string &expected );
    std::string report( const std::string &got, const std::string &expected ) const;

    uint64_t seed_;
    std::deque<Fault> faults_;
    std::deque<std::string> history_; ///< the last steps
};

/** One driver instance and its model, from creation to destruction. */
class Life {
  public:
    virtual ~Life() = default;
    /** Does one random thing with Bench::both. */
    virtual void step() = 0;
    /** Takes down what step() was about, with Bench::both too. */
    virtual void end() {}
};

/**
 * Leads life after life until the environment's "ORVAN_MODEL_STEPS" (10,000) steps are done. The
 * first life's random numbers are those of "ORVAN_MODEL_SEED" (1), the next one's of the number after it.
 */
void runInStep( const std::function<std::unique_ptr<Life>( Bench & )> &makeLife );

} // namespace model
