/** Descriptions on which the library would abort, throw or give up, and what is said of them. */
#include "orvan/board/DescriptionCheck.h"

#include <gmock/gmock.h>

#include "tests/orvan/board/BoardFiles.h"

namespace {

using testing::HasSubstr;

constexpr const char *topology = R"([
  {"type":"I2C","ham":"OrvanSmbus","id":0,"devices":[
    {"did":1,"components":[{"uid":50}]}, {"did":2},
    {"did":3,"label":"lines","driver":"MirePsuPCA9555","address":{"address":33}},
    {"did":4,"label":"pca","driver":"GenericPCA9555","address":{"address":34},
     "driverArgs":{"bank-io-0":0,"bank-io-1":0}},
    {"did":5,"label":"bare"},
    {"did":6,"label":"tray","driver":"MirelundPCA9555","address":{"address":35}},
    {"did":7,"label":"hamless","driver":"Dummy","address":{"address":36},"provideHam":0}]},
  {"type":"PLM","ham":"Smbus","id":0,"devices":[{"did":20}]},
  {"type":"LinuxFs","ham":"OrvanSmbus","devices":[{"did":21}]}])";

class DescriptionCheckTest : public testing::Test {
  protected:
    std::string load( const std::string &peripherals ) {
        return files_.load( topology, "[" + peripherals + "]" );
    }
    /** A peripheral on device 1. */
    static std::string entry( const std::string &kind, const std::string &driver,
                              const std::string &args, const std::string &more = {},
                              const std::string &did = "1", const std::string &name = "p" ) {
        return R"({"kind":")" + kind + R"(","name":")" + name + R"(","description":{"did":)" + did +
               R"(,"driver":")" + driver + R"(","address":{"address":32},"driverArgs":)" + args +
               more + "}}";
    }
    std::string check( const std::string &kind, const std::string &driver,
                       const std::string &args = "{}", const std::string &more = {},
                       const std::string &did = "1" ) {
        return load( entry( kind, driver, args, more, did ) );
    }
    /** The message for a wrong argument. */
    static std::string argument( const std::string &name, const std::string &rest ) {
        return "peripherals.json: at /0/description/driverArgs/" + name + ": " + rest + "\n";
    }
    test::BoardFiles files_;
};

TEST_F( DescriptionCheckTest, TheKeysOfEveryDescriptionAreChecked ) {
    EXPECT_THAT(
        load( R"({"kind":"gpio","name":"p","description":{"driver":"Dummy"}})" ),
        HasSubstr( "at /0/description: {\"driver\":\"Dummy\"}; expected the key \"did\"" ) );
    EXPECT_THAT( load( R"({"kind":"gpio","name":"p","description":{"did":1,"driver":"Dummy"}})" ),
                 HasSubstr( "expected the key \"address\"" ) );
    EXPECT_THAT( check( "gpio", "Dummy", "7" ),
                 HasSubstr( "driverArgs: 7; expected an object of the driver's arguments" ) );
    EXPECT_THAT( check( "gpio", "Dummy", "{}", R"(,"isMultiDevice":1)" ),
                 HasSubstr( "isMultiDevice: 1; expected true or false" ) );
    EXPECT_THAT( check( "gpio", "Dummy", "{}", R"(,"multiDeviceArgs":{"a":1})" ),
                 HasSubstr( "expected a device description as text" ) );
    EXPECT_THAT( check( "gpio", "Dummy", "{}", R"(,"uid":-1)" ),
                 HasSubstr( "uid: -1; expected a component id, an integer from 0 to 4294967294" ) );
}

TEST_F( DescriptionCheckTest, TheDriverMustExistAndServeTheKind ) {
    EXPECT_THAT( check( "gpio", "PCA9555" ),
                 HasSubstr( "at /0/description/driver: \"PCA9555\"; expected a driver of the "
                            "library: \"Dummy\", \"GpioDriver\", " ) );
    EXPECT_EQ( check( "fan", "GenericPCA9555" ),
               "peripherals.json: at /0/description/driver: \"GenericPCA9555\"; expected a driver "
               "that makes a fan: \"Pmbus\", \"MirelundPsoc\", \"EmersonPmbus\", \"Ipmi\"\n" );
}

