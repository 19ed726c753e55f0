#include "ISensorController_request.h"

#include <time.h>

#include "ISensorController_pause.h"

bool LayerWatch::pause() {
    // By a count of pauses, each of its whole length whatever signals come, a
    // second takes no clock.
    timespec rest = {0, 4000000};
    while (nanosleep(&rest, &rest) != 0)
        continue;
    const u32 nReturns = m_returns.load(std::memory_order_relaxed);
    if (nReturns != m_nReturns) {
        m_nReturns = nReturns;
        m_nPauses = 0;
    }
    return ++m_nPauses < 250;
}

/// Sets a flag in the step that finds others clear, so that two switches, or a switch and a
/// request, never run at once.
/// @return 0; otherwise which of the others are set, and nothing is changed
u32 ISensorController::claim(u32 p_nFlag, u32 p_nUnlessSet) {
    u32 nFlags = m_nFlags.load(std::memory_order_relaxed);
    do {
        const u32 nBlocking = nFlags & p_nUnlessSet;
        if (nBlocking != 0)
            return nBlocking;
    } while (!m_nFlags.compare_exchange_weak(nFlags, nFlags | p_nFlag));
    return 0;
}

/// Claims a switch for a host, which waits: by the device's clock for what keeps the controller
/// busy, and for a request, ahead of the next one.
void ISensorController::claimSwitchInTurn() {
    LayerWatch watch(m_nLayerReturns);
    u32 nUnless = busy_flags | request_flag;
    while (const u32 nBlocking = claim(switching_flag, nUnless)) {
        if ((nBlocking & busy_flags) != 0) {
            m_nFlags &= ~u32{switch_due};
            pauseHalfSecond();
            continue;
        }
        m_nFlags |= switch_due;
        if (!watch.pause())
            nUnless = busy_flags;
    }
    m_nFlags &= ~u32{switch_due};
}

ISensorController::Request::Request(ISensorController& controller, int line)
    : m_lock(controller.m_mutex, line), m_controller(controller) {
    LayerWatch watch(controller.m_nLayerReturns);
    u32 nUnless = switching_flag | switch_due;
    while (controller.claim(request_flag, nUnless) != 0) {
        if (!watch.pause())
            nUnless = 0;
    }
}

void ISensorController::waitWhileBusy() {
    while (isBusy())
        pauseHalfSecond();
}
