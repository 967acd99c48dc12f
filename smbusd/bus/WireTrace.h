#pragma once

#include <cstdint>
#include <string>

namespace smbusd {

/**
 * What went over the wire in one operation, in the notation of data sheets and bus analysers:
 * "S 58 W A 8B A Sr 58 R A 12 A 34 N P". Addresses are shown in 7 bits.
 */
class WireTrace {
  public:
    /** Forgets all: a new operation. */
    void clear() { text_.clear(); }
    /** START, or a repeated one, and the address. @param address  7 bits */
    void start( uint8_t address, bool read, bool repeated );
    /** A byte of data, whichever way it goes. */
    void byte( uint8_t value );
    /** The ninth bit of the byte or address before. */
    void acknowledge( bool acknowledged ) { text_ += acknowledged ? " A" : " N"; }
    /** STOP. */
    void stop() { text_ += " P"; }
    /** What the notation has no letter for: "(bus stuck)". */
    void note( const char *what );

    /** What has been on the wire so far. */
    const std::string &text() const { return text_; }

  private:
    void hex( uint8_t value );

    std::string text_;
};

} // namespace smbusd
