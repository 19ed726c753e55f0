#pragma once

#include <string>

/// The second face of the Linux framework, for whoever hosts the camera: where the device's files
/// are, and what time it is there. The library never sees it.
namespace linux_framework {

/// Lets a directory stand for the device's "/". Every path that reaches the framework is taken
/// under it. Call it before the controller's init, while no other thread uses the framework.
/// @param directory  an existing directory; "/" (the default) or "" for the machine's own root
/// @return true when taken, made absolute; false when there is no such directory or its path is too
///         long (the longest root leaves 512 bytes of PATH_MAX)
bool setDeviceRoot(const std::string& directory);

/// The directory that stands for "/", without a slash at its end; empty for the machine's own root.
std::string deviceRoot();

/// Where a device path lies on this machine. Allocates nothing.
/// @param path    absolute device path; a relative one is taken from the device's "/"
/// @param buffer  receives the host path, NUL-terminated
/// @param size    bytes of buffer
/// @return true; false when path is null or empty, leads above the root by "..", or does not fit
bool hostPath(const char* path, char* buffer, unsigned long size);

/// Removes what died writers left in a folder: the temporary files that DKFile writes to, unless
/// one is being written now, by whatever process. Opening a file for writing does so by itself for
/// the first file in each folder.
/// @param folder  absolute device path of a directory
void removeLeftovers(const char* folder);

/// Replaces a file of this machine, not of the device: at every moment it holds the old text or all
/// of the new one. A link keeps pointing at the file. Any thread.
/// @param path  a path of this machine
/// @param mode  the permissions of a file that is new; an old one keeps its own
/// @return true; false, with errno set, when it may not be written or is no regular file (EINVAL)
bool replaceHostFile(const std::string& path, const std::string& text, unsigned int mode = 0644);

/// Sets the device's clock: it shows the given local time of today now, and runs faster than real
/// time by a factor. Pauses that are under way go on by the new clock. Any thread.
/// @param hour, minute, second  0 .. 23, 0 .. 59, 0 .. 59
/// @param speed  device seconds per real second, above 0, at most 1e6
/// @return true when taken; false for values out of range
bool setClock(int hour, int minute, int second, double speed);

/// The same, keeping the time that the clock shows.
bool setClockSpeed(double speed);

/// Back to the machine's own clock and time zone.
void useRealClock();

/// Microseconds of device time since an arbitrary start. It runs at the clock's speed, but setting
/// the clock moves only what is shown: never back, never ahead. Pauses are
/// measured by it. Any thread.
long long deviceMicroseconds();

} // namespace linux_framework
