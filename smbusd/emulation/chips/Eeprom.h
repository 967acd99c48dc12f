#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"

namespace smbusd {

/** The parameters of a serial EEPROM's data sheet. */
struct EepromLayout {
    uint32_t size = 256;       ///< bytes
    unsigned addressBytes = 1; ///< that name a byte: 1, or 2 with the high byte first
    uint32_t pageSize = 8;     ///< bytes that one write can reach
    Duration writeCycle{};     ///< how long nothing is acknowledged after a write's STOP
};

/**
 * A serial EEPROM of the 24C family.
 *
 * What is written is stored at the STOP, within one page: after its last byte comes its first.
 * Reads go on through the whole memory and around its end, from the address written before or else
 * from where the last access ended. The content survives the loss of power, but not the service's
 * end. While the input "wp" is 1, writes are acknowledged and change nothing.
 */
class Eeprom : public Chip {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** @param content  the first bytes, at most the size; the others are 0xFF, as delivered */
    Eeprom( ChipContext context, const EepromLayout &layout, const std::string &content );

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;
    uint8_t read() override;
    void stop() override;
    void reset() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

  private:
    EepromLayout layout_;
    std::vector<uint8_t> memory_;
    uint32_t pointer_ = 0;
    uint32_t incoming_ = 0; ///< address bytes of the current write
    unsigned addressBytesSeen_ = 0;
    std::map<uint32_t, uint8_t> page_; ///< bytes to be stored at the STOP
    Duration busyUntil_{};
    bool writeProtected_ = false;
};

} // namespace smbusd
