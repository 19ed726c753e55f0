#include "host/LightHistory.h"

namespace host {

void LightHistory::clear() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_samples.clear();
    m_last.reset();
}

void LightHistory::see(long long at, int light, std::optional<bool> night) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_last && at - *m_last < kEvery) {
        return;
    }
    m_last = at;
    if (light < 0) {
        return;
    }
    m_samples.push_back({cameraTime(), light, night});
    if (m_samples.size() > kMost) {
        m_samples.pop_front();
    }
}

std::vector<LightHistory::Sample> LightHistory::samples() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return {m_samples.begin(), m_samples.end()};
}

} // namespace host
