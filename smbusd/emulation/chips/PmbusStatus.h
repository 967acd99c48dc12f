#pragma once

#include <cstdint>
#include <map>

namespace smbusd {

/**
 * The STATUS registers of a PMBus device (Power System Management Protocol, part II, chapter 17).
 *
 * A fault stays until it is cleared, whatever became of its cause. OFF and POWER_GOOD# are states of
 * the moment and not kept here.
 */
class PmbusStatus {
  public:
    // Bits of the registers that have the summaries in STATUS_WORD.
    static constexpr uint8_t voutOverVoltage = 0x80;         ///< STATUS_VOUT
    static constexpr uint8_t voutUnderVoltage = 0x10;        ///< STATUS_VOUT
    static constexpr uint8_t ioutOverCurrent = 0x80;         ///< STATUS_IOUT
    static constexpr uint8_t vinUnderVoltage = 0x10;         ///< STATUS_INPUT
    static constexpr uint8_t offForInsufficientInput = 0x08; ///< STATUS_INPUT
    static constexpr uint8_t overTemperature = 0x80;         ///< STATUS_TEMPERATURE
    static constexpr uint8_t invalidCommand = 0x80;          ///< STATUS_CML
    static constexpr uint8_t invalidData = 0x40;             ///< STATUS_CML
    static constexpr uint8_t packetErrorCheckFailed = 0x20;  ///< STATUS_CML
    static constexpr uint8_t fanFault[] = { 0x80, 0x40 };    ///< STATUS_FANS_1_2, by fan

    /** Adds faults to those of the register @p command. */
    void add( uint8_t command, uint8_t faults ) { faults_[ command ] |= faults; }
    /** From now on the register holds these faults. */
    void set( uint8_t command, uint8_t faults ) { faults_[ command ] = faults; }
    /** Forgets all faults; those whose cause lasts have to be added again. */
    void clear() { faults_.clear(); }
    /** Forgets those faults of the register @p command. */
    void clear( uint8_t command, uint8_t faults );

    /** What the register @p command holds; 0 also for one that never had a fault. */
    uint8_t faults( uint8_t command ) const;
    /**
     * STATUS_WORD; its low byte is STATUS_BYTE.
     * @param off        whether the supply delivers nothing because it is off
     * @param powerGood  whether the output is as it should be
     */
    uint16_t word( bool off, bool powerGood ) const;

  private:
    std::map<uint8_t, uint8_t> faults_; ///< by the code of their register
};

} // namespace smbusd
