#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include <pl/types.h>

#include "OrvanGeneric/Ham/IpmiHam.h"
#include "OrvanGeneric/Ham/IpmitoolOutput.h"

namespace Ham {

/**
 * The sensors and FRUs of a BMC as the tool ipmitool prints them.
 *
 * One run of the tool lists all sensors and serves every look-up until the list is too old; names
 * that the list cuts short, or may have cut since they are exactly as long as it prints, are fetched
 * together in a second run, FRUs in a third once one was asked for. The tool takes a name longer than
 * the list prints only in the BMC's own letter case. When a run fails, the look-ups
 * report it without a run of their own until the back-off ends.
 *
 * Driver arguments, all optional:
 * - "ipmiCommand": the tool with its options, for example "ipmitool -I lanplus -H bmc -U me -f file";
 *   default "ipmitool". It goes through the shell as it is. A remote BMC ("-H") gets "-N 1" and
 *   "-R 1" unless the command has them: by itself the tool waits 20 s for one that is gone.
 * - "ipmiTimeout": seconds after which a run is killed, at least 1; default 5. The backstop only: a
 *   tool that is killed leaves its session open in the BMC.
 * - "ipmiCacheAge": milliseconds for which a list serves, counted from its arrival; default 1000.
 * - "ipmiBackOff": milliseconds without a run after one that failed; default 5000.
 *
 * Sensors named "AIRFLOWDIRECTION_..." read "backToFrontAirflow" where they are 1 or asserted and
 * "frontToBackAirflow" where not: no sensor of a BMC has such texts itself.
 */
class IpmitoolHam final : public IpmiHam {
  public:
    /** Runs a shell command; see Drivers::runCmd. */
    using Run =
        std::function<pl_status( const char *command, std::string &output, unsigned limit )>;

    /** @param run  runs the tool, with the defaults above until configure() */
    explicit IpmitoolHam( Run run );

    /** One that runs the tool through the shell. */
    static std::shared_ptr<IpmiHam> create();

    /** The model of the FRU of that name; empty where there is none. */
    std::string fanId( const std::string &name ) override;
    /** The same as fanId(). */
    std::string psuId( const std::string &name ) override;
    /** What the airflow sensor of that FRU id reads; empty where there is none. */
    std::string airflowId( const std::string &name ) override;
    /** Aborts on numbers out of range; what is no number throws as std::stoi does. */
    void configure( const Drivers::DriverArgs &args ) override;
    void refresh( const std::string &name ) override;

  private:
    /** Orders names of which one is the other when they differ in the case of ASCII letters only. */
    struct BeforeIgnoringCase {
        bool operator()( const std::string &a, const std::string &b ) const;
    };

    void refreshSensors();
    void refreshLongName( const std::string &name );
    void refreshFrus();
    /** Runs the tool; false when it was killed. What it printed says how it went otherwise. */
    bool run( const std::string &arguments, std::string &output ) const;
    /** How the tool must be asked for a name of the listed length: as the list spells it. */
    static std::string spelling( const std::string &name, const SensorList &list );
    /**
     * Adds the readings of @p names, which the list cuts or may have cut, to @p readings (by
     * upper-case name).
     * @return false when the tool was killed
     */
    bool fetchLongNames( const std::set<std::string> &names, const SensorList &list,
                         std::map<std::string, std::string> &readings ) const;
    /**
     * Adds the reading of a discrete sensor to @p found. The tool does not read these by name, it
     * only describes them, under the name that is cut.
     * @return false when the tool was killed
     */
    bool fetchDiscrete( const std::string &name, const SensorList &list,
                        std::map<std::string, std::string> &found ) const;
    void finish( bool good );

    Run run_;
    std::string command_;
    unsigned limit_;                                     ///< seconds
    int64_t cacheAge_;                                   ///< milliseconds
    int64_t backOff_;                                    ///< milliseconds
    SensorList list_;                                    ///< as last printed
    std::set<std::string, BeforeIgnoringCase> fruNames_; ///< of the units that may have a FRU
    std::set<std::string> longNames_;   ///< asked for and as long as the list prints or longer
    std::optional<int64_t> finishedAt_; ///< end of the last attempt, monotonic milliseconds
    std::optional<int64_t> frusAt_;     ///< when the FRUs were read
};

} // namespace Ham
