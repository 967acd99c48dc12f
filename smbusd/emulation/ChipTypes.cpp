#include "smbusd/emulation/ChipTypes.h"

#include "smbusd/emulation/chips/CommandDevice.h"
#include "smbusd/emulation/chips/Eeprom.h"
#include "smbusd/emulation/chips/LedCpld.h"
#include "smbusd/emulation/chips/Pca9548.h"
#include "smbusd/emulation/chips/Pca9555.h"
#include "smbusd/emulation/chips/Pca9698.h"
#include "smbusd/emulation/chips/PmbusSupply.h"
#include "smbusd/emulation/chips/Psoc.h"
#include "smbusd/emulation/chips/RegisterFile.h"
#include "smbusd/emulation/chips/XcvrCpld.h"

namespace smbusd {

namespace {

const std::vector<ChipType> &chipTypes() {
    static const std::vector<ChipType> types = {
        { "commands", { "pec", "commands" }, &CommandDevice::create },
        { "eeprom",
          { "addressing", "size", "pageSize", "writeCycleMs", "image", "data" },
          &Eeprom::create },
        { "led-cpld", {}, &LedCpld::create },
        { "pca9548", {}, &Pca9548::create },
        { "pca9555", { "registers" }, &Pca9555::create },
        { "pca9698", { "registers" }, &Pca9698::create },
        { "pmbus",
          { "pec", "manufacturer", "model", "serial", "vout", "voutMode", "ratedPower",
            "efficiency", "writeProtect", "fans", "spinUpMs", "temperatures" },
          &PmbusSupply::create },
        { "psoc", { "fans", "spinUpMs", "stallRpm", "duty", "temperatures" }, &Psoc::create },
        { "registers",
          { "width", "byteOrder", "count", "fill", "registers", "readOnly" },
          &RegisterFile::create },
        { "xcvr-cpld", { "cages" }, &XcvrCpld::create },
    };
    return types;
}

} // namespace

const ChipType *findChipType( std::string_view name ) {
    for ( const ChipType &type : chipTypes() ) {
        if ( type.name == name ) {
            return &type;
        }
    }
    return nullptr;
}

std::vector<std::string_view> chipTypeNames() {
    std::vector<std::string_view> names;
    for ( const ChipType &type : chipTypes() ) {
        names.push_back( type.name );
    }
    return names;
}

} // namespace smbusd
