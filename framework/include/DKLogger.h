#pragma once

/// An appending log file with rotation.
///
/// One object is made for each entry and used by one thread; several objects may write to the same
/// file at once, from several threads, and an entry is never torn by another.
class DKLogger {
public:
    DKLogger();
    ~DKLogger();
    DKLogger(const DKLogger&) = delete;
    DKLogger& operator=(const DKLogger&) = delete;

    /// Names the log file. Nothing is created before the first entry.
    /// @param path   absolute device path of the log file
    /// @param size   size in bytes at which the file is rotated: FILE becomes FILE.1,
    ///               FILE.1 becomes FILE.2 ...
    /// @param files  number of files kept in all, the one in use included (at least 1)
    /// @return true when the path was taken; false for a null or over-long path
    bool init(char const* path, unsigned int size, unsigned int files);

    /// Appends one entry: tag, local time, text, each entry ending with exactly one line end.
    /// A log that cannot be written (missing directory, full disk) loses
    /// the entry and nothing else.
    /// @return true when the entry was written whole
    bool writeLog(char const* tag, char const* text);

private:
    struct State;
    State* m_pState;
};
