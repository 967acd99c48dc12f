// RapidJSON's own regular expressions silently accept what they do not know. Without them it takes
// std::regex, but no patterns at all if RAPIDJSON_SCHEMA_USE_STDREGEX is defined as well.
#define RAPIDJSON_SCHEMA_USE_INTERNALREGEX 0

#include "orvan/json/Schema.h"

#include <map>
#include <stdexcept>

#include <fmt/core.h>
#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>

#include "orvan/SchemaTexts.h"

namespace orvan {

namespace {

std::string textOf( const rapidjson::Pointer &pointer ) {
    rapidjson::StringBuffer buffer;
    pointer.Stringify( buffer );
    return { buffer.GetString(), buffer.GetSize() };
}

} // namespace

struct Schema::Impl {
    rapidjson::Document text;
    struct Compiled {
        rapidjson::Document root; // the definition made a root, so that it can be started from
        std::unique_ptr<rapidjson::SchemaDocument> schema;
    };
    std::map<std::string, Compiled> definitions;

    Compiled &compiled( const std::string &definition );
    std::string missingKey( const rapidjson::Value &node, const rapidjson::Value &object ) const;
};

Schema::Schema( const char *text ) : impl_( std::make_unique<Impl>() ) {
    impl_->text.Parse( text );
    if ( impl_->text.HasParseError() || !impl_->text.HasMember( "definitions" ) ) {
        throw std::logic_error( "a built-in schema is malformed" );
    }
}

Schema::~Schema() = default;

Schema::Impl::Compiled &Schema::Impl::compiled( const std::string &definition ) {
    Compiled &entry = definitions[ definition ];
    if ( !entry.schema ) {
        const rapidjson::Value *node =
            rapidjson::Pointer( ( "/definitions/" + definition ).c_str() ).Get( text );
        if ( !node ) {
            throw std::logic_error( "no schema definition " + definition );
        }
        auto &allocator = entry.root.GetAllocator();
        entry.root.CopyFrom( *node, allocator );
        rapidjson::Value all( text[ "definitions" ], allocator );
        entry.root.AddMember( "definitions", all, allocator );
        entry.schema = std::make_unique<rapidjson::SchemaDocument>( entry.root );
    }
    return entry;
}

std::string Schema::Impl::missingKey( const rapidjson::Value &node,
                                      const rapidjson::Value &object ) const {
    for ( const auto &key : node[ "required" ].GetArray() ) {
        if ( !object.HasMember( key ) ) {
            return key.GetString();
        }
    }
    return {};
}

bool Schema::check( const std::string &definition, const JsonFile &file,
                    const rapidjson::Value &value, const std::string &pointer,
                    Problems &problems ) {
    Impl::Compiled &compiled = impl_->compiled( definition );
    rapidjson::SchemaValidator validator( *compiled.schema );
    if ( value.Accept( validator ) ) {
        return true;
    }
    const rapidjson::Pointer where = validator.GetInvalidDocumentPointer();
    const rapidjson::Value *found = where.Get( value );
    const rapidjson::Value *node = validator.GetInvalidSchemaPointer().Get( compiled.root );
    const std::string keyword = validator.GetInvalidSchemaKeyword();
    std::string expected = node && node->IsObject() && node->HasMember( "description" )
                               ? ( *node )[ "description" ].GetString()
                               : "what the schema's " + keyword + " asks for";
    if ( keyword == "required" && node && found ) {
        const std::string key = impl_->missingKey( *node, *found );
        const std::string property = "/properties/" + key;
        const rapidjson::Value *keyNode = rapidjson::Pointer( property.c_str() ).Get( *node );
        if ( keyNode && keyNode->HasMember( "$ref" ) ) {
            keyNode = rapidjson::Pointer( ( *keyNode )[ "$ref" ].GetString() ).Get( compiled.root );
        }
        expected = fmt::format( "the key \"{}\"", key );
        if ( keyNode && keyNode->HasMember( "description" ) ) {
            expected += fmt::format( ": {}", ( *keyNode )[ "description" ].GetString() );
        }
    }
    problems.error( file.name, pointer + textOf( where ), found, expected );
    return false;
}

Schema &topologySchema() {
    static Schema schema( topologySchemaText );
    return schema;
}

Schema &peripheralsSchema() {
    static Schema schema( peripheralsSchemaText );
    return schema;
}

} // namespace orvan
