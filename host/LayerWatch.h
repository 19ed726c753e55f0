#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Entry.h"
#include "SensorTypes.h"

namespace host {

/// What reaches the layer: the last set of each command, for whom it was, and what came of it.
/// Written by the threads that call the layer, read by any.
class LayerWatch {
public:
    struct Set {
        std::uint64_t operation; ///< 0: the library's worker
        int result;
    };

    /// Begins to watch. @param worker  called after each set that belongs to no operation, on the
    /// thread that made it; it must be quick
    void begin(std::function<void()> worker);
    void end();

    /// The last set of a command; none since begin().
    std::optional<Set> last(u32 command) const;

    /// Its failure, if it failed and was made for that operation.
    std::optional<int> failure(u32 command, std::uint64_t operation) const;

    /// The number of sets by the worker so far.
    std::uint64_t workerSets() const { return m_workerSets.load(std::memory_order_acquire); }

private:
    mutable std::mutex m_lock;
    std::unordered_map<u32, Set> m_sets;
    std::atomic<std::uint64_t> m_workerSets{0};
    image_adjust::Observation m_observation;
};

} // namespace host
