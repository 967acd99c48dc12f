#include "tests/support/AllocationCounter.h"

namespace {

thread_local bool counting = false;
thread_local size_t allocations = 0;

void note() {
    if ( counting ) {
        ++allocations;
    }
}

} // namespace

#ifdef __has_feature
#if __has_feature( address_sanitizer )
#define __SANITIZE_ADDRESS__
#endif
#endif

#ifdef __SANITIZE_ADDRESS__

// The sanitizer's own header comes with clang only.
extern "C" int
__sanitizer_install_malloc_and_free_hooks( void ( *allocated )( const volatile void *, size_t ),
                                           void ( *freed )( const volatile void * ) );

namespace {

[[maybe_unused]] const int hooks = __sanitizer_install_malloc_and_free_hooks(
    []( const volatile void *, size_t ) { note(); }, []( const volatile void * ) {} );

} // namespace

#else

// The allocator behind glibc's names, which the definitions below take over in the whole program.
extern "C" {
void *__libc_malloc( size_t );
void *__libc_calloc( size_t, size_t );
void *__libc_realloc( void *, size_t );
void *__libc_memalign( size_t, size_t );

void *malloc( size_t size ) {
    note();
    return __libc_malloc( size );
}

void *calloc( size_t count, size_t size ) {
    note();
    return __libc_calloc( count, size );
}

void *realloc( void *old, size_t size ) {
    note();
    return __libc_realloc( old, size );
}

void *aligned_alloc( size_t alignment, size_t size ) {
    note();
    return __libc_memalign( alignment, size );
}
}

#endif

namespace support {

AllocationCounter::AllocationCounter() {
    allocations = 0;
    counting = true;
}

AllocationCounter::~AllocationCounter() {
    counting = false;
}

size_t AllocationCounter::count() const {
    return allocations;
}

} // namespace support
