#pragma once

/// Runs a shell command on the device and waits for it.
///
/// Absolute paths in the command are device paths: an implementation whose device root is not "/"
/// puts the root in front of every word that starts with "/". May be called by any thread.
///
/// What a dead process asked for must not happen later, when the next one has saved already.
/// framework/linux therefore carries out `rm -rf PATTERN` itself, for one absolute pattern without
/// anything special but "*"; no link leads this removal out of the device root. Any other command
/// is a shell's, follows links, and is killed with the thread that waits for it (what the shell has
/// started by then is not).
/// @param command  a command for /bin/sh
/// @param seconds  time limit in real seconds, at least 1 (less counts as 1); the command and what
///                 it started are then killed. What is left in the background when the command ends
///                 is killed too
/// @return the command's exit status, 0 .. 255 (127 without a shell); -1 when it could not be run,
///         or was ended by the time limit or a signal
int sy_system(char const* command, int seconds);

/// POSIX access() on a device path. Allocates nothing. Needed only where the device root is not
/// "/", or where passing errors are to be told from missing files: in a process without it the
/// library calls access() itself.
///
/// framework/linux tries again where the error may pass (EINTR, EIO, no memory). A file of which it
/// cannot find out whether it exists, counts as existing: callers make what is missing, and would
/// overwrite what only cannot be read at the moment.
/// @param path  absolute device path
/// @param mode  F_OK, R_OK ... of <unistd.h>
/// @return 0 when the file may be accessed so; -1 otherwise, for F_OK only when there is none
int sy_access(char const* path, int mode);
