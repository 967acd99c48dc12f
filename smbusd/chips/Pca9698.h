#pragma once

#include <array>
#include <memory>

#include "smbusd/ChipTypes.h"

namespace smbusd {

/**
 * PCA9698: forty I/O lines in five banks. Registers, one for each bank: input 0x00 to 0x04, output
 * 0x08, polarity inversion 0x10, configuration 0x18 (a set bit makes the line an input), interrupt
 * mask 0x20; and output structure 0x28, all-bank control 0x29 and mode 0x2A. The latter three and
 * the masks can be written and read back, but have no effect here.
 *
 * Bit 7 of the command switches auto-increment on: the register then moves on with each byte, from
 * the last bank to the first of the same kind. Without it every byte goes to the same register.
 *
 * The inputs "p00" to "p47" (bank, then bit) are what drives the lines from outside; where nothing
 * does, the board's pull-ups read 1.
 */
class Pca9698 : public Chip {
  public:
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    explicit Pca9698( ChipContext context );

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void reset() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

    /** What a writable register holds after power-on, instead of the data sheet's value. */
    void setResetValue( uint32_t reg, uint8_t value );

  private:
    static constexpr unsigned bankCount = 5;
    static constexpr unsigned registerCount = 0x2B; ///< with the gaps between the kinds

    static bool exists( unsigned reg );
    uint8_t registerValue( unsigned reg ) const;
    uint8_t next();

    std::array<uint8_t, registerCount> resetValues_{};
    std::array<uint8_t, registerCount> registers_{};
    std::array<uint8_t, bankCount> lines_;
    uint8_t command_ = 0;
    uint8_t register_ = 0;
    bool autoIncrement_ = false;
    bool commandSeen_ = false;
};

} // namespace smbusd
