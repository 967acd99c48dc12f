#pragma once

#include "tests/model/BlinkModel.h"
#include "tests/model/ExpanderModel.h"

namespace model {

/** The expander of the supplies: their power lines and the bicolour LEDs. */
class PsuExpanderModel {
  public:
    struct Led {
        int index; ///< from 0
        uint8_t greenPin;
        uint8_t redPin;
        bool isBlinking = false;
    };

    PsuExpanderModel( World &world, const Path &path, const BlinkModel &blinking )
        : blink( blinking ), world_( &world ), chip_( world, path, 2, 2, { 0, 2, 6 } ) {}

    void create() { world_->trace( 0, "Creating Mire Psu PCA9555 Device" ); }
    int init();
    /** @param number  of the supply, 1 or 2 */
    int getPowerOk( int number, bool *ok ) { return chip_.readPin( number == 1 ? 1 : 4, ok ); }
    int getAcOk( int number, bool *ok ) { return chip_.readPin( number == 1 ? 6 : 7, ok ); }
    void addLed( const Led &led ) { leds_.push_back( led ); }
    /** @param n  of the LED, in the order added */
    int setLight( int n, int setting );
    /** A tick of the blink timer. */
    void expire();

    BlinkModel blink;

  private:
    void show( const Led &led, bool green, bool red );

    World *world_;
    ExpanderModel chip_;
    std::vector<Led> leds_;
};

} // namespace model
