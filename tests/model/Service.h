#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace model {

/** One request of a transaction, as it is on the wire. */
struct Request {
    int type;
    uint32_t length;
    uint64_t address;
    uint32_t pci;
    int master;
    bool pec;
    std::optional<std::string> data;

    bool operator==( const Request & ) const = default;
};

struct Transaction {
    std::vector<Request> requests;
    std::optional<uint32_t> retries;

    bool operator==( const Transaction & ) const = default;
};

/** What comes of a transaction. */
struct Reply {
    int error = 0; ///< errno when no reply came, otherwise 0
    bool failed = false;
    std::optional<std::string> reason;
    std::vector<std::string> data; ///< one entry for each request, if all is well
};

/** How a transaction goes wrong. */
struct Fault {
    enum Kind {
        None,
        LostBefore, ///< the connection ends before anything took effect
        LostAfter,  ///< ... after everything took effect
        LostAt,     ///< ... after the first `at` requests took effect
        FailedAt,   ///< the service reports a failure of the request with number `at`
        FailedLate, ///< ... after all requests took effect
        Short,      ///< entries are missing at the reply's end
        Long,       ///< there are too many
        Kinds
    };
    Kind kind = None;
    uint32_t at = 0; ///< taken modulo the number of requests
    int error = 0;
    std::optional<std::string> reason;
};

/** A plain chip: byte registers, word registers and blocks live apart. */
struct Chip {
    std::array<uint8_t, 512> bytes{};
    std::array<uint16_t, 256> words{};
    std::map<uint32_t, std::string> blocks; ///< what a read of two bytes or more brings
    bool isMemory = false;                  ///< every read is of consecutive bytes
    uint32_t sent = 0;                      ///< the last byte that came without a register

    bool operator==( const Chip & ) const = default;
};

/** The SMBus service and the chips behind it, by their 7-bit address. */
class Service {
  public:
    std::map<uint8_t, Chip> chips;
    std::deque<Fault> faults;     ///< of the transactions to come; then all is well
    std::vector<Transaction> log; ///< what arrived

    Reply carry( const Transaction &transaction );

  private:
    std::string apply( const Request &request );
};

/** For reports: what is on the wire, in words. */
std::string inWords( const Transaction &transaction );
std::string inWords( const Fault &fault );

} // namespace model
