#pragma once

/// Runs a shell command on the device and waits for it.
///
/// Absolute paths in the command are device paths: an implementation whose device root is not "/"
/// puts the root in front of every word that starts with "/". May be called by any thread.
/// @param command  a command for /bin/sh
/// @param seconds  time limit in real seconds, at least 1 (less counts as 1); the command and what
/// it
///                 started are then killed. What is left in the background when the command ends is
///                 killed too
/// @return the command's exit status, 0 .. 255; -1 when it could not be run or was killed
int sy_system(char const* command, int seconds);

/// POSIX access() on a device path. Allocates nothing. Needed only where the device root is not "/":
/// in a process without it the library calls access() itself.
/// @param path  absolute device path
/// @param mode  F_OK, R_OK ... of <unistd.h>
/// @return 0 when the file may be accessed so, -1 otherwise
int sy_access(char const* path, int mode);
