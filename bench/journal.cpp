// Prints what it costs that the host knows who changed what: imgctl_journal_bench.

#include <sys/syscall.h>

#include <memory>
#include <string>

#include "Counters.h"
#include "Entry.h"
#include "Table.h"
#include "host/Journal.h"
#include "host/LayerWatch.h"

extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data);

namespace {

constexpr int kRounds = 200;
constexpr int kValues = 87;
constexpr double kGoal = 5; // microseconds for each value

/// Takes everything and does nothing.
class EmptyLayer : public image_adjust::Layer {
public:
    int ioctl(unsigned int, unsigned int, void*) override {
        ++calls;
        return 0;
    }
    std::string name() const override { return "empty"; }
    image_adjust::CommandState about(unsigned int) const override { return {}; }

    unsigned long calls = 0;
};

class Values {
public:
    Values() {
        image_adjust::setLayer(m_layer);
        m_watch.begin([] {});
        for (std::size_t i = 0; i < host::Journal::kMostEntries; ++i)
            tagged();
    }
    ~Values() {
        m_watch.end();
        image_adjust::setLayer(nullptr);
    }
    Values(const Values&) = delete;
    Values& operator=(const Values&) = delete;

    /// Each a request of its own by another person, so that none joins the one before.
    void tagged() {
        for (int i = 0; i < kValues; ++i) {
            const image_adjust::OperationScope scope(++m_operation);
            ia_ioctrl(static_cast<unsigned int>(i + 1), 0, &i);
            host::JournalEntry entry;
            entry.origin = {i % 2 == 0 ? "anna" : "otto", "page", host::Cause::Request, 0};
            entry.changes.push_back({static_cast<u32>(i + 1), 0, 0, i});
            m_journal.add(std::move(entry));
        }
    }
    void plain() {
        for (int i = 0; i < kValues; ++i)
            m_layer->ioctl(static_cast<unsigned int>(i + 1), 0, &i);
    }
    unsigned long callsOf(void (Values::*work)()) {
        const unsigned long before = m_layer->calls;
        (this->*work)();
        return m_layer->calls - before;
    }

private:
    std::shared_ptr<EmptyLayer> m_layer = std::make_shared<EmptyLayer>();
    host::LayerWatch m_watch;
    host::Journal m_journal;
    std::uint64_t m_operation = 0;
};

/// System calls, those for memory left out.
unsigned long callsOfSystem(Values& values) {
    unsigned long sum = 0;
    for (const auto& [number, count] : systemCalls([&values] { values.tagged(); }))
        sum += number == SYS_brk || number == SYS_mmap || number == SYS_munmap ? 0 : count;
    return sum;
}

std::string microseconds(double time) {
    return std::to_string(time).substr(0, 4) + "us";
}

} // namespace

int main() {
    heading();
    Values values;
    const Times times = interleaved(
        kRounds, [&values] { values.tagged(); }, [&values] { values.plain(); });
    const double added = (times.subject - times.floor) / kValues;
    row("10", "a changed value: its tag and its journal entry", microseconds(added), "",
        "<= " + microseconds(kGoal), added <= kGoal);
    const unsigned long tagged = values.callsOf(&Values::tagged);
    const unsigned long plain = values.callsOf(&Values::plain);
    const unsigned long system = callsOfSystem(values);
    row("10", "  calls for 87: layer/system", std::to_string(tagged) + "/" + std::to_string(system),
        std::to_string(plain) + "/0", "equal", tagged == plain && system == 0);
    return allHold() ? 0 : 1;
}
