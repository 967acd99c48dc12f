#pragma once

#include <array>
#include <memory>

#include "smbusd/ChipTypes.h"

namespace smbusd {

/**
 * PCA9555: sixteen I/O lines in two ports. Registers, each a pair: input 0/1, output 2/3, polarity
 * inversion 4/5, configuration 6/7 (a set bit makes the line an input). Within a pair the register
 * alternates with each byte. The inputs "p00" to "p07" and "p10" to "p17" are what drives the
 * lines from outside; where nothing does, the pull-ups read 1.
 */
class Pca9555 : public Chip {
  public:
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    explicit Pca9555( ChipContext context ) : Chip( std::move( context ) ) { reset(); }

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void stop() override { commandSeen_ = false; }
    void reset() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

    /** What a writable register holds after power-on, instead of the data sheet's value. */
    void setResetValue( uint32_t reg, uint8_t value );

  private:
    static constexpr size_t registerCount = 8;

    uint8_t registerValue( unsigned reg ) const;
    void advance() { pointer_ ^= 1; }

    std::array<uint8_t, registerCount> resetValues_ = { 0, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF };
    std::array<uint8_t, registerCount> registers_{};
    std::array<uint8_t, 2> lines_ = { 0xFF, 0xFF };
    uint8_t command_ = 0;
    uint8_t pointer_ = 0;
    bool commandSeen_ = false;
};

} // namespace smbusd
