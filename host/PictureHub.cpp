#include "host/PictureHub.h"

#include <utility>

namespace host {
namespace {

constexpr int kPatience = 200; ///< milliseconds that a capture waits for one picture
constexpr std::chrono::milliseconds kBetweenStarts(500);

} // namespace

PictureHub::~PictureHub() {
    use(nullptr, {});
}

void PictureHub::use(image_adjust::PictureSource* source, const image_adjust::PictureFormat& format,
                     std::chrono::milliseconds warmUp) {
    std::thread ended;
    {
        std::unique_lock<std::mutex> guard(m_lock);
        m_stopping = true;
        m_changed.notify_all();
        ended.swap(m_thread);
    }
    if (ended.joinable()) {
        ended.join();
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    m_stopping = false;
    m_source = source;
    m_format = format;
    m_warmUp = warmUp;
    m_width = format.width;
    m_height = format.height;
    m_latest.reset();
    m_problem = source == nullptr ? "this camera has no picture" : "";
    if (source != nullptr) {
        m_thread = std::thread([this] { capture(); });
    }
    m_changed.notify_all();
}

/// Waits until somebody watches, and captures until nobody does. The source is used by this thread
/// alone, outside the lock.
void PictureHub::capture() {
    std::unique_lock<std::mutex> guard(m_lock);
    const auto wanted = [this] { return m_stopping || m_viewers > 0; };
    while (!m_stopping) {
        m_changed.wait(guard, wanted);
        if (m_stopping) {
            break;
        }
        const image_adjust::PictureFormat format = m_format;
        guard.unlock();
        std::string problem;
        bool good = m_source->start(format, problem);
        guard.lock();
        m_began = std::chrono::steady_clock::now();
        if (good) {
            m_problem.clear(); // what failed before is not told to who comes now
        }
        while (good && m_viewers > 0 && !m_stopping) {
            guard.unlock();
            auto picture = std::make_shared<image_adjust::Picture>();
            const auto result = m_source->next(kPatience, *picture, problem);
            guard.lock();
            good = result != image_adjust::PictureSource::Result::Failed;
            if (result == image_adjust::PictureSource::Result::Picture) {
                m_latest = std::move(picture);
                m_width = m_latest->width;
                m_height = m_latest->height;
                ++m_number;
                m_problem.clear();
                m_changed.notify_all();
            }
        }
        guard.unlock();
        m_source->stop();
        guard.lock();
        if (!good) {
            m_problem = problem.empty() ? "the picture ended" : problem;
            m_changed.notify_all();
            m_changed.wait_for(guard, kBetweenStarts, [this] { return m_stopping; });
        }
        m_latest.reset(); // an old picture is not shown to the next viewer as if it were new
    }
}

PictureHub::Viewer::Viewer(PictureHub& hub) : m_hub(hub) {
    const std::lock_guard<std::mutex> guard(m_hub.m_lock);
    ++m_hub.m_viewers;
    m_hub.m_changed.notify_all();
}

PictureHub::Viewer::~Viewer() {
    const std::lock_guard<std::mutex> guard(m_hub.m_lock);
    --m_hub.m_viewers;
    m_hub.m_changed.notify_all();
}

PictureHub::Shared PictureHub::Viewer::next(std::chrono::milliseconds atMost,
                                            std::string& problem) {
    std::unique_lock<std::mutex> guard(m_hub.m_lock);
    problem.clear();
    const auto fresh = [this] { return m_hub.m_latest != nullptr && m_hub.m_number != m_seen; };
    m_hub.m_changed.wait_for(guard, atMost, [&] { return fresh() || !m_hub.m_problem.empty(); });
    if (!fresh()) {
        problem = m_hub.m_problem;
        return nullptr;
    }
    m_seen = m_hub.m_number;
    return m_hub.m_latest;
}

bool PictureHub::isWarm() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return std::chrono::steady_clock::now() - m_began >= m_warmUp;
}

image_adjust::PictureFormat PictureHub::format() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    image_adjust::PictureFormat format = m_format;
    format.width = m_width;
    format.height = m_height;
    return format;
}

int PictureHub::viewers() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_viewers;
}

std::uint64_t PictureHub::captured() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_number;
}

} // namespace host
