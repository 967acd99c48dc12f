#include "orvan/host/Library.h"

#include <gmock/gmock.h>

#include "orvan/base/Errors.h"

namespace {

using orvan::BadInput;
using orvan::Library;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

TEST( Library, AMissingFileIsNamed ) {
    EXPECT_THAT( [] { Library( "/nonexistent/lib.so" ); },
                 ThrowsMessage<BadInput>( AllOf( StartsWith( "cannot load the driver library: " ),
                                                 HasSubstr( "/nonexistent/lib.so" ) ) ) );
}

TEST( Library, AFileThatIsNoLibraryIsRefused ) {
    EXPECT_THAT( [] { Library( ORVAN_SOURCE_DIR "/LICENSE" ); },
                 ThrowsMessage<BadInput>( StartsWith( "cannot load the driver library: " ) ) );
}

TEST( Library, AMissingEntryPointIsNamed ) {
    const std::string path = ORVAN_LIB_DIR "/orvan_empty_library.so";
    const Library library( path );
    EXPECT_EQ( library.path(), path );
    EXPECT_THAT( [ &library ] { library.symbol( "pl_fan_init" ); },
                 ThrowsMessage<BadInput>( path + " does not export pl_fan_init" ) );
}

TEST( Library, AnEntryPointIsFound ) {
    const Library library( ORVAN_LIB_DIR "/orvan_fake_library.so" );
    EXPECT_NE( library.symbol( "pl_fan_init" ), nullptr );
}

} // namespace