TEST_F( DescriptionCheckTest, TheDeviceMustBeInTheTopologyOnABusThatIsServed ) {
    const std::string args = R"({"bank-io-0":0,"bank-io-1":0,"bank":0,"bit":0})";
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, "", "99" ),
               "peripherals.json: at /0/description/did: 99; expected the id of a device of the "
               "topology\n" );
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, R"(,"uid":51)" ),
               "peripherals.json: at /0/description/uid: 51; expected the id of a component of the "
               "topology\n" );
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, R"(,"uid":50)", "99" ), "" )
        << "a component leads to its device";
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, "", "20" ),
               "peripherals.json: at /0/description/did: 20; expected a device on a medium whose "
               "\"ham\" is \"OrvanSmbus\" or \"SimHam\": that of /1/devices/0 is \"Smbus\"\n" );
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, "", "21" ),
               "peripherals.json: at /0/description/did: 21; expected a device on a bus: "
               "/2/devices/0 is on a LinuxFs medium\n" );
    EXPECT_EQ( check( "gpio", "GenericPCA9555", args, R"(,"provideHam":0)" ),
               "peripherals.json: at /0/description/provideHam: 0; expected 1, since driver "
               "\"GenericPCA9555\" reaches its device\n" );
}

TEST_F( DescriptionCheckTest, ArgumentsAreChecked ) {
    EXPECT_EQ( check( "gpio", "GenericPCA9555", R"({"bank-io-0":0,"bank":0,"bit":0})" ),
               argument( "bank-io-1", "expected an integer from 0 to 255 (the key is missing)" ) );
    EXPECT_EQ(
        check( "gpio", "GenericPCA9555", R"({"bank-io-0":0,"bank-io-1":0,"bank":2,"bit":"8"})" ),
        argument( "bank", "2; expected an integer from 0 to 1" ) +
            argument( "bit", "\"8\"; expected an integer from 0 to 7" ) );
    EXPECT_EQ( check( "gpio", "GenericPCA9555",
                      R"({"bank-io-0":0,"bank-io-1":0,"bank":0,"bit":0,"cacheTimeout":300})" ),
               argument( "cacheTimeout", "300; expected an integer from 0 to 255" ) );
    EXPECT_EQ( check( "gpio", "Dummy", R"({"register":0,"bitpos":1.5})" ),
               argument( "bitpos", "1.5; expected an integer from 0 to 7" ) );
    EXPECT_EQ( check( "gpio", "Dummy", R"({"register":null,"bitpos":[]})" ),
               argument( "register", "null; expected an integer from 0 to 255" ) +
                   argument( "bitpos", "[]; expected an integer from 0 to 7" ) );
}

TEST_F( DescriptionCheckTest, WhatSharesADeviceSharesItsDriver ) {
    const std::string line =
        entry( "gpio", "GenericPCA9555", R"({"bank-io-0":0,"bank-io-1":0,"bank":0,"bit":0})" );
    EXPECT_EQ(
        load( line + "," + entry( "gpio", "Dummy", R"({"register":0,"bitpos":0})", "", "1", "q" ) ),
        "peripherals.json: at /1/description: driver \"Dummy\" for device 1; expected "
        "\"GenericPCA9555\", which peripherals.json at /0/description makes for this "
        "device\n" );
    EXPECT_EQ( load( entry( "gpio", "Dummy", R"({"register":0,"bitpos":0})" ) + "," +
                     entry( "gpio", "GpioDriver", R"({"register":0,"bitpos":0})", "", "1", "q" ) ),
               "" )
        << "two names of one driver";
}

TEST_F( DescriptionCheckTest, ATransceiverDriverMadeForLinesServesNothingElse ) {
    EXPECT_EQ( load( entry( "gpio", "MirelundSFP", R"({"type":"gpio","register":0,"bitpos":0})" ) +
                     "," +
                     entry( "xcvr", "MirelundSFP", R"({"type":"sfp","id":1})", "", "1", "q" ) ),
               "peripherals.json: at /1/description: an SFP cage; expected GPIO lines only, since "
               "peripherals.json at /0/description makes the device with \"type\" \"gpio\"\n" );
    EXPECT_EQ( load( entry( "xcvr", "MirelundSFP", R"({"type":"sfp","id":1})" ) + "," +
                     entry( "gpio", "MirelundSFP", R"({"type":"gpio","register":0,"bitpos":0})", "",
                            "1", "q" ) ),
               "" );
}

