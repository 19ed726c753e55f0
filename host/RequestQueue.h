#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "host/Operation.h"

namespace host {

/// The requests that wait for the controller thread. Any thread puts in, one takes out.
class RequestQueue {
public:
    /// A request and everybody who is told of its outcome: those whose older value it replaced too.
    struct Item {
        Request request;
        std::vector<Completion> done;
    };

    /// Opens it for so many requests.
    void open(std::size_t capacity);

    /// Refuses what comes from now on, and hands out what waits.
    std::vector<Item> close();

    enum class Put {
        Taken,
        Full,
        Closed,
    };

    /// Puts a request in. Values of the same keys and scheme by the same client that still wait,
    /// with nothing but values behind them, are replaced in their place.
    /// @param done  left to the caller when the request is not taken
    Put put(Request& request, Completion& done);

    /// Waits for a request, or for a knock. @return none when the time is over or somebody knocked
    std::optional<Item> take(std::chrono::microseconds atMost);

    /// Ends take()'s waiting, now or the next time.
    void knock();

    std::size_t size() const;

private:
    bool replace(Request& request, Completion& done);

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<Item> m_items;
    std::size_t m_capacity = 0;
    bool m_knocked = false;
};

} // namespace host
