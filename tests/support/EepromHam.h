#pragma once

#include <algorithm>
#include <string>

#include "tests/support/ScriptedHam.h"

/** A ScriptedHam whose byte and block reads bring an EEPROM's bytes; after the image all is 0xFF. */
class EepromHam : public ScriptedHam {
  public:
    std::string image;
    /** Reads of several bytes end here, as from a device that breaks off; npos: nowhere. */
    size_t readableEnd = std::string::npos;

    ::Ham::ResponseId addRead8( unsigned reg ) override {
        bytes[ reg ] = static_cast<uint8_t>( part( reg, 1 )[ 0 ] );
        return ScriptedHam::addRead8( reg );
    }
    ::Ham::ResponseId addRead( unsigned reg, unsigned len, bool flag ) override {
        const size_t end = std::min<size_t>( reg + len, readableEnd );
        blocks[ reg ] = part( reg, end > reg ? end - reg : 0 );
        return ScriptedHam::addRead( reg, len, flag );
    }

  private:
    std::string part( size_t from, size_t length ) const {
        std::string bytes = from < image.size() ? image.substr( from, length ) : std::string();
        bytes.resize( length, '\xFF' );
        return bytes;
    }
};
