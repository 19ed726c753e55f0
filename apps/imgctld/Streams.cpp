#include "Streams.h"

#include <algorithm>

#include "host/PictureHub.h"

namespace imgctld {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kSameForAll = std::chrono::milliseconds(100);
constexpr auto kTooOld = std::chrono::seconds(1);
constexpr auto kQuiet = std::chrono::seconds(10);
constexpr auto kPatience = std::chrono::milliseconds(500);
constexpr auto kSingleAtMost = std::chrono::seconds(5);

} // namespace

unsigned long StreamList::open(const std::string& session, Kind kind, std::size_t mostOfSession,
                               std::size_t mostOfAll) {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::size_t all = 0;
    std::size_t own = 0;
    for (const auto& entry : m_entries) {
        if (entry.second.kind == kind) {
            ++all;
            own += entry.second.session == session ? 1 : 0;
        }
    }
    if (all >= mostOfAll || own >= mostOfSession) {
        return 0;
    }
    m_entries[++m_numbers] = Entry{session, kind, nullptr};
    return m_numbers;
}

void StreamList::attach(unsigned long number, std::shared_ptr<http::StreamControl> control) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_entries.find(number);
    if (found != m_entries.end()) {
        found->second.control = std::move(control);
    }
}

void StreamList::close(unsigned long number) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_entries.erase(number);
}

std::vector<std::shared_ptr<http::StreamControl>> StreamList::controls(
    const std::function<bool(const Entry&)>& wanted) const {
    std::vector<std::shared_ptr<http::StreamControl>> list;
    const std::lock_guard<std::mutex> guard(m_lock);
    for (const auto& entry : m_entries) {
        if (entry.second.control != nullptr && wanted(entry.second)) {
            list.push_back(entry.second.control);
        }
    }
    return list;
}

void StreamList::endOf(const std::string& session) {
    for (const auto& control :
         controls([&session](const Entry& entry) { return entry.session == session; })) {
        control->end();
    }
}

void StreamList::endOfAll() {
    for (const auto& control : controls([](const Entry&) { return true; })) {
        control->end();
    }
}

void StreamList::wake(Kind kind) {
    for (const auto& control :
         controls([kind](const Entry& entry) { return entry.kind == kind; })) {
        control->wake();
    }
}

std::size_t StreamList::count(Kind kind) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<std::size_t>(
        std::count_if(m_entries.begin(), m_entries.end(),
                      [kind](const auto& entry) { return entry.second.kind == kind; }));
}

/// One who watches. A slow one finds the newest picture when it has sent the one before.
class Pictures::Video : public http::Source {
public:
    explicit Video(Pictures& pictures) : m_pictures(pictures) { m_pictures.watch(1); }
    ~Video() override { m_pictures.watch(-1); }
    Video(const Video&) = delete;
    Video& operator=(const Video&) = delete;

    Pull pull(std::shared_ptr<const std::string>& chunk) override {
        if (!m_begun) {
            m_begun = true;
            chunk = std::make_shared<const std::string>(std::string("--") + kBoundary + "\r\n");
            return Pull::Chunk;
        }
        const Latest latest = m_pictures.latest();
        if (latest.number == m_seen || latest.part == nullptr ||
            Clock::now() - latest.made > kTooOld) {
            // Whoever has gone meanwhile is noticed by writing only, and would keep his place for
            // as long as the camera is away.
            return Clock::now() - m_last > kQuiet ? Pull::End : Pull::Wait;
        }
        m_seen = latest.number;
        m_last = Clock::now();
        chunk = latest.part;
        return Pull::Chunk;
    }

private:
    Pictures& m_pictures;
    bool m_begun = false;
    std::uint64_t m_seen = 0;
    Clock::time_point m_last = Clock::now();
};

Pictures::Pictures(host::PictureHub& hub, StreamList& streams)
    : m_hub(hub), m_streams(streams), m_thread([this] { run(); }) {}

Pictures::~Pictures() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

bool Pictures::isIdle() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_watching == 0 && m_waiting.empty();
}

std::unique_ptr<http::Source> Pictures::video() {
    return std::make_unique<Video>(*this);
}

void Pictures::watch(int change) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_watching += change;
    }
    m_changed.notify_all();
}

Pictures::Latest Pictures::latest() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_latest;
}

std::string Pictures::problem() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_problem;
}

void Pictures::single(const std::function<void(Bytes, const std::string&)>& done) {
    Bytes there;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_latest.jpeg != nullptr && Clock::now() - m_latest.made <= kSameForAll) {
            there = m_latest.jpeg;
        } else {
            m_waiting.push_back(done);
        }
    }
    if (there != nullptr) {
        done(there, std::string());
    } else {
        m_changed.notify_all();
    }
}

void Pictures::run() {
    std::unique_lock<std::mutex> guard(m_lock);
    while (!m_ending) {
        m_changed.wait(guard, [this] { return m_ending || m_watching > 0 || !m_waiting.empty(); });
        guard.unlock();
        {
            host::PictureHub::Viewer viewer(m_hub);
            Clock::time_point last = Clock::now();
            for (;;) {
                std::string problem;
                const auto picture = viewer.next(kPatience, problem);
                const Clock::time_point now = Clock::now();
                Latest latest;
                if (picture != nullptr) {
                    last = now;
                    latest.made = now;
                    latest.jpeg = std::make_shared<const std::string>(picture->jpeg.begin(),
                                                                      picture->jpeg.end());
                    // The next boundary ends each part: a browser shows it at once, not with the
                    // next picture.
                    latest.part = std::make_shared<const std::string>(
                        "Content-Type: image/jpeg\r\nContent-Length: " +
                        std::to_string(latest.jpeg->size()) + "\r\n\r\n" + *latest.jpeg + "\r\n--" +
                        kBoundary + "\r\n");
                }
                std::vector<std::function<void(Bytes, const std::string&)>> waiting;
                guard.lock();
                m_problem = problem;
                if (latest.jpeg != nullptr) {
                    latest.number = m_latest.number + 1;
                    m_latest = latest;
                }
                if ((latest.jpeg != nullptr && m_hub.isWarm()) || !problem.empty() || m_ending ||
                    now - last > kSingleAtMost) {
                    waiting.swap(m_waiting);
                }
                const bool over = m_ending || (m_watching == 0 && m_waiting.empty());
                guard.unlock();
                if (problem.empty() && latest.jpeg == nullptr) {
                    problem = "no picture came from the camera";
                }
                for (const auto& done : waiting) {
                    done(latest.jpeg, problem);
                }
                m_streams.wake(StreamList::Kind::Video);
                if (over) {
                    break;
                }
                if (latest.jpeg == nullptr && !problem.empty()) {
                    // The next is told at once too, for as long as the camera is away.
                    std::unique_lock<std::mutex> pause(m_lock);
                    m_changed.wait_for(pause, kPatience,
                                       [this] { return m_ending || !m_waiting.empty(); });
                }
            }
        }
        guard.lock();
    }
    for (const auto& done : m_waiting) {
        done(nullptr, "the service stops");
    }
    m_waiting.clear();
}

} // namespace imgctld
