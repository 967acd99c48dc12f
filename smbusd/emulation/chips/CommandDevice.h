#pragma once

#include <map>
#include <memory>
#include <vector>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"
#include "smbusd/emulation/chips/SmbusDevice.h"

namespace smbusd {

/**
 * A device whose commands are data: each keeps what is written to it and reads as that. A send
 * command counts how often it came. Enough for a device of which only some identification and a
 * few readings matter.
 */
class CommandDevice : public SmbusDevice {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    using SmbusDevice::SmbusDevice;

    /**
     * Adds a command, or replaces it.
     * @param value  what it holds after a reset: low byte first, or a block's bytes
     */
    void addCommand( uint8_t command, const CommandShape &shape, std::vector<uint8_t> value );

    void reset() override;

    /** A send command is a register that holds how often it came. */
    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;

  protected:
    std::optional<CommandShape> shapeOf( uint8_t command ) const override;
    std::vector<uint8_t> readCommand( uint8_t command ) override;
    void writeCommand( uint8_t code, std::span<const uint8_t> data ) override;

  private:
    struct Command {
        CommandShape shape;
        std::vector<uint8_t> value;
        std::vector<uint8_t> resetValue;
        uint32_t sent = 0;
    };

    const Command &commandFor( uint32_t reg ) const;

    std::map<uint8_t, Command> commands_;
};

} // namespace smbusd
