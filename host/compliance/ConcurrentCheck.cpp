#include "host/compliance/ConcurrentCheck.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace compliance {
namespace {

typedef std::chrono::steady_clock Clock;

constexpr int threads = 4;
constexpr std::chrono::milliseconds longest(100); // for layers whose calls take their time

/// What the threads have in common.
struct Contest {
    unsigned int cmd;
    const Words& low;
    const Words& high;
    int rounds;
    std::atomic<int> ready{0};
};

/// Calls again and again; begins when all threads do, as quick ones would else miss each other.
template <class Call>
Findings callManyTimes(Contest& contest, const Call& call) {
    Findings findings;
    Layer layer(contest.cmd, findings, std::chrono::milliseconds(0));
    ++contest.ready;
    while (contest.ready < threads) {
        std::this_thread::yield();
    }
    const Clock::time_point end = Clock::now() + longest;
    for (int round = 0; round < contest.rounds && Clock::now() < end; ++round) {
        call(layer, round, findings);
        std::this_thread::yield(); // else one may be through before the next has begun
    }
    return findings;
}

Findings setInTurn(Contest& contest) {
    return callManyTimes(contest, [&](Layer& layer, int round, Findings& findings) {
        const int result = layer.set(round % 2 == 0 ? contest.high : contest.low);
        if (result < 0) {
            findings.fail("set beside other threads gives " + std::to_string(result));
        }
    });
}

Findings readAllTheTime(Contest& contest) {
    return callManyTimes(contest, [&](Layer& layer, int /*round*/, Findings& findings) {
        Words seen;
        const int result = layer.get(seen);
        if (result < 0) {
            findings.fail("get beside other threads gives " + std::to_string(result));
        } else if (seen != contest.low && seen != contest.high && !findings.failed()) {
            findings.fail("reads " + textOf(seen) + " while threads set " + textOf(contest.low) +
                          " and " + textOf(contest.high));
        }
    });
}

} // namespace

void checkConcurrently(unsigned int cmd, const Words& low, const Words& high, int rounds,
                       Findings& findings) {
    Layer layer(cmd, findings, std::chrono::milliseconds(0));
    const int result = layer.set(low);
    if (result != 0) {
        findings.fail("set to " + textOf(low) + " gives " + std::to_string(result));
        return;
    }
    Contest contest{cmd, low, high, rounds};
    std::vector<std::future<Findings>> running;
    try {
        for (int i = 0; i < threads; ++i) {
            running.push_back(std::async(
                std::launch::async, i % 2 == 0 ? setInTurn : readAllTheTime, std::ref(contest)));
        }
    } catch (...) {
        contest.ready = threads; // those that run wait for the one that does not
        throw;
    }
    for (std::future<Findings>& thread : running) {
        findings.add(thread.get());
    }
}

} // namespace compliance
