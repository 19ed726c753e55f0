#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "host/Snapshot.h"

namespace host {

/// The light that the camera saw in the last hour of its clock. Any thread.
class LightHistory {
public:
    static constexpr long long kEvery = 10000000; ///< camera microseconds between two samples
    static constexpr std::size_t kMost = 360;

    struct Sample {
        CameraTime time;
        int light = 0; ///< 0 (dark) .. 100 (bright)
        std::optional<bool> night;
    };

    void clear();

    /// Takes a sample where the last one is long enough ago.
    /// @param at     camera microseconds, which only go forward
    /// @param light  below 0: not known, so that no sample is kept
    void see(long long at, int light, std::optional<bool> night);

    /// The samples, oldest first.
    std::vector<Sample> samples() const;

private:
    mutable std::mutex m_lock; // guards what follows
    std::deque<Sample> m_samples;
    std::optional<long long> m_last;
};

} // namespace host
