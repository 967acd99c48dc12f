#pragma once

#include <pl/system.h>

/*
 * Power of the switch itself: single register bits of the board's fan and temperature controller,
 * the device labelled "PSoC". The host reaches these through the system record's callback table.
 *
 * Both power requests write their bit alone: the controller acts on it, and its power registers
 * must not be read. A topology without the controller aborts.
 */

/** Switches the board off. @return the status of the write */
pl_status pl_system_poweroff( pl_system *system );

/** Switches the board off and on again. @return the status of the write */
pl_status pl_system_powercycle( pl_system *system );

/** The board keeps no reload cause: PL_STATUS_UNSUPPORTED, and nothing is written. */
pl_status pl_system_get_reload_cause( pl_system *system, char *cause, long *time,
                                      char *description );
