#pragma once

#include <map>
#include <optional>
#include <string>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Slot.h"
#include "OrvanGeneric/Drivers/FieldDataCache.h"
#include "OrvanGeneric/Drivers/Helpers.h"

namespace Drivers {

/**
 * The bay of a power supply: whether one is in, and which.
 *
 * A slot takes "psuId" (1 or 2), "identificationType" (how the supply is identified, below), for
 * each known model N from 1 on "model_N" (its name) and "psuFdl_N" (its field data, with the
 * placeholder serialNum), and, all of them optional:
 * - "gpioDevice" (label of the device with the bay's lines), with it "presenceReg", "presenceBit",
 *   "powerOkReg" and "powerOkBit" (decimal). Only with both lines they are asked at all;
 * - the flags "presenceActiveLow", "powerOkActiveLow", "assertOnUnknownModelName" (an unknown model
 *   aborts), "allowInvalidCommonHeaderChecksum" (of type ipmi), "useApi" (of type ipmitool).
 *
 * Types of identification:
 * - pmbus: MFR_MODEL and MFR_SERIAL;
 * - ipmi: an IPMI FRU image in the supply's EEPROM; needs "ipmiId";
 * - ipmitool: a command that takes "ipmiId";
 * - ipmitool_raw: a command that takes "ipmiRawModel" and "ipmiRawSerialNumber";
 * - wedge: a bit that says whether a supply of the one known type is in;
 * - tlv: a TlvInfo EEPROM. An offset beyond 255 reaches the chip as its low byte. The length's two
 *   bytes count as signed characters: with a low byte of 0x80 or more the area ends 256 bytes early,
 *   and where it would end before it begins it is read on to 64 KiB, field by field (up to 22,000
 *   transactions for one query).
 *
 * A serial number or model ends at its first NUL, which EEPROMs fill fields with. A command has
 * neither the host's standard input nor its standard error; after one that was killed (10 s) none is
 * run for 5 s, and the supply counts as not present.
 */
class PsuSlot : public Component::HardwareDevice {
  public:
    /** One bay. */
    class Slot : public Component::LogicalDevice::Slot {
      public:
        /** A line of the device that "gpioDevice" names. */
        using Gpio = Component::LogicalDevice::Gpio;

        /**
         * @param device    its Ham carries the identification
         * @param psuIndex  0 for supply 1, 1 for supply 2
         */
        Slot( Component::HardwareDevice *device, uint8_t psuIndex,
              const std::map<std::string, std::string> &slotArgs );

        /** PL_STATUS_NOT_PRESENT also for a supply that is not identified, or not a known model. */
        pl_status getPresence( char **fdl ) override;

        /** Identifies the supply; PL_STATUS_NOT_PRESENT unless it has a serial number and a model. */
        pl_status readSerialAndModel_( std::string &serial, std::string &model );
        /** The reader for type pmbus; what could not be read is empty. */
        pl_status readSerialAndModelPmbus( std::string &serial, std::string &model );
        /** The reader for type ipmi; what could not be read is empty. */
        pl_status readSerialAndModelIpmi( std::string &serial, std::string &model );
        /** The reader for type ipmitool and ipmitool_raw; what could not be read is empty. */
        pl_status readSerialAndModelIpmitool( std::string &serial, std::string &model );
        /** The reader for type wedge; what could not be read is empty. */
        pl_status readSerialAndModelWedge( std::string &serial, std::string &model );
        /** The reader for type tlv; what could not be read is empty. */
        pl_status readSerialAndModelTlv( std::string &serial, std::string &model );

      private:
        enum IdentificationType { Pmbus, Ipmi, Ipmitool, IpmitoolRaw, Wedge, Tlv, Invalid };

        /** Whether that argument is there and "true". */
        bool slotFlag( const char *name ) const;
        /** That argument; empty where it is missing. */
        std::string slotText( const char *name ) const;
        /** Takes "model_1" and "psuFdl_1", then 2 and so on. */
        void readModels();
        /** A line of "gpioDevice"; null where it or one of the keys is missing. */
        Gpio *newLine( const char *regKey, const char *bitKey ) const;
        /** Takes the type, checks the keys that it needs, and builds its command. */
        void configureIdentification();
        /** The same for ipmi and ipmitool. */
        void configureIpmi();
        /** The same for ipmitool_raw. */
        void configureIpmitoolRaw();
        /** The state of both lines, for the caller to compare with true. */
        pl_status readLines( bool &present, bool &powerOk );
        /** Forgets the supply that was identified last. */
        void forgetFdl();
        /** Gives the host the text of an identified supply: the cached one, or @p format filled. */
        pl_status giveFdl( const std::string &serial, const std::string &model, FormatFdl &format,
                           char **fdl );

        Component::HardwareDevice *device_;
        uint8_t psuIndex_;
        std::map<std::string, std::string> slotArgs_;
        IdentificationType type_;
        Gpio *presenceGpio_; ///< null when not configured
        Gpio *powerOkGpio_;  ///< null when not configured
        bool presenceActiveLow_;
        bool powerOkActiveLow_;
        bool assertOnUnknownModelName_;
        bool allowInvalidCommonHeaderChecksum_;
        bool identifiable_ = true; ///< the keys that the type needs are there
        std::string command_;      ///< of the two ipmitool types
        /** When the command was last killed, monotonic milliseconds; none once it may run again. */
        std::optional<int64_t> commandTimedOutAt_;
        std::map<std::string, FormatFdl> models_;
        std::string cachedSerial_;
        std::string cachedModel_;
        FieldDataCache cachedFdl_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;
};

} // namespace Drivers
