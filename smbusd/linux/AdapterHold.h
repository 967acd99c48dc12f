#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "smbusd/bus/AdapterSpec.h"
#include "smbusd/linux/AdapterDirectory.h"
#include "smbusd/linux/KernelCalls.h"

namespace smbusd {

/** Which bus has which adapter, for all buses of a service: no two may have the same one. */
class AdapterClaims {
  public:
    /** Gives an adapter to a bus, which loses the one it had. @return the bus that has it already, or empty */
    std::string claim( const PresentAdapter &adapter, const std::string &bus );

  private:
    using Key = std::pair<unsigned, AdapterIdentity>;

    std::mutex mutex_;
    std::map<Key, std::string> buses_;
};

/** An adapter that is open, until this goes. */
class OpenAdapter {
  public:
    /**
     * @param calls  outlives this
     * @param fd     a descriptor that is this one's from now on
     */
    OpenAdapter( const KernelCalls &calls, int fd ) : calls_( calls ), fd_( fd ) {}
    ~OpenAdapter() { calls_.close( fd_ ); }
    OpenAdapter( const OpenAdapter & ) = delete;
    OpenAdapter &operator=( const OpenAdapter & ) = delete;

    /** Its descriptor. */
    int fd() const { return fd_; }

  private:
    const KernelCalls &calls_;
    int fd_;
};

/**
 * A bus's hold on its adapter. The device file is open only while something is done with it: an
 * open one would keep its driver from being unbound and its module from being removed. So each
 * opening makes sure that it is still the same adapter, by the kernel's name for it and its place,
 * wherever its number has gone; another one that has taken the number is never used.
 */
class AdapterHold {
  public:
    /**
     * Takes the adapter if it is there; it may also come later. Throws AdapterTaken when another bus
     * has it.
     * @param claims  those of all buses
     */
    AdapterHold( AdapterSpec spec, std::string bus, std::shared_ptr<const KernelCalls> kernel,
                 std::shared_ptr<AdapterClaims> claims );

    /** Opens it. @return null when it cannot be opened; why() says the reason. */
    std::unique_ptr<OpenAdapter> open();
    /** Why open() has brought nothing: the reason that the operation fails with. */
    const std::string &why() const { return why_; }

    /** The adapter of the last opening, for messages: /dev/i2c-1 ("SMBus I801 adapter at 0700"). */
    std::string describe() const;
    /** The adapter's number at the last opening. */
    unsigned number() const { return number_; }
    /** Whether devices that a driver of the kernel uses are used all the same. */
    bool force() const { return spec_.force; }
    /** What has happened to the adapter that the log should tell, once; or empty. */
    std::string takeNotice() { return std::exchange( notice_, {} ); }

  private:
    std::optional<unsigned> find();
    std::optional<unsigned> findByName();
    std::optional<unsigned> findAgain();
    std::unique_ptr<OpenAdapter> openPath( const std::string &path );
    std::unique_ptr<OpenAdapter> openNumber( unsigned number );
    bool accept( unsigned number );
    std::nullopt_t notFound( std::string why );

    AdapterSpec spec_;
    std::string bus_;
    std::shared_ptr<const KernelCalls> kernel_;
    AdapterDirectory directory_;
    std::shared_ptr<AdapterClaims> claims_;
    std::optional<AdapterIdentity> identity_; ///< once it was seen
    unsigned number_ = 0;
    bool gone_ = false;
    std::string why_;
    std::string notice_;
};

} // namespace smbusd
