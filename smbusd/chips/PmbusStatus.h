#pragma once

#include <cstdint>
#include <map>

namespace smbusd {

/**
 * The STATUS registers of a PMBus device: faults stay in them until they are cleared, and
 * STATUS_WORD tells in which of them there are any.
 */
class PmbusStatus {
  public:
    // Bits of STATUS_VOUT, STATUS_IOUT, STATUS_INPUT, STATUS_TEMPERATURE and STATUS_CML.
    static constexpr uint8_t voutUnderVoltage = 0x10;
    static constexpr uint8_t ioutOverCurrent = 0x80;
    static constexpr uint8_t vinUnderVoltage = 0x10;
    static constexpr uint8_t offForInsufficientInput = 0x08;
    static constexpr uint8_t overTemperature = 0x80;
    static constexpr uint8_t invalidCommand = 0x80;
    static constexpr uint8_t invalidData = 0x40;
    static constexpr uint8_t packetErrorCheckFailed = 0x20;
    /** Bits of STATUS_FANS_1_2, by fan. */
    static constexpr uint8_t fanFault[] = { 0x80, 0x40 };

    /** @param command  the code of a STATUS register, here and below */
    void add( uint8_t command, uint8_t faults ) { faults_[ command ] |= faults; }
    void set( uint8_t command, uint8_t faults ) { faults_[ command ] = faults; }
    void clear() { faults_.clear(); }
    uint8_t get( uint8_t command ) const;

    /**
     * STATUS_WORD, whose low byte is STATUS_BYTE. OFF and POWER_GOOD# are those of the moment.
     *
     * @param on    whether the output is switched on
     * @param good  whether it is within its limits
     */
    uint16_t word( bool on, bool good ) const;

  private:
    std::map<uint8_t, uint8_t> faults_;
};

} // namespace smbusd
