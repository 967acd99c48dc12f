#include "tests/support/AllocationFailure.h"

#include <cstdlib>
#include <new>

namespace {

bool armed = false;
bool failed = false;
size_t smallestFailing = 0;
size_t sparedLeft = 0;

/** Whether this allocation is to fail. */
bool fails( size_t size ) {
    if ( !armed || size < smallestFailing ) {
        return false;
    }
    if ( sparedLeft > 0 ) {
        --sparedLeft;
        return false;
    }
    failed = true;
    return true;
}

void *allocate( size_t size ) {
    return fails( size ) ? nullptr : std::malloc( size ? size : 1 );
}

void *allocate( size_t size, std::align_val_t alignment ) {
    const auto align = static_cast<size_t>( alignment );
    const size_t whole = ( size + align - 1 ) / align * align;
    return fails( size ) ? nullptr : std::aligned_alloc( align, whole ? whole : align );
}

/** The memory, unless there is none. */
void *checked( void *memory ) {
    if ( !memory ) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

AllocationFailure::AllocationFailure( size_t smallest, size_t spared ) {
    smallestFailing = smallest;
    sparedLeft = spared;
    failed = false;
    armed = true;
}

AllocationFailure::~AllocationFailure() {
    armed = false;
}

bool AllocationFailure::happened() const {
    return failed;
}

// The program's own operators; the forms for arrays come down to these.

void *operator new( size_t size ) {
    return checked( allocate( size ) );
}

void *operator new( size_t size, std::align_val_t alignment ) {
    return checked( allocate( size, alignment ) );
}

void *operator new( size_t size, const std::nothrow_t & ) noexcept {
    return allocate( size );
}

void operator delete( void *memory ) noexcept {
    std::free( memory );
}

void operator delete( void *memory, size_t ) noexcept {
    std::free( memory );
}

void operator delete( void *memory, std::align_val_t ) noexcept {
    std::free( memory );
}

void operator delete( void *memory, size_t, std::align_val_t ) noexcept {
    std::free( memory );
}

void operator delete( void *memory, const std::nothrow_t & ) noexcept {
    std::free( memory );
}
