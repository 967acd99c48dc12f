#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/GenericPCA9555.h"
#include "OrvanGeneric/Drivers/GenericSmbusMux.h"
#include "OrvanGeneric/Drivers/Ipmi.h"
#include "OrvanGeneric/Drivers/Mirelund/EmersonPmbus.h"
#include "OrvanGeneric/Drivers/Mirelund/MireLedCPLD.h"
#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPsoc.h"
#include "OrvanGeneric/Drivers/MultiSlot.h"
#include "OrvanGeneric/Drivers/Pmbus.h"
#include "OrvanGeneric/Drivers/PsuSlot.h"
#include "OrvanGeneric/Drivers/SmbusProxyDriver.h"

namespace Drivers {

std::map<std::string, DriverFactory> drivers = {
    { "Dummy", Dummy::create },
    { "GpioDriver", Dummy::create },
    { "SmbusProxyDriver", SmbusProxyDriver::create },
    { "GenericSmbusMux", GenericSmbusMux::create },
    { "PCA9548", GenericSmbusMux::create },
    { "Pmbus", Pmbus::create },
    { "PsuSlot", PsuSlot::create },
    { "MireQCPLD", MirelundQCPLD::create },
    { "MultiSlot", MultiSlot::create },
    { "GenericPCA9555", GenericPCA9555::create },
    { "MirelundPCA9555", MirelundPCA9555::create },
    { "MirelundPsoc", MirelundPsoc::create },
    { "MirePsuPCA9555", MirePsuPCA9555::create },
    { "EmersonPmbus", EmersonPmbus::create },
    { "MirelundSFP", MirelundSFP::create },
    { "MireSPCA9555", MireSQSFP::create },
    { "MireCLedCPLD", MireCLedCPLD::create },
    { "MireYQSFP", MireYQSFP::create },
    { "MireYCPLD", MirelundYCPLD::create },
    { "Ipmi", Ipmi::create },
};

} // namespace Drivers
