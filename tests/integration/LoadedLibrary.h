#pragma once

#include <dlfcn.h>
#include <stdexcept>
#include <string>

/**
 * The driver library as built, loaded the way a host does it. It stays loaded: what it makes lives
 * as long as the process.
 */
class LoadedLibrary {
  public:
    LoadedLibrary();

    /** The address of an exported symbol; throws when the library has none of that name. */
    void *symbol( const std::string &name ) const;

    /** An exported function, for example entry<decltype( pl_fan_add )>( "pl_fan_add" ). */
    template <class Function>
    Function *entry( const std::string &name ) const {
        return reinterpret_cast<Function *>( symbol( name ) );
    }

    /** Where it was loaded from. */
    static const char *path();

  private:
    void *handle_;
};

/** The functions that are exported with their C++ names. */
constexpr const char *orvanLibraryInitSymbol = "_Z16orvanLibraryInitPKcS0_i";
constexpr const char *plSockInitSymbol = "_Z10plSockInitPKci";
constexpr const char *insertDriverArgSymbol = "_ZN7Drivers15insertDriverArgEPKcPPcS1_S1_";
constexpr const char *systemPoweroffSymbol = "_Z18pl_system_poweroffP9pl_system";
constexpr const char *systemPowercycleSymbol = "_Z20pl_system_powercycleP9pl_system";
constexpr const char *systemReloadCauseSymbol = "_Z26pl_system_get_reload_causeP9pl_systemPcPlS1_";
