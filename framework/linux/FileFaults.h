#pragma once

/// Scripted faults of the file system, for tests of what the camera makes of them. Counted are the
/// system calls that the framework makes for files: open (of folders too), read, write, access,
/// fdatasync, fsync of a folder, rename and unlink; a line that DKFile::ReadOneLine reads counts as
/// one read. Not counted are those that a kind of fault does not concern, and those of the log,
/// which is to tell of the others. A call that is tried again counts again. Any thread may call
/// these functions; without them a file operation costs one relaxed atomic load more than it would.
namespace file_faults {

enum class Kind {
    None,       ///< nothing fails: the calls are only counted
    Eio,        ///< the call fails with EIO
    Enospc,     ///< the call fails with ENOSPC; concerns calls that change something on the disk
    ShortWrite, ///< a write takes only half of its bytes; concerns writes
    Eintr,      ///< the call is interrupted once
    Death       ///< the process ends with _exit(137) before the call; concerns the same as Enospc
};

/// Counts anew from 0 and lets the n-th call from now on fail.
/// @param n           1 is the next call; 0 fails none
/// @param fromThenOn  all later calls fail too (Eintr: every second one)
void failNth(unsigned long n, Kind kind, bool fromThenOn);

/// Ends faults and counting.
void clear();

/// @return the calls counted since failNth; what they were stays readable after clear()
unsigned long operations();

} // namespace file_faults
