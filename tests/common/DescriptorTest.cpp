#include "common/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <gmock/gmock.h>

namespace {

using common::Descriptor;
using common::makePipe;
using common::Pipe;

bool isOpen( int descriptor ) {
    return ::fcntl( descriptor, F_GETFD ) >= 0;
}

Descriptor opened() {
    return Descriptor( ::open( "/dev/null", O_RDONLY | O_CLOEXEC ) );
}

TEST( Descriptor, IsClosedAtTheEndOfItsLife ) {
    int number = -1;
    {
        const Descriptor descriptor = opened();
        number = descriptor.get();
        EXPECT_TRUE( descriptor );
        EXPECT_TRUE( isOpen( number ) );
    }
    EXPECT_FALSE( isOpen( number ) );
}

TEST( Descriptor, NoneIsNothingToClose ) {
    Descriptor none;
    EXPECT_FALSE( none );
    EXPECT_EQ( none.get(), -1 );
    EXPECT_EQ( none.release(), -1 );
    none.close();
    EXPECT_FALSE( Descriptor( -1 ) );
    EXPECT_TRUE( Descriptor( 0 ).release() == 0 ); // standard input is one
}

TEST( Descriptor, ReleaseHandsItOver ) {
    int number = -1;
    {
        Descriptor descriptor = opened();
        number = descriptor.release();
        EXPECT_FALSE( descriptor );
    }
    EXPECT_TRUE( isOpen( number ) );
    ::close( number );
}

TEST( Descriptor, MovesWithItsOwner ) {
    Descriptor first = opened();
    const int number = first.get();
    Descriptor second( std::move( first ) );
    EXPECT_EQ( second.get(), number );

    Descriptor third = opened();
    const int replaced = third.get();
    third = std::move( second );
    EXPECT_EQ( third.get(), number );
    EXPECT_FALSE( isOpen( replaced ) );
    EXPECT_TRUE( isOpen( number ) );
}

TEST( Descriptor, AssignedToItselfItStays ) {
    Descriptor descriptor = opened();
    const int number = descriptor.get();
    Descriptor &same = descriptor;
    descriptor = std::move( same );
    EXPECT_EQ( descriptor.get(), number );
    EXPECT_TRUE( isOpen( number ) );
}

TEST( Descriptor, ClosingLeavesErrnoAlone ) {
    Descriptor notOpen( 1000000 );
    errno = EAGAIN;
    notOpen.close();
    EXPECT_EQ( errno, EAGAIN );
}

TEST( Pipe, CarriesBytesAndEndsOnExec ) {
    Pipe pipe = makePipe();
    EXPECT_EQ( ::fcntl( pipe.readEnd.get(), F_GETFD ), FD_CLOEXEC );
    EXPECT_EQ( ::fcntl( pipe.writeEnd.get(), F_GETFD ), FD_CLOEXEC );
    const std::string text = std::string( 5000, 'x' ) + '\0' + "end";
    ASSERT_EQ( ::write( pipe.writeEnd.get(), text.data(), text.size() ), ssize_t{ 5004 } );
    pipe.writeEnd.close();
    EXPECT_EQ( common::readAll( pipe.readEnd ), text );
    EXPECT_EQ( common::readAll( pipe.readEnd ), "" );
}

TEST( Pipe, WhatCannotBeReadIsAnError ) {
    const Pipe pipe = makePipe();
    EXPECT_THAT( [ & ] { common::readAll( pipe.writeEnd ); },
                 testing::ThrowsMessage<std::system_error>( "cannot read: Bad file descriptor" ) );
}

} // namespace