TEST_F( DescriptionCheckTest, LinesOfOtherDevicesAreFoundByLabel ) {
    const auto supply = [ this ]( const std::string &label ) {
        return check( "psu", "Pmbus",
                      R"({"gpioDevice":")" + label + R"(","powerOkReg":0,"powerOkBit":3})" );
    };
    EXPECT_EQ( supply( "lines" ), "" );
    for ( const char *label : { "none", "bare" } ) {
        EXPECT_EQ( supply( label ),
                   argument( "gpioDevice", std::string( "\"" ) + label +
                                               "\"; expected a device labelled \"" + label +
                                               "\" in the topology, declared inline with "
                                               "\"driver\" and \"address\"" ) );
    }
    EXPECT_EQ( supply( "pca" ),
               "topology.json: at /0/devices/3/driver: \"GenericPCA9555\"; expected a driver whose "
               "lines are given by register and bit, since "
               "/0/description/driverArgs/gpioDevice uses one\n" );
    EXPECT_EQ( supply( "tray" ),
               "topology.json: at /0/devices/5/driverArgs/bank-io-0: expected an integer from 0 to "
               "255 (the key is missing)\n"
               "topology.json: at /0/devices/5/driverArgs/bank-io-1: expected an integer from 0 to "
               "255 (the key is missing)\n" );
    EXPECT_EQ( supply( "hamless" ),
               "topology.json: at /0/devices/6/provideHam: 0; expected 1, since "
               "/0/description/driverArgs/gpioDevice uses the device\n" );
    EXPECT_EQ(
        check( "psu", "Pmbus", R"({"gpioDevice":"lines"})" ),
        argument( "powerOkReg", "expected an integer from 0 to 255 (the key is missing)" ) +
            argument( "powerOkBit", "expected an integer from 0 to 7 (the key is missing)" ) );
}

TEST_F( DescriptionCheckTest, AnEmersonSupplyNeedsItsExpander ) {
    EXPECT_EQ( check( "psu", "EmersonPmbus", R"({"psuId":1})" ),
               "peripherals.json: at /0/description/driver: \"EmersonPmbus\"; expected a device "
               "labelled \"PsuPCA\" in the topology, declared inline with \"driver\" and "
               "\"address\"\n" );
    const std::string devices = R"([{"type":"I2C","ham":"OrvanSmbus","id":0,"devices":[{"did":1},)"
                                R"({"did":2,"label":"PsuPCA","address":{"address":1},"driver":")";
    const std::string supply = "[" + entry( "psu", "EmersonPmbus", R"({"psuId":1})" ) + "]";
    EXPECT_EQ( files_.load( devices + R"(MirePsuPCA9555"}]}])", supply ), "" );
    EXPECT_EQ( files_.load( devices + R"("}]}])", supply ), "" ) << "the driver is filled in";
    EXPECT_EQ( files_.load( devices + R"(Dummy"}]}])", supply ),
               "topology.json: at /0/devices/1/driver: \"Dummy\"; expected \"MirePsuPCA9555\", "
               "since /0/description/driver uses this device\n" );
}

TEST_F( DescriptionCheckTest, SupplyModelsAreNumberedPairs ) {
    const auto slot = [ this ]( const std::string &models ) {
        return check( "slot", "PsuSlot",
                      R"({"psuId":1,"identificationType":"pmbus")" + models + "}" );
    };
    const std::string first = R"(,"model_1":"A","psuFdl_1":"a {serialNum}")";
    EXPECT_EQ( slot( first ), "" );
    EXPECT_EQ( slot( first + R"(,"model_2":"B")" ),
               argument( "psuFdl_2",
                         "expected a text with the placeholders {serialNum} (the key is "
                         "missing)" ) );
    EXPECT_EQ( slot( R"(,"psuFdl_1":"a {serialNum}")" ),
               argument( "model_1", "expected a text that is not empty (the key is missing)" ) );
    EXPECT_EQ( slot( R"(,"model_1":"A","psuFdl_1":"a")" ),
               argument( "psuFdl_1", "\"a\"; expected a text with the placeholders {serialNum}" ) );
}

TEST_F( DescriptionCheckTest, EachIdentificationHasItsKeys ) {
    const auto slot = [ this ]( const std::string &type ) {
        return check( "slot", "PsuSlot", R"({"psuId":1,"identificationType":")" + type + R"("})" );
    };
    for ( const char *type : { "pmbus", "wedge", "tlv" } ) {
        EXPECT_EQ( slot( type ), "" ) << type;
    }
    for ( const char *type : { "ipmi", "ipmitool" } ) {
        EXPECT_EQ( slot( type ),
                   argument( "ipmiId", "expected a text that is not empty (the key is missing)" ) )
            << type;
    }
    EXPECT_THAT( slot( "ipmitool_raw" ), HasSubstr( "driverArgs/ipmiRawModel" ) );
    EXPECT_THAT( slot( "ipmitool_raw" ), HasSubstr( "driverArgs/ipmiRawSerialNumber" ) );
    EXPECT_EQ( slot( "magic" ),
               argument( "identificationType",
                         "\"magic\"; expected one of \"pmbus\", \"ipmi\", \"ipmitool\", "
                         "\"ipmitool_raw\", \"wedge\", \"tlv\"" ) );
}

