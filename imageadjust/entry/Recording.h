#pragma once

#include <vector>

#include "RecordWords.h"

namespace image_adjust {

/// While it lives, the calls that this thread makes of ia_ioctrl change nothing: a dry run. Other
/// threads' calls go on as ever. One at a time on a thread, on which it also ends.
///
/// - A set is written down and not sent. Its result is what the layer's own option 3 (the nearest
///   value that a set would take) says of each word: all words unchanged gives 0, another value
///   IA_ERR_RANGE, a failure of option 3 that failure; but a layer without option 3
///   (IA_ERR_ARGUMENT) is taken to accept. A command that only reads gives IA_ERR_ARGUMENT. Whether
///   the layer would be busy, or refuse one value beside another, is not known before it is tried.
/// - A get goes to the layer; where a set of the command, or of one that shares its record, was
///   written down with result 0, the words of the latest such set stand in the answer. The same
///   holds for the value in force within a range.
/// - What a set brings about elsewhere is not played: a step moves no position.
/// - Every other option goes to the layer. Observers see what reaches the layer, so no set.
class Recording {
public:
    struct Set {
        unsigned int cmd;
        Words words;
        int result; ///< what the caller was answered
    };

    Recording();
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    /// The sets so far, in their order.
    const std::vector<Set>& sets() const { return m_sets; }

    /// The calling thread's recording, or null.
    static Recording* current();

    /// For the entry: one call on this thread. What is to reach the layer goes through send.
    typedef int (*Send)(unsigned int cmd, unsigned int opt, void* data);
    int call(unsigned int cmd, unsigned int opt, void* data, Send send);

private:
    int set(unsigned int cmd, const void* data, Send send);
    const Set* latest(unsigned int cmd) const;

    std::vector<Set> m_sets;
    Recording* m_outer;
};

} // namespace image_adjust
