#include "OrvanGeneric/NotImplementedException.h"

#include <memory>

#include <gtest/gtest.h>

namespace {

using Component::NotImplementedException;

TEST( NotImplementedException, SaysWhichOperationIsMissing ) {
    EXPECT_STREQ( NotImplementedException( "newFan" ).what(), "Not implemented newFan" );
}

TEST( NotImplementedException, IsCaughtAsAStandardException ) {
    try {
        throw NotImplementedException( "addRead32" );
    } catch ( const std::exception &exception ) {
        EXPECT_STREQ( exception.what(), "Not implemented addRead32" );
    }
}

TEST( NotImplementedException, CopyKeepsItsTextBeyondTheOriginal ) {
    auto original = std::make_unique<NotImplementedException>( "newQsfpXcvr" );
    const NotImplementedException copy = *original;
    original.reset();
    EXPECT_STREQ( copy.what(), "Not implemented newQsfpXcvr" );
}

} // namespace
