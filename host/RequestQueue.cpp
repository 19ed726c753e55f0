#include "host/RequestQueue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace host {
namespace {

bool sameTarget(const SetValues& older, const SetValues& newer) {
    return older.scheme == newer.scheme && older.otherwise == newer.otherwise && !older.dryRun &&
           !newer.dryRun &&
           std::equal(older.values.begin(), older.values.end(), newer.values.begin(),
                      newer.values.end(),
                      [](const Pair& left, const Pair& right) { return left.key == right.key; });
}

} // namespace

void RequestQueue::open(std::size_t capacity) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_capacity = capacity;
    m_knocked = false;
}

std::vector<RequestQueue::Item> RequestQueue::close() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_capacity = 0;
    std::vector<Item> left(std::make_move_iterator(m_items.begin()),
                           std::make_move_iterator(m_items.end()));
    m_items.clear();
    m_knocked = true;
    m_changed.notify_all();
    return left;
}

bool RequestQueue::replace(Request& request, Completion& done) {
    const auto* newer = std::get_if<SetValues>(&request.operation);
    if (newer == nullptr) {
        return false;
    }
    for (auto item = m_items.rbegin(); item != m_items.rend(); ++item) {
        const auto* older = std::get_if<SetValues>(&item->request.operation);
        if (older == nullptr) {
            return false;
        }
        if (item->request.origin.client == request.origin.client &&
            item->request.origin.who == request.origin.who && sameTarget(*older, *newer)) {
            item->request = std::move(request);
            item->done.push_back(std::move(done));
            return true;
        }
        // A value of the same key that somebody else sent in between must not be overtaken.
        const bool shared =
            std::any_of(newer->values.begin(), newer->values.end(), [older](const Pair& wanted) {
                return std::any_of(older->values.begin(), older->values.end(),
                                   [&wanted](const Pair& pair) { return pair.key == wanted.key; });
            });
        if (shared) {
            return false;
        }
    }
    return false;
}

RequestQueue::Put RequestQueue::put(Request& request, Completion& done) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_capacity == 0) {
        return Put::Closed;
    }
    if (!replace(request, done)) {
        if (m_items.size() >= m_capacity) {
            return Put::Full;
        }
        m_items.push_back({std::move(request), {}});
        m_items.back().done.push_back(std::move(done));
    }
    m_changed.notify_all();
    return Put::Taken;
}

std::optional<RequestQueue::Item> RequestQueue::take(std::chrono::microseconds atMost) {
    std::unique_lock<std::mutex> guard(m_lock);
    m_changed.wait_for(guard, atMost, [this] { return m_knocked || !m_items.empty(); });
    m_knocked = false;
    if (m_items.empty()) {
        return std::nullopt;
    }
    std::optional<Item> first(std::move(m_items.front()));
    m_items.pop_front();
    return first;
}

void RequestQueue::knock() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_knocked = true;
    m_changed.notify_all();
}

std::size_t RequestQueue::size() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_items.size();
}

} // namespace host
