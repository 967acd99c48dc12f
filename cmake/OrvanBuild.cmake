# What every target of the project is built with.
include( GNUInstallDirs )

set( CMAKE_CXX_STANDARD 20 )
set( CMAKE_CXX_STANDARD_REQUIRED ON )
set( CMAKE_CXX_EXTENSIONS OFF )
set( CMAKE_POSITION_INDEPENDENT_CODE ON )

find_program( ORVAN_CCACHE ccache )
if( ORVAN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
    set( CMAKE_CXX_COMPILER_LAUNCHER "${ORVAN_CCACHE}" )
endif()

# Assertions are part of the library's behaviour: no build type may define NDEBUG.
foreach( config RELEASE RELWITHDEBINFO MINSIZEREL )
    string( REPLACE "-DNDEBUG" "" CMAKE_CXX_FLAGS_${config} "${CMAKE_CXX_FLAGS_${config}}" )
    string( REPLACE "-DNDEBUG" "" CMAKE_C_FLAGS_${config} "${CMAKE_C_FLAGS_${config}}" )
endforeach()
set( CMAKE_CXX_FLAGS_RELEASE "-O2" )
set( CMAKE_CXX_FLAGS_DEBUG "-O0 -g" )

# Options of all project targets; link with: target_link_libraries( x PRIVATE orvan_options )
add_library( orvan_options INTERFACE )
target_include_directories( orvan_options INTERFACE "${CMAKE_SOURCE_DIR}" )
target_compile_definitions( orvan_options INTERFACE
    _FILE_OFFSET_BITS=64 _TIME_BITS=64 RAPIDJSON_HAS_STDSTRING=1 )
# Assertion messages name files relative to the root of the sources.
target_compile_options( orvan_options INTERFACE
    -Wall -Wextra -Wconversion -Wno-sign-conversion $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
    "-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=" )
if( ORVAN_WERROR )
    target_compile_options( orvan_options INTERFACE -Werror )
endif()
if( ORVAN_SANITIZE )
    # Instrumentation hides from the compiler what a mask leaves of a value.
    target_compile_options( orvan_options INTERFACE -Wno-conversion )
    add_compile_options( -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer )
    add_link_options( -fsanitize=address,undefined )
    if( CMAKE_CXX_COMPILER_ID STREQUAL "Clang" )
        add_compile_options( "-fsanitize-ignorelist=${CMAKE_SOURCE_DIR}/cmake/sanitize-ignore.txt" )
    endif()
endif()
if( ORVAN_FUZZ )
    add_compile_options( -fsanitize=fuzzer-no-link )
endif()
if( ORVAN_COVERAGE )
    add_compile_options( --coverage -fprofile-abs-path )
    add_link_options( --coverage )
endif()

find_package( Threads REQUIRED )
# Beside an amd64 libprotobuf-dev only the i386 runtime library is installed, under its soname.
find_library( Protobuf_LIBRARY_RELEASE NAMES protobuf libprotobuf.so.32 )
find_package( Protobuf 3.21 MODULE REQUIRED )
