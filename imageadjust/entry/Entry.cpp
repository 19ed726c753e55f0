#include "Entry.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "LibraryLayer.h"
#include "Recording.h"

namespace image_adjust {

struct Observation::Observer {
    explicit Observer(std::function<void(const Call&)> function) : tell(std::move(function)) {}

    const std::function<void(const Call&)> tell;
    std::atomic<int> telling{0}; // threads within tell, or about to look whether it has ended
    std::atomic<bool> ended{false};
};

namespace {

typedef std::vector<std::shared_ptr<Observation::Observer>> Observers;

// What calls find is replaced as a whole, never changed: a call takes one reference and
// is done with the lock.
struct State {
    std::shared_ptr<Layer> layer;
    Observers observers;
};

struct Entry {
    std::mutex lock;
    std::shared_ptr<const State> state = std::make_shared<State>();
};

// Never destroyed: threads may still call while the process ends.
Entry& entry() {
    static Entry& instance = *new Entry;
    return instance;
}

std::shared_ptr<const State> currentState() {
    const std::lock_guard<std::mutex> guard(entry().lock);
    return entry().state;
}

template <class Change>
void changeState(const Change& change) {
    std::shared_ptr<const State> old; // goes after the lock: a layer's destructor is not ours
    const std::lock_guard<std::mutex> guard(entry().lock);
    auto next = std::make_shared<State>(*entry().state);
    change(*next);
    old = std::exchange(entry().state, std::move(next));
}

thread_local std::uint64_t t_operation = 0;

// The observers that this thread is within, innermost first.
struct Telling {
    const Observation::Observer* observer;
    const Telling* outer;
};
thread_local const Telling* t_telling = nullptr;

int timesWithin(const Observation::Observer* observer) {
    int times = 0;
    for (const Telling* telling = t_telling; telling != nullptr; telling = telling->outer) {
        times += telling->observer == observer ? 1 : 0;
    }
    return times;
}

void tell(Observation::Observer& observer, const Call& call) {
    if (timesWithin(&observer) != 0) {
        return;
    }
    // Counted first, then looked: whoever ends it marks first, then waits for the count.
    ++observer.telling;
    if (!observer.ended) {
        const Telling here{&observer, t_telling};
        t_telling = &here;
        observer.tell(call);
        t_telling = here.outer;
    }
    --observer.telling;
}

void copyWords(const void* data, unsigned int bytes, Words& words) {
    words.count = static_cast<int>((bytes + sizeof(int) - 1) / sizeof(int));
    std::memcpy(words.word, data, bytes);
}

void copyResult(const void* data, Call& call) {
    const bool given = !call.in.empty();
    if (data == nullptr || (call.result != 0 && !given)) {
        return;
    }
    copyWords(data, bytesOf(call.cmd, call.opt), call.out);
    if (call.opt == IA_CMD_OPT_GET_PARAM_RNAGE) {
        constexpr int fixed = RECORD_WORDS_MAX - IA_DYNAMIC_ITEM_MAX;
        const int items = call.out.word[fixed - 1];
        call.out.count = fixed + std::clamp(items, 0, static_cast<int>(IA_DYNAMIC_ITEM_MAX));
    }
}

int callLayer(const State& state, unsigned int cmd, unsigned int opt, void* data) {
    return state.layer == nullptr ? static_cast<int>(IA_ERR_FAILED)
                                  : state.layer->ioctl(cmd, opt, data);
}

int send(unsigned int cmd, unsigned int opt, void* data) {
    const std::shared_ptr<const State> state = currentState();
    if (state->observers.empty()) {
        return callLayer(*state, cmd, opt, data);
    }
    Call call{cmd, opt, {}, {}, 0, t_operation};
    if (data != nullptr && (opt == IA_CMD_OPT_SET || opt == IA_CMD_OPT_CORRECT_PARAM)) {
        copyWords(data, bytesOf(cmd, opt), call.in);
    }
    call.result = callLayer(*state, cmd, opt, data);
    copyResult(data, call);
    for (const std::shared_ptr<Observation::Observer>& observer : state->observers) {
        tell(*observer, call);
    }
    return call.result;
}

} // namespace

void setLayer(std::shared_ptr<Layer> layer) {
    changeState([&layer](State& state) { state.layer = std::move(layer); });
}

std::shared_ptr<Layer> currentLayer() {
    return currentState()->layer;
}

Observation observe(std::function<void(const Call&)> observer) {
    Observation observation;
    observation.m_observer = std::make_shared<Observation::Observer>(std::move(observer));
    changeState([&](State& state) { state.observers.push_back(observation.m_observer); });
    return observation;
}

Observation::Observation(Observation&& other) noexcept = default;

Observation& Observation::operator=(Observation&& other) noexcept {
    swap(other);
    other.end();
    return *this;
}

Observation::~Observation() {
    end();
}

void Observation::end() {
    const std::shared_ptr<Observer> observer = std::exchange(m_observer, nullptr);
    if (observer == nullptr) {
        return;
    }
    observer->ended = true;
    changeState([&observer](State& state) {
        state.observers.erase(std::remove(state.observers.begin(), state.observers.end(), observer),
                              state.observers.end());
    });
    while (observer->telling > timesWithin(observer.get())) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

OperationScope::OperationScope(std::uint64_t operation)
    : m_outer(std::exchange(t_operation, operation)) {}

OperationScope::~OperationScope() {
    t_operation = m_outer;
}

std::uint64_t OperationScope::current() {
    return t_operation;
}

} // namespace image_adjust

extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    using namespace image_adjust;
    if (const LibraryCall inner = libraryUnderWay()) {
        return inner(cmd, opt, data);
    }
    if (Recording* recording = Recording::current()) {
        return recording->call(cmd, opt, data, send);
    }
    return send(cmd, opt, data);
}
