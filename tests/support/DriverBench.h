#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Drivers/DriverTable.h"
#include "common/TemporaryFolder.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

/**
 * A driver as its registry key makes it, on a scripted Ham, and the things that the host adds of it. What can
 * be seen of them is kept: traces, bus operations, results, pauses and the commands that were run.
 *
 * The topology has two more devices: one with register bits labelled `linesLabel`, and the expander that the
 * Emerson supplies look up. A command that the library runs is not run: it answers with the sensor `word`.
 */
class DriverBench {
  public:
    using Args = std::map<std::string, std::string>;

    /** Label of the device with register bits. */
    static constexpr const char *linesLabel = "lines";
    /** A sensor that is there, and the model and serial number of the supply on the bus. */
    static constexpr const char *word = "text";

    DriverBench();
    ~DriverBench();

    /** Makes and initialises the driver; false when its factory makes none. */
    bool create( const std::string &driver, const Args &args );
    /** Adds a thing as the host would; false when the add function answers null. */
    bool add( Drivers::Table::Service service, const Args &args );
    /** Asks everything added for what it reads, and sets what it sets. */
    void use();
    /** The same again and again, so that every cache time-out and back-off up to 8 s shows. */
    void useOverTime();
    /** Everything seen so far, in order but by source. */
    std::vector<std::string> seen() const;

  private:
    /** Notes one result. */
    void keep( const std::string &what, int status, double value );
    /** Keeps how a record is used, unless it is null. @return whether there is one */
    bool keepUse( const void *record, std::function<void()> use );
    bool addGpio( const std::string &text );
    bool addLed( const std::string &text );
    bool addFan( const std::string &text );
    bool addTempSensor( const std::string &text );
    bool addSfpXcvr( const std::string &text );
    bool addQsfpXcvr( const std::string &text );
    bool addPsu( const std::string &text );
    bool addSlot( const std::string &text );
    bool addSmbusProxy( const std::string &text );
    bool addMux();
    void answerCommands( bool good );

    FakeTime time_;
    ScriptedHam ham_;
    ScriptedHam linesHam_;
    ScriptedHam expanderHam_;
    const common::TemporaryFolder folder_;
    std::string driver_;
    Component::DeviceBase *device_ = nullptr;
    std::vector<std::function<void()>> uses_;
    std::vector<std::string> results_;
    size_t firstTrace_ = 0;
};
