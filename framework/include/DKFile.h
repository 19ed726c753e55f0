#pragma once

#include <cstdio>
#include <string>

namespace linux_framework {
class Replacement;
}

/// A file on the device, opened by its absolute device path.
///
/// What an implementation must provide (the camera's own, or framework/linux):
/// - An object that was never opened, or whose open failed, reads and writes 0 bytes, has length 0
///   and closes without effect. Callers rely on this: they go on after a failed open.
/// - Every call is made by the one thread that owns the object; different objects may be used by
///   different threads at once, also on the same file.
/// - The destructor closes.
///
/// What framework/linux adds:
/// - A write that returns all its bytes has brought the file so far to the disk, and put it in
///   place under its name, as a whole and in one step. Whoever wants the old content or the new
///   one, and nothing between, writes the file in one call.
/// - A write that returns fewer has changed nothing, and so do the further ones until close: the
///   file holds what it held before. One case remains in which it holds the new content: the folder
///   could not be brought to the disk, so that nobody can say what a power cut would leave.
/// - A file that already holds the same content is not written again.
/// - What may pass (an interruption, EIO, no memory, no descriptor left) is tried again beneath
///   open and read. Descriptors are never 0 to 2, and a few are kept in reserve.
/// - For writing, links are followed inside the device root, and not at all in a folder where
///   anyone may put one, such as /tmp: the file takes the link's place there.
class DKFile {
public:
    /// Open an existing file for reading.
    static constexpr unsigned char modeRead = 0x01;
    /// Open for writing; combined with modeTruncate.
    static constexpr unsigned char modeWrite = 0x02;
    /// With modeWrite: what the file held before is gone once the file is closed.
    static constexpr unsigned char modeTruncate = 0x40;

    DKFile();
    ~DKFile();
    DKFile(const DKFile&) = delete;
    DKFile& operator=(const DKFile&) = delete;

    /// Opens a regular file; a file that is already open is closed first.
    /// @param path  absolute device path
    /// @param mode  modeRead, or modeWrite | modeTruncate (the file is created when missing)
    /// @return non-zero on success, 0 when there is no such file, it is no regular file, or it may
    ///         not be opened that way
    int open(const char* path, unsigned char mode);

    /// @return the number of bytes read, 0 .. count; fewer than count at the end of the file, after
    ///         an error, or when the file is not open for reading
    int read(void* buffer, unsigned int count);

    /// @return the number of bytes written, 0 .. count; fewer than count after an error (disk
    ///         full), for null data, or when the file is not open for writing
    int write(const void* data, unsigned int count);

    /// @return the length of the open file in bytes; 0 when it is not open
    long long getLength() const;

    /// Ends the use of the file; what was written is then in place under its name. A file that was
    /// opened for writing, and that nothing was written to, is then empty.
    void close();

    /// @return the stream of a file that is open for reading, for ReadOneLine; owned by this object
    ///         and valid until close(); null when the file is not open for reading
    FILE* getFileHandle();

    /// Reads the next line of a stream that getFileHandle() gave.
    /// @return the line without its line end ("\n" or "\r\n"); empty at the end of the
    ///         file and for a null stream. A line of more than 1023 characters is cut
    ///         there; the rest is skipped.
    static std::string ReadOneLine(FILE* stream);

private:
    // Plain members, so that reading the small sign file before every report allocates nothing.
    int m_nFd = -1;            ///< while reading
    FILE* m_pStream = nullptr; ///< once made, it owns m_nFd and knows the position
    linux_framework::Replacement* m_pReplacement = nullptr; ///< while writing
};
