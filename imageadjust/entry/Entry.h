#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "Layer.h"
#include "RecordWords.h"

/// The process's one ia_ioctrl: it hands each call to the layer that was chosen, and shows it to
/// those who asked. Everything here may be used by any thread at any time.
namespace image_adjust {

/// Chooses the layer that ia_ioctrl hands its calls to; null: none, and every call gives
/// IA_ERR_FAILED, as at process start. Calls under way end on the layer they began on, which lives
/// as long as they need it; this returns without waiting for them.
void setLayer(std::shared_ptr<Layer> layer);

/// The chosen layer, or null.
std::shared_ptr<Layer> currentLayer();

/// One call of ia_ioctrl that reached the layer.
struct Call {
    unsigned int cmd;
    unsigned int opt;
    Words in; ///< words handed over; none for reads
    Words
        out; ///< words after the call; none for reads that failed. Of a range: up to its last item
    int result;
    std::uint64_t operation; ///< whom it was made for, see OperationScope; 0: nobody said
};

/// Ends what observe began when it is destroyed: the observer is not running then and will not be
/// called again. Destroyed by the observer itself, it waits for the observer's other threads only.
class Observation {
public:
    Observation() = default;
    Observation(Observation&& other) noexcept;
    Observation& operator=(Observation&& other) noexcept;
    ~Observation();

    /// Ends it now.
    void end();
    void swap(Observation& other) noexcept { m_observer.swap(other.m_observer); }

    struct Observer;

private:
    friend Observation observe(std::function<void(const Call&)> observer);
    std::shared_ptr<Observer> m_observer;
};

/// Calls the observer after every call of ia_ioctrl, on the thread that made it, whatever came of
/// it. Observers hold no lock of ours: they may call the layer, and begin and end observations; of
/// the calls that an observer makes it is not told itself. They must not throw. Calls of several
/// threads are shown side by side, in no particular order; those of one thread in theirs.
[[nodiscard]] Observation observe(std::function<void(const Call&)> observer);

/// Says for whom this thread calls the layer while it lives: an operation's number, of the host's
/// own choice. Without one, or with 0, a call belongs to nobody who said so: the controller's
/// worker. An inner scope hides the outer one until it ends. Ends on the thread that began it.
class OperationScope {
public:
    explicit OperationScope(std::uint64_t operation);
    ~OperationScope();
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;

    /// The operation of the calling thread; 0 for none.
    static std::uint64_t current();

private:
    std::uint64_t m_outer;
};

} // namespace image_adjust
