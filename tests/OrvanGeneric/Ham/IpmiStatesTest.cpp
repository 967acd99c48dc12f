#include "OrvanGeneric/Ham/IpmiStates.h"

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Ham::allStatesGood;
using Ham::IpmiState;
using Ham::IpmiStateClass;
using Ham::ipmiStates;

TEST( IpmiStates, EachReadsAsItIsJudgedWhereverItStands ) {
    for ( const IpmiState &state : ipmiStates() ) {
        const std::string text( state.text );
        EXPECT_EQ( allStatesGood( text ), state.good ) << text;
        EXPECT_EQ( allStatesGood( "Device Present, " + text ), state.good ) << text;
        EXPECT_EQ( allStatesGood( text + ", Device Present" ), state.good ) << text;
        EXPECT_FALSE( allStatesGood( text + ", Failure detected" ) ) << text;
    }
}

TEST( IpmiStates, ATextJudgesAlikeInEveryRow ) {
    std::map<std::string_view, bool> judged;
    for ( const IpmiState &state : ipmiStates() ) {
        EXPECT_EQ( judged.emplace( state.text, state.good ).first->second, state.good )
            << state.text;
    }
}

TEST( IpmiStates, EveryBitStandsOnce ) {
    std::set<std::pair<std::pair<IpmiStateClass, int>, int>> bits;
    for ( const IpmiState &state : ipmiStates() ) {
        EXPECT_TRUE( bits.insert( { { state.stateClass, state.code }, state.offset } ).second )
            << state.text;
        EXPECT_LE( state.offset, 14 ) << state.text;
    }
}

/** The generic types 01h to 0Ch and the sensor types with states, as the standard numbers them. */
TEST( IpmiStates, EveryTypeIsThere ) {
    std::set<int> generic;
    std::set<int> sensor;
    for ( const IpmiState &state : ipmiStates() ) {
        ( state.stateClass == IpmiStateClass::Generic ? generic : sensor ).insert( state.code );
    }
    EXPECT_EQ( generic, ( std::set<int>{ 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12 } ) );
    EXPECT_EQ( sensor,
               ( std::set<int>{ 0x05, 0x06, 0x07, 0x08, 0x09, 0x0C, 0x0D, 0x0F, 0x10, 0x11, 0x12,
                                0x13, 0x14, 0x19, 0x1B, 0x1D, 0x1E, 0x1F, 0x20, 0x21, 0x22, 0x23,
                                0x24, 0x25, 0x27, 0x28, 0x29, 0x2B, 0x2C, 0xF0, 0xF1, 0xF2 } ) );
}

TEST( IpmiStates, AreWordedAsTheToolWordsThem ) {
    std::ifstream file( "/usr/bin/ipmitool", std::ios::binary );
    ASSERT_TRUE( file ) << "ipmitool is not installed";
    const std::string tool( std::istreambuf_iterator<char>( file ), {} );
    for ( const IpmiState &state : ipmiStates() ) {
        // Texts end with a zero byte in the program.
        const std::string text = std::string( state.text ) + '\0';
        EXPECT_NE( tool.find( text ), std::string::npos ) << state.text;
    }
}

TEST( IpmiStates, WhatNobodyKnowsAndNothingAtAllAreNotGood ) {
    for ( const char *states : { "", " ", ", ,", "Fine", "Device Present, Fine", "device present",
                                 "Device Presents", "Device Presen", "Device Present: but" } ) {
        EXPECT_FALSE( allStatesGood( states ) ) << states;
    }
}

TEST( IpmiStates, ATextWithACommaIsNotTakenForItsBeginning ) {
    EXPECT_FALSE( allStatesGood( "AC out-of-range, but present" ) );
    EXPECT_TRUE( allStatesGood( "IPMB-A enabled, IPMB-B enabled" ) );
    EXPECT_FALSE( allStatesGood( "IPMB-A enabled, IPMB-B disabled" ) );
    EXPECT_TRUE( allStatesGood( "Presence detected,Presence Detected, Present" ) );
}

TEST( IpmiStates, FaultsAndLossesAreBadAndTheirAbsenceGood ) {
    for ( const char *bad :
          { "Limit Exceeded", "Predictive Failure Asserted",
            "Transition to Critical from less severe", "Redundancy Lost", "Transition to Off Line",
            "Power off/down", "Fault Status", "IERR", "Uncorrectable ECC", "State Deasserted",
            "Device Absent", "Disabled" } ) {
        EXPECT_FALSE( allStatesGood( bad ) ) << bad;
    }
    for ( const char *good : { "Limit Not Exceeded", "Predictive Failure Deasserted",
                               "Transition to OK", "Fully Redundant", "Transition to On Line",
                               "State Asserted", "Device Present", "S0/G0: working" } ) {
        EXPECT_TRUE( allStatesGood( good ) ) << good;
    }
}

} // namespace
