#include "common/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace common {

namespace {

constexpr size_t readStep = 4096;

} // namespace

Descriptor &Descriptor::operator=( Descriptor &&other ) noexcept {
    if ( this != &other ) {
        close();
        number_ = other.release();
    }
    return *this;
}

int Descriptor::release() noexcept {
    return std::exchange( number_, -1 );
}

void Descriptor::close() noexcept {
    if ( number_ >= 0 ) {
        const int savedErrno = errno;
        ::close( release() );
        errno = savedErrno;
    }
}

Pipe makePipe() {
    int ends[ 2 ];
    if ( ::pipe2( ends, O_CLOEXEC ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "cannot make a pipe" );
    }
    return { Descriptor( ends[ 0 ] ), Descriptor( ends[ 1 ] ) };
}

std::string readAll( const Descriptor &descriptor ) {
    std::string text;
    for ( ;; ) {
        const size_t had = text.size();
        text.resize( had + readStep );
        const ssize_t got = ::read( descriptor.get(), text.data() + had, readStep );
        const int error = errno;
        text.resize( had + static_cast<size_t>( got > 0 ? got : 0 ) );
        if ( got == 0 ) {
            return text;
        }
        if ( got < 0 && error != EINTR ) {
            throw std::system_error( error, std::generic_category(), "cannot read" );
        }
    }
}

} // namespace common
