#pragma once

#include <string>
#include <vector>

#include "OrvanGeneric/Ham/IpmiHam.h"

/** An IPMI Ham whose caches a test fills, and which keeps what is asked of it. */
struct ScriptedIpmiHam final : Ham::IpmiHam {
    std::vector<std::string> refreshed;
    std::vector<std::string> airflowsAsked;

    std::string airflowId( const std::string &name ) override {
        airflowsAsked.push_back( name );
        return "scripted";
    }
    void refresh( const std::string &name ) override { refreshed.push_back( name ); }
};
