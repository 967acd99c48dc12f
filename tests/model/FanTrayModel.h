#pragma once

#include <optional>
#include <string>

#include "tests/model/BlinkModel.h"
#include "tests/model/ExpanderModel.h"

namespace model {

/** The expander of the fan trays: an LED and a slot for each of four fans. */
class FanTrayModel {
  public:
    struct SlotTexts {
        std::string fdl;
        std::string rpmF2B;
        std::string rpmB2F;
        std::string modelName;
    };

    FanTrayModel( World &world, const Path &path, const std::vector<uint8_t> &config,
                  const BlinkModel &blinking );

    void create() { world_->trace( 0, "Creating Mirelund PCA9555 Device" ); }
    int init();
    int setLight( int led, int setting );
    /** A tick of the blink timer. */
    void expire();
    void addSlot( const SlotTexts &texts ) { slots_.push_back( { texts, {} } ); }
    int getPresence( int slot, std::optional<std::string> *fdl );

    BlinkModel blink;

  private:
    struct Slot {
        SlotTexts texts;
        struct Cached {
            bool isBackToFront;
            std::string fdl;
        };
        std::optional<Cached> cached;
    };
    bool show( int led, bool phase );
    std::string build( const Slot &slot, int number, bool isBackToFront );

    World *world_;
    ExpanderModel chip_;
    std::vector<uint8_t> config_;
    std::vector<bool> isBlinking_ = std::vector<bool>( 4 );
    std::vector<Slot> slots_;
};

/** The name of an LED setting in traces; "Unknown" beyond the last one. */
const char *ledSettingName( int setting );

} // namespace model
