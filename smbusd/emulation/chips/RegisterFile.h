#pragma once

#include <memory>
#include <vector>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"

namespace smbusd {

/** How a register file is laid out. */
struct RegisterLayout {
    unsigned width = 1;     ///< bytes of a register: 1 or 2
    bool highFirst = false; ///< of a 2-byte register, the high byte travels first
    uint32_t count = 256;   ///< registers 0 to count - 1 exist
    uint32_t fill = 0;      ///< reset value of those that get no other
};

/**
 * A plain file of 8- or 16-bit registers, chosen by a one-byte register number.
 *
 * Each byte moves on within the register, and after its end to the next one; after the last
 * register comes the first. A read after a repeated start begins at the register that was named,
 * so a process call answers what the register holds after the write; a read without a register
 * goes on where the last access ended. A write to a read-only register is acknowledged, ignored
 * and logged; a register number that does not exist is not acknowledged.
 *
 * Chips that are register files with a life of their own derive from it and use the two hooks.
 */
class RegisterFile : public Chip {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** All registers hold the layout's fill value and can be written. */
    RegisterFile( ChipContext context, const RegisterLayout &layout );

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void stop() override;
    void reset() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;

    /** What a register holds from the next reset on. */
    void setResetValue( uint32_t reg, uint32_t value );
    /** From now on writes of the register over the bus are ignored. */
    void setReadOnly( uint32_t reg ) { registers_.at( reg ).readOnly = true; }

  protected:
    /** A register is about to be read, from the bus or otherwise: what it reads as. */
    virtual uint32_t valueOf( uint32_t reg ) const { return registers_[ reg ].value; }
    /** A register was written over the bus; its value is already stored. */
    virtual void written( uint32_t reg ) { ( void )reg; }

    /** What was written to a register, or its reset value, whatever it reads as. */
    uint32_t stored( uint32_t reg ) const { return registers_.at( reg ).value; }
    /** Changes what stored() gives, without written(). */
    void store( uint32_t reg, uint32_t value ) { registers_.at( reg ).value = value; }
    /** How the file is laid out. */
    const RegisterLayout &layout() const { return layout_; }

  private:
    struct Register {
        uint32_t value = 0;
        uint32_t resetValue = 0;
        bool readOnly = false;
    };

    uint32_t largest() const { return ( 1u << ( 8 * layout_.width ) ) - 1; }
    unsigned shiftOf( unsigned byteIndex ) const;
    void advance();

    RegisterLayout layout_;
    std::vector<Register> registers_;
    uint32_t command_ = 0;
    uint32_t pointer_ = 0;
    unsigned byteIndex_ = 0;
    uint32_t pending_ = 0; ///< bytes of a register of which not all have come
    uint32_t reading_ = 0; ///< taken at a register's first byte, so that a word is of one moment
    bool commandSeen_ = false;
    bool receiving_ = false;
};

} // namespace smbusd
