#pragma once

#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

/**
 * While it lives, the process may take no more than one mebibyte of memory beyond what it has: malloc
 * fails for what is larger. The sanitizer's memory cannot be limited.
 */
class MemoryLimit {
  public:
    /** A size that malloc refuses while the limit is there. */
    static constexpr unsigned tooMuch = 16u << 20;

    MemoryLimit() {
        unsigned long pages = 0;
        std::ifstream( "/proc/self/statm" ) >> pages;
        getrlimit( RLIMIT_AS, &before_ );
        const rlimit little = { pages * static_cast<unsigned long>( getpagesize() ) + spare,
                                before_.rlim_max };
        setrlimit( RLIMIT_AS, &little );
    }
    ~MemoryLimit() { setrlimit( RLIMIT_AS, &before_ ); }
    MemoryLimit( const MemoryLimit & ) = delete;
    MemoryLimit &operator=( const MemoryLimit & ) = delete;

  private:
    static constexpr unsigned long spare = 1ul << 20;

    rlimit before_;
};
