#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/ChipOptions.h"
#include "smbusd/emulation/chips/PmbusStatus.h"
#include "smbusd/emulation/chips/SmbusDevice.h"
#include "smbusd/emulation/chips/SupplyModel.h"

namespace smbusd {

/** What the controller of a supply is made with. */
struct PmbusIdentity {
    bool pec = true;                    ///< whether it knows packet error codes
    uint8_t voutMode = 0x17;            ///< linear with that exponent; or PmbusSupply::noVoutMode
    uint8_t writeProtect = 0;           ///< what WRITE_PROTECT holds after a reset
    std::string manufacturer = "ORVAN"; ///< MFR_ID; like the next two 1 to 32 characters
    std::string model;                  ///< MFR_MODEL
    std::string serial;                 ///< MFR_SERIAL
};

/**
 * A power supply that speaks PMBus 1.2.
 *
 * It delivers what the load draws while it has mains and OPERATION is on; readings follow from that
 * and come as LINEAR11, or as LINEAR16 for the output voltage. Fans follow FAN_COMMAND, a duty in
 * percent or revolutions per minute as FAN_CONFIG_1_2 says. Faults stay in the STATUS registers
 * until CLEAR_FAULTS, until they are written there as ones, or until the output is switched off and on
 * again, and come back immediately while their cause lasts; OFF and POWER_GOOD# are always those of
 * the moment. STATUS_BYTE and STATUS_WORD follow the other registers, whatever is written to them.
 * WRITE_PROTECT keeps out what it says, and takes no setting that is not defined.
 *
 * Inputs: "vin" volts of the mains, "iout" amperes that the load draws, "ambient" degrees, and the
 * lines "on", which switches it on, "output.fault", for an output that has collapsed, and
 * "fanN.blocked". Outputs: the lines "powergood", "powerbad" and "acgood", high when so.
 */
class PmbusSupply : public SmbusDevice {
  public:
    /** The VOUT_MODE of a supply that has none: its output voltage is LINEAR11, too. */
    static constexpr uint8_t noVoutMode = 0xFF;
    /** READ_TEMPERATURE_1 to 3. */
    static constexpr size_t mostTemperatures = 3;
    /** Whether WRITE_PROTECT has that setting: 0x80, 0x40, 0x20 or 0. */
    static bool isProtection( uint32_t value );

    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** Without fans and temperatures, and without reset values: reset() once all are added. */
    PmbusSupply( ChipContext context, const PmbusIdentity &identity, const SupplyRatings &ratings );

    /**
     * Adds a fan, of at most SupplyModel::mostFans.
     * @param maxRpm        at full duty
     * @param timeConstant  of a change of speed
     * @param inRpm    whether FAN_COMMAND counts in revolutions instead of percent, after a reset
     * @param command  what FAN_COMMAND holds after a reset
     */
    void addFan( double maxRpm, bool inRpm, uint16_t command, Duration timeConstant );
    /** What the controller controls. */
    SupplyModel &model() { return model_; }

    bool start( bool read ) override;
    void reset() override;
    /** The fans turn as they are driven. */
    void settle() override { model_.settleFans(); }

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    /**
     * A STATUS register gets those faults as if they had happened, until they are cleared; what is
     * measured takes that value until the next reset; names take theirs for good.
     */
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;
    std::vector<InputInfo> outputs() const override;

  protected:
    std::optional<CommandShape> shapeOf( uint8_t command ) const override;
    std::vector<uint8_t> readCommand( uint8_t command ) override;
    void writeCommand( uint8_t command, std::span<const uint8_t> data ) override;
    void refused( SmbusMisuse misuse ) override;

  private:
    /** A command: what it is called, how wide it is (a block: 0), and what it reads as. */
    struct Row {
        uint8_t command;
        const char *name;
        unsigned width;
        bool writable;
        uint32_t ( *read )( const PmbusSupply &supply ); ///< null: a text, or faults
        size_t fans = 0;                                 ///< that the supply must have for it
        size_t temperatures = 0;                         ///< as well
    };
    static const Row rows[];

    static const Row *findRow( uint32_t command );
    bool offers( const Row &row ) const;
    const Row &rowOf( uint32_t command ) const;
    uint32_t numberOf( const Row &row ) const;
    bool isProtected( uint8_t command ) const;
    /** Data that the device cannot take: logged, and a fault of communication. */
    void refuseData( const std::string &why );
    void store( uint8_t command, uint16_t value );
    /** Switching on, by line or OPERATION, forgets the faults from before. */
    void followSwitches();
    void driveFans();
    /** @return whether there is such an input; throws for a value that it cannot have */
    bool changeInput( SupplySurroundings &next, std::string_view input, double value ) const;

    /** Faults whose causes are there add to those that were. */
    void latchFaults();
    uint32_t statusWord() const;
    uint32_t voutWord() const;

    PmbusIdentity identity_;
    SupplyModel model_;
    uint8_t resetFanConfig_ = 0;
    std::vector<uint16_t> resetFanCommands_;

    bool switchedOn_ = false; ///< when the switches were looked at last
    uint8_t operation_ = 0;
    uint8_t writeProtect_ = 0;
    uint8_t fanConfig_ = 0;
    std::vector<uint16_t> fanCommands_;
    PmbusStatus status_;
    std::map<uint8_t, uint32_t> forced_; ///< readings that a person has set
    std::map<uint8_t, std::string> texts_;
};

} // namespace smbusd
