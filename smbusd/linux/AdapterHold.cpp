#include "smbusd/linux/AdapterHold.h"

#include <cerrno>

#include <fmt/format.h>

#include "smbusd/linux/AdapterFailure.h"

namespace smbusd {

namespace {

std::string deviceFile( unsigned number ) {
    return fmt::format( "/dev/i2c-{}", number );
}

std::string shown( unsigned number, const AdapterIdentity &identity ) {
    return fmt::format( "{} (\"{}\")", deviceFile( number ), identity.name );
}

/** The only one of the adapters that is meant; none if there is none or more than one. */
template <typename Predicate>
std::optional<unsigned> onlyOne( const std::vector<PresentAdapter> &adapters, Predicate meant ) {
    std::optional<unsigned> found;
    for ( const PresentAdapter &adapter : adapters ) {
        if ( meant( adapter.identity ) ) {
            if ( found ) {
                return std::nullopt;
            }
            found = adapter.number;
        }
    }
    return found;
}

} // namespace

std::string AdapterClaims::claim( const PresentAdapter &adapter, const std::string &bus ) {
    const std::lock_guard lock( mutex_ );
    const auto [ place, free ] = buses_.try_emplace( { adapter.number, adapter.identity }, bus );
    if ( !free ) {
        return place->second == bus ? std::string() : place->second;
    }
    std::erase_if( buses_, [ & ]( const auto &claimed ) {
        return claimed.second == bus && claimed.first != place->first;
    } );
    return {};
}

AdapterHold::AdapterHold( AdapterSpec spec, std::string bus,
                          std::shared_ptr<const KernelCalls> kernel,
                          std::shared_ptr<AdapterClaims> claims )
    : spec_( std::move( spec ) ), bus_( std::move( bus ) ), kernel_( std::move( kernel ) ),
      directory_( kernel_->sysfs ), claims_( std::move( claims ) ) {
    // What is there at the start is held from then on, even if it goes before its first use.
    const auto number = find();
    const bool there = number && directory_.identityOf( *number ).has_value();
    if ( there && !accept( *number ) ) {
        throw AdapterTaken( why_ );
    }
}

std::unique_ptr<OpenAdapter> AdapterHold::open() {
    const auto number = find();
    if ( !number ) {
        return nullptr;
    }
    auto adapter = openNumber( *number );
    // Only now is it certain which one it is: nothing that is open can lose its number.
    if ( adapter && !accept( *number ) ) {
        return nullptr;
    }
    return adapter;
}

std::string AdapterHold::describe() const {
    return identity_ ? shown( number_, *identity_ ) : spec_.describe();
}

std::nullopt_t AdapterHold::notFound( std::string why ) {
    why_ = std::move( why );
    return std::nullopt;
}

std::optional<unsigned> AdapterHold::find() {
    if ( identity_ ) {
        return findAgain();
    }
    switch ( spec_.by ) {
    case AdapterSpec::By::Number:
        return spec_.number;
    case AdapterSpec::By::Name:
        return findByName();
    case AdapterSpec::By::Path:
        break;
    }
    const auto adapter = openPath( spec_.text );
    return adapter ? kernel_->adapterNumber( adapter->fd() ) : std::nullopt;
}

std::optional<unsigned> AdapterHold::findByName() {
    const auto named = [ this ]( const AdapterIdentity &identity ) {
        return identity.name == spec_.text;
    };
    const auto adapters = directory_.all();
    if ( const auto found = onlyOne( adapters, named ) ) {
        return found;
    }
    std::string candidates;
    for ( const PresentAdapter &adapter : adapters ) {
        if ( named( adapter.identity ) ) {
            candidates += ( candidates.empty() ? "" : ", " ) + deviceFile( adapter.number );
        }
    }
    return notFound( candidates.empty()
                         ? fmt::format( "no adapter of the kernel is called \"{}\"", spec_.text )
                         : fmt::format( "several adapters of the kernel are called \"{}\": {}",
                                        spec_.text, candidates ) );
}

std::optional<unsigned> AdapterHold::findAgain() {
    const auto now = directory_.identityOf( number_ );
    if ( now == identity_ ) {
        return number_;
    }
    const auto adapters = directory_.all();
    auto found = onlyOne( adapters, [ this ]( const auto &other ) { return other == identity_; } );
    if ( !found ) {
        found = onlyOne( adapters,
                         [ this ]( const auto &other ) { return other.replugged( *identity_ ); } );
    }
    if ( !found && spec_.by == AdapterSpec::By::Name ) {
        found = findByName();
    }
    if ( found ) {
        return found;
    }
    gone_ = true;
    return notFound( fmt::format(
        "the adapter {} is gone{}", describe(),
        now ? fmt::format( "; {} is \"{}\" now", deviceFile( number_ ), now->name ) : "" ) );
}

std::unique_ptr<OpenAdapter> AdapterHold::openPath( const std::string &path ) {
    const int fd = kernel_->open( path.c_str() );
    if ( fd < 0 ) {
        why_ = fmt::format( "{}: {}", path, errorText( errno ) );
        return nullptr;
    }
    auto adapter = std::make_unique<OpenAdapter>( *kernel_, fd );
    if ( !kernel_->adapterNumber( fd ) ) {
        why_ = fmt::format( "{}: not the device file of an I2C adapter", path );
        return nullptr;
    }
    return adapter;
}

/** By the path that the configuration names as long as that leads there, else by the number. */
std::unique_ptr<OpenAdapter> AdapterHold::openNumber( unsigned number ) {
    if ( spec_.by == AdapterSpec::By::Path ) {
        auto adapter = openPath( spec_.text );
        if ( adapter && kernel_->adapterNumber( adapter->fd() ) == number ) {
            return adapter;
        }
    }
    const std::string path = deviceFile( number );
    auto adapter = openPath( path );
    if ( adapter && kernel_->adapterNumber( adapter->fd() ) != number ) {
        why_ = fmt::format( "{}: the device file of another adapter", path );
        return nullptr;
    }
    return adapter;
}

/** Whether the adapter of this number may be used: the same as ever, and no other bus's. */
bool AdapterHold::accept( unsigned number ) {
    const auto identity = directory_.identityOf( number );
    if ( !identity ) {
        why_ = fmt::format( "{}: the adapter is gone", deviceFile( number ) );
        return false;
    }
    const bool same = !identity_ || *identity == *identity_ || identity->replugged( *identity_ ) ||
                      ( spec_.by == AdapterSpec::By::Name && identity->name == spec_.text );
    if ( !same ) {
        why_ = fmt::format( "{} has just become another adapter", deviceFile( number ) );
        return false;
    }
    const std::string other = claims_->claim( { number, *identity }, bus_ );
    if ( !other.empty() ) {
        why_ = fmt::format( "{} is bus \"{}\" already", shown( number, *identity ), other );
        return false;
    }
    if ( identity_ && ( gone_ || number != number_ ) ) {
        notice_ = fmt::format( "the adapter {} is back as {}", describe(), deviceFile( number ) );
    }
    gone_ = false;
    number_ = number;
    identity_ = identity;
    return true;
}

} // namespace smbusd
