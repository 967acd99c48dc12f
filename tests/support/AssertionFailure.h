#pragma once

#include <string>

#include <gmock/gmock.h>

/**
 * Matches the message by which a failed assertion ends the process, for EXPECT_DEATH: the source
 * file, named from the root, and the expression letter for letter.
 */
inline auto assertionFailure( const std::string &file, const std::string &expression ) {
    return testing::AllOf( testing::HasSubstr( file + ":" ),
                           testing::HasSubstr( "Assertion `" + expression + "' failed" ) );
}

/** As above for a value of the wrong kind, which the JSON library refuses. */
inline auto jsonTypeFailure() {
    return testing::ContainsRegex( "rapidjson/document\\.h:.*Assertion `.*' failed" );
}
