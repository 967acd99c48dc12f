#pragma once

#include <string>

#include "tests/model/World.h"

namespace model {

/** One fill of a field-data template: every "{key}" becomes its value. */
class FdlModel {
  public:
    FdlModel( World &world, const std::string &format ) : text( format ), world_( &world ) {}

    void set( const std::string &key, const std::string &value ) {
        world_->trace( 5, "FormatFdl::set( '%s', '%s' )", key.c_str(), value.c_str() );
        const std::string placeholder = "{" + key + "}";
        if ( text.find( placeholder ) == std::string::npos ) {
            throw WouldAbort{ "0 && \"Invalid key in FormatFdl::set\"" };
        }
        for ( size_t at; ( at = text.find( placeholder ) ) != std::string::npos; ) {
            text = text.substr( 0, at ) + value + text.substr( at + placeholder.size() );
        }
    }

    std::string text;

  private:
    World *world_;
};

} // namespace model
