#include "host/LayerWatch.h"

#include <utility>

#include "ImageAdjust.h"

namespace host {

void LayerWatch::begin(std::function<void()> worker) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sets.clear();
    }
    m_observation =
        image_adjust::observe([this, worker = std::move(worker)](const image_adjust::Call& call) {
            if (call.opt != IA_CMD_OPT_SET) {
                return;
            }
            {
                const std::lock_guard<std::mutex> guard(m_lock);
                m_sets[call.cmd] = Set{call.operation, call.result};
            }
            if (call.operation == 0) {
                m_workerSets.fetch_add(1, std::memory_order_acq_rel);
                worker();
            }
        });
}

void LayerWatch::end() {
    m_observation.end();
}

std::optional<LayerWatch::Set> LayerWatch::last(u32 command) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_sets.find(command);
    return found == m_sets.end() ? std::nullopt : std::optional<Set>(found->second);
}

std::optional<int> LayerWatch::failure(u32 command, std::uint64_t operation) const {
    const std::optional<Set> set = last(command);
    return set && set->operation == operation && set->result != 0 ? std::optional<int>(set->result)
                                                                  : std::nullopt;
}

} // namespace host
