#pragma once

#include <cstdlib>
#include <memory>

#include <pl/types.h>

namespace Drivers {

/**
 * The field-data text (FDL) of the unit in a bay, filled once for each unit and copied for every query
 * of the host. The text lives in malloc's memory: where there is none, a query fails with a status
 * instead of an exception.
 */
class FieldDataCache {
  public:
    /** @param noMemoryTrace  traced at level 0 when a copy fails; a literal. Null: no trace */
    explicit FieldDataCache( const char *noMemoryTrace = nullptr )
        : noMemoryTrace_( noMemoryTrace ) {}

    /** Whether a text is kept; an empty one counts as none. */
    bool filled() const { return text_ && *text_ != '\0'; }
    /** Replaces the kept text by a copy of @p text; keeps none when there is no memory for it. */
    void keep( const char *text );
    /** Keeps no text any more. */
    void forget() { text_.reset(); }

    /** Gives the host a copy of the kept text; fails where keep() found no memory. See copy(). */
    pl_status copyKept( char **fdl ) const;
    /**
     * Gives the host a copy of @p text, which need not be the kept one.
     * @param text  null counts as a copy without memory
     * @param fdl   receives the copy, which the host frees; left alone on failure
     * @return PL_STATUS_OK; PL_STATUS_FAILED: no memory
     */
    pl_status copy( const char *text, char **fdl ) const;

  private:
    struct Free {
        void operator()( char *text ) const { std::free( text ); }
    };

    const char *noMemoryTrace_;
    std::unique_ptr<char, Free> text_; ///< null: none
};

} // namespace Drivers