TEST_F( DescriptionCheckTest, TheBmcsToolHasLimits ) {
    const auto fan = [ this ]( const std::string &args ) {
        return check( "fan", "Ipmi", R"({"ipmiKey":"F","fanId":1,"maxRpm":9000,)" + args + "}" );
    };
    EXPECT_EQ( fan( R"("hamType":"ipmitool")" ), "" );
    EXPECT_EQ( fan( R"("hamType":"ipmitool","ipmiCommand":"ipmitool -H bmc","ipmiTimeout":1,)"
                    R"("ipmiCacheAge":0,"ipmiBackOff":0)" ),
               "" );
    EXPECT_EQ( fan( R"("hamType":"freeipmi")" ),
               argument( "hamType", R"("freeipmi"; expected one of "ipmitool")" ) );
    EXPECT_EQ( fan( R"("hamType":"ipmitool","ipmiTimeout":0)" ),
               argument( "ipmiTimeout", "0; expected an integer of at least 1" ) );
    EXPECT_EQ( fan( R"("hamType":"ipmitool","ipmiCacheAge":-1)" ),
               argument( "ipmiCacheAge", "-1; expected an integer of at least 0" ) );
}

TEST_F( DescriptionCheckTest, AMultiDevicesPartsAreCheckedWithTheSlotsArguments ) {
    const auto multi = [ this ]( const std::string &parts,
                                 const std::string &args = R"({"id":1})" ) {
        return check( "slot", "MultiSlot", args,
                      R"(,"isMultiDevice":true,"multiDeviceArgs":)" + parts );
    };
    const std::string part = R"({"did":2,"driver":"PsuSlot","address":{"address":80},)"
                             R"("driverArgs":{"identificationType":"pmbus"}})";
    const std::string good = multi( R"({"a":)" + part + "}", R"({"id":1,"psuId":1})" );
    EXPECT_EQ( good, "" );
    EXPECT_THAT( files_.board().peripherals.front().device,
                 HasSubstr( R"("a":"{\"did\":2,\"driver\":\"PsuSlot\")" ) )
        << "an object becomes the text that the library wants";
    EXPECT_EQ( multi( R"({"a":)" + part + "}" ),
               "peripherals.json at /0/description/multiDeviceArgs/a: at /driverArgs/psuId: "
               "expected an integer from 1 to 2 (the key is missing)\n" );
    EXPECT_EQ( multi( R"({"a":"{]"})" ),
               "peripherals.json at /0/description/multiDeviceArgs/a: line 1, column 2: Missing a "
               "name for object member; expected JSON text\n" );
    EXPECT_EQ( multi( R"({"a":{"did":2,"driver":"Dummy","address":{"address":1}}})" ),
               "peripherals.json at /0/description/multiDeviceArgs/a: at /driverArgs: expected an "
               "object, if need be empty: the slot's arguments go there\n" );
    EXPECT_EQ( check( "slot", "MultiSlot", R"({"id":1})" ),
               "peripherals.json: at /0/description/isMultiDevice: expected true for driver "
               "\"MultiSlot\"\n" );
    EXPECT_EQ( check( "slot", "MultiSlot", R"({"id":1})", R"(,"isMultiDevice":true)" ),
               "peripherals.json: at /0/description/multiDeviceArgs: expected an object of nested "
               "device descriptions (the key is missing)\n" );
    EXPECT_EQ( check( "gpio", "Dummy", R"({"register":0,"bitpos":0})",
                      R"(,"isMultiDevice":true,"multiDeviceArgs":{})" ),
               "peripherals.json: at /0/description/isMultiDevice: true; expected false for driver "
               "\"Dummy\"\n" );
}

TEST( ArgTexts, ValuesBecomeTheLibrarysTexts ) {
    rapidjson::Document document;
    document.Parse( R"({"driverArgs":{"a":3,"b":-1,"c":4000000000,"d":0.5,"e":true,"f":null,)"
                    R"("g":"x","h":5000000000,"i":false,"j":[1]}})" );
    const orvan::ArgTexts expected = {
        { "a", "3" }, { "b", "-1" }, { "c", "4000000000" }, { "d", "0.5" },   { "e", "true" },
        { "f", "" },  { "g", "x" },  { "h", "" },           { "i", "false" }, { "j", "" } };
    EXPECT_EQ( orvan::argTexts( document ), expected );
}

TEST( DescriptionCheck, ALabelEndsInTheAddress ) {
    EXPECT_EQ( orvan::DescriptionCheck::labelKey( "PSU1", 0x58 ), "PSU1<0x58>" );
    EXPECT_EQ( orvan::DescriptionCheck::labelKey( "x", 0x0a ), "x<0x0a>" );
}

} // namespace
