#pragma once

#include <array>
#include <optional>
#include <span>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"

namespace smbusd {

/** Registers of a pin expander: one for each bank, or one for the whole chip. */
struct PinRegisters {
    std::string_view name; ///< of the register; a bank's has its number after it
    uint8_t first;         ///< of bank 0, or the only one
    uint8_t reset;         ///< what it holds after power-on
    bool perBank = true;   ///< whether every bank has one
};

/** What makes one expander differ from another. */
struct PinExpanderMap {
    /** Banks of eight lines each; a register's number less the first one of its kind is the bank. */
    unsigned banks;
    std::span<const PinRegisters> registers; ///< by rising number
    uint8_t input;         ///< the lines; like the next three, the register of bank 0
    uint8_t output;        ///< what output lines drive
    uint8_t polarity;      ///< a set bit inverts the input register's
    uint8_t configuration; ///< a set bit makes the line an input
};

/**
 * What expanders of I/O lines have in common: an input register shows the lines themselves, so that
 * an output line reads what it drives, each inverted where the polarity says so; a set bit in the
 * configuration makes a line an input. Registers without an effect on that hold what was written.
 *
 * The inputs "pBANKBIT" ("p00" is the first) are what drives the lines from outside; where nothing
 * does, the board's pull-ups read 1.
 */
class PinExpander : public Chip {
  public:
    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void reset() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    /** Setting an input register means driving the bank's lines so that it reads like this. */
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

  protected:
    /** With its reset values. @param map  outlives the chip */
    PinExpander( ChipContext context, const PinExpanderMap &map );

    /** Takes the option "registers": what writable registers hold after power-on. */
    void configure( const ChipOptions &options );

    /** The command byte of a write. @return the register that it means, or nothing: not acknowledged */
    virtual std::optional<uint8_t> decode( uint8_t command ) = 0;
    /** The register that the byte after the one for @p reg goes to, or comes from. */
    virtual uint8_t following( uint8_t reg ) const = 0;

    /** Whether the chip has that register. */
    bool exists( uint32_t reg ) const { return find( reg ) != nullptr; }

  private:
    static constexpr size_t mostRegisters = 0x40;
    static constexpr size_t mostBanks = 5;
    static constexpr unsigned bitsPerBank = 8;

    const PinRegisters *find( uint32_t reg ) const;
    bool isInput( uint32_t reg ) const { return reg - map_.input < map_.banks; }
    uint8_t registerValue( uint32_t reg ) const;
    uint8_t next();

    const PinExpanderMap &map_;
    std::array<uint8_t, mostRegisters> resetValues_{};
    std::array<uint8_t, mostRegisters> registers_{};
    std::array<uint8_t, mostBanks> lines_;
    uint8_t command_ = 0; ///< the register that the last command named
    uint8_t register_ = 0;
    bool commandSeen_ = false;
};

} // namespace smbusd
