#pragma once

#include <string>
#include <vector>

#include "tests/model/World.h"

namespace model {

/** The way to a device: what every request to it carries, and the muxes on the way. */
struct Path {
    struct Mux {
        uint8_t address; ///< of the mux chip, 7 bits
        uint8_t select;  ///< what opens the channel
    };
    uint32_t word = 0; ///< high word of a request's address
    uint32_t pci = 0;
    int master = 0;
    std::vector<Mux> muxes; ///< root side first
};

/**
 * Batches of SMBus operations, and the one-operation helpers. The operations return 0, or 4 when no
 * reply came, or 6 when the reply is a failure or has not one entry for each request.
 */
class HamModel {
  public:
    HamModel( World &world, const Path &path ) : world_( &world ), path_( path ) {}

    void prepare();
    uint32_t addRead8( uint32_t reg ) { return add( path_.word, 0, reg, 1, false, {} ); }
    uint32_t addRead16( uint32_t reg ) { return add( path_.word, 0, reg, 2, false, {} ); }
    uint32_t addRead( uint32_t reg, uint32_t length );
    void addSendByte( uint8_t value, bool pec );
    void addWrite8( uint32_t reg, uint8_t value, bool pec );
    void addWrite16( uint32_t reg, uint16_t value, bool pec );
    int execute();
    uint8_t get8( uint32_t id ) const;
    uint16_t get16( uint32_t id ) const;
    const std::string &getBlock( uint32_t id ) const { return answers_.at( head() + id ); }

    int read8( uint32_t reg, uint8_t *value );
    int read16( uint32_t reg, uint16_t *value );
    int read( uint32_t reg, uint32_t length, std::string *value );
    int write8( uint32_t reg, uint8_t value, bool pec );
    int write16( uint32_t reg, uint16_t value, bool pec );

  private:
    uint32_t head() const { return static_cast<uint32_t>( path_.muxes.size() ); }
    uint32_t add( uint32_t word, int type, uint32_t reg, uint32_t length, bool pec,
                  const std::optional<std::string> &data );
    void addToMux( const Path::Mux &mux, uint8_t value );

    World *world_;
    Path path_;
    Transaction batch_;
    std::vector<std::string> answers_;
};

} // namespace model
