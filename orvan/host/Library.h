/**
 * @file
 * A driver library loaded at run time.
 */
#pragma once

#include <string>

namespace orvan {

/**
 * Loads a driver library and finds its entry points. It stays loaded until the process ends, since
 * its timers, records and callbacks refer into it.
 */
class Library {
  public:
    /** Throws BadInput with the loader's own words when @p path cannot be loaded. */
    explicit Library( std::string path );

    /** The path as it was given. */
    const std::string &path() const { return path_; }

    /** The address of the exported function @p name, never null. Throws BadInput when there is none. */
    void *symbol( const char *name ) const;
    /** The same as a pointer to a function of the type @p Function, which nothing checks. */
    template <typename Function>
    Function *function( const char *name ) const {
        return reinterpret_cast<Function *>( symbol( name ) );
    }

  private:
    std::string path_;
    void *handle_;
};

} // namespace orvan
