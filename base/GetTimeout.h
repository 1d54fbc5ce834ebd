/*
 * GetTimeout: one time-out setting of the provider, in seconds.
 *
 * Reads "\local\KeyDevices\" + name, then "\global\KeyDevices\" + name,
 * through the support library's settings store; the first successful read
 * wins, taken as an unsigned 32-bit number (a stored -1 gives 4294967295,
 * larger values keep their low 32 bits). When neither can be read the
 * result is defaultValue. Nothing is logged or raised.
 */
#ifndef XVTUI_BASE_GETTIMEOUT_H
#define XVTUI_BASE_GETTIMEOUT_H

#include <string>

unsigned int GetTimeout(const std::string& name, unsigned int defaultValue);

#endif
