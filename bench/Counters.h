#pragma once

#include <functional>
#include <map>
#include <string>

/// Counts the C library's heap from its construction on, of the whole process: what TinyXML, stdio
/// and the C++ runtime take is in it. One object at a time.
class HeapCount {
public:
    HeapCount();
    ~HeapCount();
    HeapCount(const HeapCount&) = delete;
    HeapCount& operator=(const HeapCount&) = delete;

    static unsigned long calls(); ///< blocks taken
    static long live();           ///< bytes taken and not given back
    static long peak();           ///< the most that live has been
};

/// Runs a piece of work in a child process, under the eyes of the kernel's tracer.
/// @return how often each system call was made, by number; empty when tracing is not allowed
std::map<long, unsigned long> systemCalls(const std::function<void()>& work);

/// The piece of work whose instructions callgrind counts; it looks for this very function.
extern "C" void measuredWork(const std::function<void()>& work);

/// Runs this program again under callgrind, with "--work NAME".
/// @return the instructions of measuredWork; 0 when that failed
double instructions(const std::string& name);

/// Times two pieces of work alternately, in short rounds, and keeps the shortest of each.
struct Times {
    double subject; ///< microseconds
    double floor;
};
Times interleaved(int rounds, const std::function<void()>& subject,
                  const std::function<void()>& floor);
