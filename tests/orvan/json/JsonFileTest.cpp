#include "orvan/json/JsonFile.h"

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"

namespace {

using orvan::JsonFile;
using orvan::Problems;

std::string problemsOf( const std::string &text ) {
    JsonFile file;
    Problems problems;
    EXPECT_FALSE( orvan::parseJsonText( "f.json", text, file, problems ) );
    return problems.text();
}

TEST( JsonFile, BadSyntaxIsLocatedByLineAndColumn ) {
    EXPECT_EQ( problemsOf( "[\n  1,\n  ]" ),
               "f.json: line 3, column 3: Invalid value; expected JSON text\n" );
    EXPECT_EQ( problemsOf( "" ),
               "f.json: line 1, column 1: The document is empty; expected JSON text\n" );
    EXPECT_EQ( problemsOf( "[] x" ), "f.json: line 1, column 4: The document root must not be "
                                     "followed by other values; expected JSON text\n" );
}

TEST( JsonFile, ANulCharacterIsRefused ) {
    EXPECT_EQ( problemsOf( std::string( "[]\n\0", 4 ) ),
               "f.json: line 2, column 1: a NUL character; expected JSON text\n" );
}

TEST( JsonFile, AKeyGivenTwiceIsRefusedAtAnyDepth ) {
    EXPECT_EQ( problemsOf( R"([{"a":{"did":1,"did":2}}])" ),
               "f.json: at /0/a/did: 2; expected each key once in an object\n" );
}

TEST( JsonFile, AFileIsReadAsItIs ) {
    const common::TemporaryFolder folder;
    JsonFile file;
    Problems problems;
    ASSERT_TRUE( orvan::readJsonFile( folder.write( "a.json", " [ 1 ]\n" ), file, problems ) );
    EXPECT_EQ( file.text, " [ 1 ]\n" );
    EXPECT_EQ( file.document[ 0 ].GetInt(), 1 );
}

TEST( JsonFile, WhatCannotBeReadIsNamed ) {
    const common::TemporaryFolder folder;
    JsonFile file;
    Problems problems;
    EXPECT_FALSE( orvan::readJsonFile( folder.file( "no.json" ), file, problems ) );
    EXPECT_FALSE( orvan::readJsonFile( folder.path(), file, problems ) );
    EXPECT_EQ( problems.text(), folder.file( "no.json" ) +
                                    ": No such file or directory; expected a readable file\n" +
                                    folder.path() +
                                    ": Is a directory; expected a readable file\n" );
}

} // namespace
