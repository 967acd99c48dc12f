#pragma once

#include <map>
#include <optional>
#include <string>

#include "tests/model/HamModel.h"
#include "tests/model/PmbusModel.h"

namespace model {

/** A bay of a power supply, which is identified over PMBus, by a bit, or by a TLV EEPROM. */
class PsuSlotModel {
  public:
    enum class Type { Pmbus, Wedge, Tlv };
    struct ActiveLine {
        LineBit line;
        bool isActiveLow;
    };
    /** Presence and power-OK. */
    struct Lines {
        ActiveLine presence;
        ActiveLine powerOk;
    };

    PsuSlotModel( World &world, const Path &path, Type type, int index,
                  const std::optional<Lines> &lines, bool assertsOnUnknown,
                  const std::map<std::string, std::string> &templates )
        : world_( &world ), ham_( world, path ), type_( type ), index_( index ), lines_( lines ),
          assertsOnUnknown_( assertsOnUnknown ), templates_( templates ) {}

    int getPresence( std::optional<std::string> *fdl );

  private:
    struct Identity {
        std::string serial;
        std::string model;

        bool operator==( const Identity & ) const = default;
    };
    int identify( Identity *identity );
    int read( Identity *identity );
    int readPmbus( Identity *identity );
    int readWedge( Identity *identity );
    int readTlv( Identity *identity );
    /** A supply that has no template, or no power. */
    int unknown();
    int tell( const Identity &identity, std::optional<std::string> *fdl );

    struct Cached {
        Identity identity;
        std::string fdl;
    };

    World *world_;
    HamModel ham_;
    Type type_;
    int index_; ///< from 0
    std::optional<Lines> lines_;
    bool assertsOnUnknown_;
    std::map<std::string, std::string> templates_; ///< by model
    std::optional<Cached> cached_;
};

} // namespace model
