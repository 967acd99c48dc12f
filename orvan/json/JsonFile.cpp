#include "orvan/json/JsonFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unordered_set>

#include <fmt/core.h>
#include <rapidjson/error/en.h>

namespace orvan {

namespace {

std::string position( const std::string &text, std::size_t offset ) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>( std::min( offset, text.size() ) );
    const auto line = 1 + std::count( text.begin(), end, '\n' );
    const auto lineStart = std::find( std::make_reverse_iterator( end ), text.rend(), '\n' ).base();
    return fmt::format( "line {}, column {}", line, 1 + ( end - lineStart ) );
}

/** Readers differ in which of two equal keys they take, so neither may be what the author meant. */
void findRepeatedKeys( const JsonFile &file, const rapidjson::Value &value,
                       const std::string &pointer, Problems &problems ) {
    if ( value.IsArray() ) {
        for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
            findRepeatedKeys( file, value[ i ], pointerTo( pointer, i ), problems );
        }
    } else if ( value.IsObject() ) {
        std::unordered_set<std::string_view> seen;
        for ( const auto &member : value.GetObject() ) {
            const std::string key( member.name.GetString(), member.name.GetStringLength() );
            if ( !seen.insert( { member.name.GetString(), member.name.GetStringLength() } )
                      .second ) {
                problems.error( file.name, pointerTo( pointer, key ), &member.value,
                                "each key once in an object" );
            }
            findRepeatedKeys( file, member.value, pointerTo( pointer, key ), problems );
        }
    }
}

} // namespace

bool parseJsonText( const std::string &name, std::string text, JsonFile &file,
                    Problems &problems ) {
    file.name = name;
    file.text = std::move( text );
    // The library is handed a C string: what lies behind a NUL would be lost.
    if ( const auto nul = file.text.find( '\0' ); nul != std::string::npos ) {
        problems.errorText( name, "", position( file.text, nul ) + ": a NUL character",
                            "JSON text" );
        return false;
    }
    file.document.Parse( file.text.data(), file.text.size() );
    if ( file.document.HasParseError() ) {
        problems.errorText( name, "",
                            position( file.text, file.document.GetErrorOffset() ) + ": " +
                                rapidjson::GetParseError_En( file.document.GetParseError() ),
                            "JSON text" );
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
