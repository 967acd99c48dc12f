#include "orvan/json/JsonFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace orvan {

namespace {

/** Readers differ in which of two equal keys they take, so neither may be what the author meant. */
void findRepeatedKeys( const JsonFile &file, const rapidjson::Value &value,
                       const std::string &pointer, Problems &problems ) {
    if ( value.IsArray() ) {
        for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
            findRepeatedKeys( file, value[ i ], common::pointerTo( pointer, i ), problems );
        }
    } else if ( value.IsObject() ) {
        std::unordered_set<std::string_view> seen;
        for ( const auto &member : value.GetObject() ) {
            const std::string key( member.name.GetString(), member.name.GetStringLength() );
            if ( !seen.insert( { member.name.GetString(), member.name.GetStringLength() } )
                      .second ) {
                problems.error( file.name, common::pointerTo( pointer, key ), &member.value,
                                "each key once in an object" );
            }
            findRepeatedKeys( file, member.value, common::pointerTo( pointer, key ), problems );
        }
    }
}

} // namespace

bool parseJsonText( const std::string &name, std::string text, JsonFile &file,
                    Problems &problems ) {
    file.name = name;
    file.text = std::move( text );
    // The library is handed a C string: what follows a NUL would be lost.
    common::JsonMistake mistake;
    mistake.document = name;
    if ( !common::parseJson( file.text, file.document, mistake ) ) {
        problems.error( std::move( mistake ) );
        return false;
    }
    const auto before = problems.all().size();
    findRepeatedKeys( file, file.document, "", problems );
    return problems.all().size() == before;
}

bool readJsonFile( const std::filesystem::path &path, JsonFile &file, Problems &problems ) {
    std::error_code isFolderError;
    std::ifstream stream( path, std::ios::binary );
    if ( !stream || std::filesystem::is_directory( path, isFolderError ) ) {
        const int reason = stream ? EISDIR : errno;
        problems.errorText( path.string(), "", std::strerror( reason ), "a readable file" );
        return false;
    }
    std::string text( ( std::istreambuf_iterator<char>( stream ) ), {} );
    return parseJsonText( path.string(), std::move( text ), file, problems );
}

} // namespace orvan
