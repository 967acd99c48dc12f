#pragma once

#include <array>
#include <memory>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"
#include "smbusd/emulation/Segment.h"

namespace smbusd {

/**
 * PCA9548: eight-channel switch. Its only register is a mask of the open channels; any number of
 * them may be open. A new mask takes effect at the STOP after it. All are closed at power-on.
 */
class Pca9548 : public Chip, public Mux {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** With all channels closed and nothing on them. */
    explicit Pca9548( ChipContext context ) : Chip( std::move( context ) ) {}

    bool start( bool ) override { return true; }
    bool write( uint8_t byte ) override;
    uint8_t read() override { return written_; }
    void stop() override { open_ = written_; }
    void reset() override;

    /** The chip has no register numbers: its only register is number 0. */
    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;

    Mux *mux() override { return this; }
    unsigned channelCount() const override { return static_cast<unsigned>( channels_.size() ); }
    bool channelOpen( unsigned channel ) const override { return ( open_ >> channel & 1 ) != 0; }
    Segment &channel( unsigned channel ) override { return channels_[ channel ]; }

  private:
    uint8_t written_ = 0;
    uint8_t open_ = 0;
    std::array<Segment, 8> channels_;
};

} // namespace smbusd
