#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <pl/pl.h>

/*
 * Asking host records. What a reading gives must come with PL_STATUS_OK; the others take the status
 * that is expected.
 */

inline int rpmOf( pl_fan *fan ) {
    int value = -1;
    EXPECT_EQ( fan->ops->get_rpm( fan, &value ), PL_STATUS_OK );
    return value;
}

inline pl_status rpmStatus( pl_fan *fan ) {
    int value = -1;
    return fan->ops->get_rpm( fan, &value );
}

inline float celsiusOf( pl_temp_sensor *sensor ) {
    float value = -1;
    EXPECT_EQ( sensor->ops->get_temperature( sensor, &value ), PL_STATUS_OK );
    return value;
}

/** One of a supply's voltages, currents and powers. */
inline float measured( pl_psu *psu, pl_status ( *pl_psu_ops::*entry )( pl_psu *, float * ) ) {
    float value = -1;
    EXPECT_EQ( ( psu->ops->*entry )( psu, &value ), PL_STATUS_OK );
    return value;
}

inline int powerOkOf( pl_psu *psu ) {
    int ok = -1;
    EXPECT_EQ( psu->ops->get_power_ok( psu, &ok ), PL_STATUS_OK );
    return ok;
}

inline pl_status powerOkStatus( pl_psu *psu ) {
    int ok = -1;
    return psu->ops->get_power_ok( psu, &ok );
}

/** The slot's field data; "" when there is none. */
inline std::string presenceOf( pl_slot *slot, pl_status expected = PL_STATUS_OK ) {
    char *fdl = nullptr;
    EXPECT_EQ( slot->ops->get_presence( slot, &fdl ), expected );
    const std::string text = fdl ? fdl : "";
    std::free( fdl );
    return text;
}
