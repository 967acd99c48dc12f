/**
 * @file
 * The whole interface between the host daemon and a driver library.
 */
#ifndef PL_PL_H
#define PL_PL_H

#include <pl/fan.h>
#include <pl/gpio.h>
#include <pl/host.h>
#include <pl/led.h>
#include <pl/psu.h>
#include <pl/slot.h>
#include <pl/smbus.h>
#include <pl/system.h>
#include <pl/temp_sensor.h>
#include <pl/types.h>
#include <pl/xcvr.h>

#endif
