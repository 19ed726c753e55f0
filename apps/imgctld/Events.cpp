#include "Events.h"

#include <cstdlib>

#include "host/Camera.h"
#include "host/Journal.h"
#include "host/api/Documents.h"

namespace imgctld {

using host::api::Json;

namespace {

constexpr std::size_t kMostMade = 64;

const char* eventName(host::JournalEntry::Kind kind) {
    using Kind = host::JournalEntry::Kind;
    switch (kind) {
        case Kind::Values:
            return "change";
        case Kind::Scheme:
        case Kind::Mode:
            return "scheme";
        case Kind::Saved:
            return "save";
        case Kind::Trial:
            return "trial";
        case Kind::Layer:
            return "layer";
    }
    return "change";
}

std::string eventText(const std::string& name, const std::string& id, const Json& data) {
    return "event: " + name + "\nid: " + id + "\ndata: " + host::api::text(data) + "\n\n";
}

} // namespace

/// One who listens.
class Events::Reader : public http::Source {
public:
    Reader(Events& events, std::uint64_t after, std::string first, int language)
        : m_events(events),
          m_after(after),
          m_first(std::move(first)),
          m_language(language),
          m_ticks(events.m_ticks) {}

    Pull pull(std::shared_ptr<const std::string>& chunk) override {
        if (!m_first.empty()) {
            chunk = std::make_shared<const std::string>(std::move(m_first));
            m_first.clear();
            return Pull::Chunk;
        }
        chunk = m_events.textAfter(m_after, m_language, m_after);
        if (chunk != nullptr) {
            return Pull::Chunk;
        }
        const unsigned long ticks = m_events.m_ticks;
        if (ticks != m_ticks) {
            m_ticks = ticks;
            chunk = m_events.timeText();
            return chunk != nullptr ? Pull::Chunk : Pull::Wait;
        }
        return Pull::Wait;
    }

private:
    Events& m_events;
    std::uint64_t m_after;
    std::string m_first;
    const int m_language;
    unsigned long m_ticks;
};

Events::Events(host::Camera& camera, StreamList& streams) : m_camera(camera), m_streams(streams) {
    m_listener = m_camera.journal().listen(
        [this](std::uint64_t) { m_streams.wake(StreamList::Kind::Events); });
}

Events::~Events() {
    m_camera.journal().forget(m_listener);
}

std::unique_ptr<http::Source> Events::stream(const std::string& lastId, int language) {
    const host::Journal& journal = m_camera.journal();
    const std::uint64_t now = journal.sequence();
    const std::string boot = journal.bootId();
    std::uint64_t after = now;
    bool complete = true;
    if (!lastId.empty()) {
        const std::string::size_type colon = lastId.find(':');
        char* end = nullptr;
        after =
            colon == std::string::npos ? now : std::strtoull(lastId.c_str() + colon + 1, &end, 10);
        complete = colon != std::string::npos && lastId.compare(0, colon, boot) == 0 &&
                   *end == '\0' && after <= now;
        if (complete) {
            journal.since(after, complete);
        }
        after = complete ? after : now;
    }
    const Json data = {{"boot", boot}, {"sequence", after}};
    return std::make_unique<Reader>(
        *this, after,
        "retry: 1000\n" +
            eventText(complete ? "hello" : "reset", boot + ":" + std::to_string(after), data),
        language);
}

void Events::tick() {
    ++m_ticks;
    m_streams.wake(StreamList::Kind::Events);
}

Events::Bytes Events::textAfter(std::uint64_t after, int language, std::uint64_t& reached) {
    const host::Journal& journal = m_camera.journal();
    const std::uint64_t sequence = journal.sequence();
    if (sequence == after) {
        return nullptr;
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto found = m_made.find({after, language});
        if (found != m_made.end() && found->second.sequence == sequence) {
            reached = found->second.reached;
            return found->second.text;
        }
    }
    const std::shared_ptr<const host::Snapshot> snapshot = m_camera.snapshot();
    bool complete = true;
    const std::vector<host::Journal::Entry> entries = journal.since(after, complete);
    if (snapshot == nullptr) {
        return nullptr;
    }
    std::string text;
    std::uint64_t last = complete ? after : sequence;
    const std::string& boot = journal.bootId();
    if (!complete) {
        text = eventText("reset", boot + ":" + std::to_string(last),
                         {{"boot", boot}, {"sequence", last}});
    }
    for (const host::Journal::Entry& entry : entries) {
        if (!complete) {
            break;
        }
        Json data = host::api::entryDocument(*snapshot, journal, *entry, language);
        data["boot"] = boot;
        last = entry->sequence;
        text += eventText(eventName(entry->kind), boot + ":" + std::to_string(last), data);
    }
    const auto made = std::make_shared<const std::string>(std::move(text));
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_made.size() >= kMostMade) {
        m_made.clear();
    }
    m_made[{after, language}] = Made{sequence, last, made};
    reached = last;
    return made->empty() ? nullptr : made;
}

Events::Bytes Events::timeText() {
    const std::shared_ptr<const host::Snapshot> snapshot = m_camera.snapshot();
    if (snapshot == nullptr) {
        return nullptr;
    }
    const std::string& boot = m_camera.journal().bootId();
    const Json data = {{"boot", boot},
                       {"sequence", m_camera.journal().sequence()},
                       {"snapshot", snapshot->number},
                       {"time", host::api::timestamp(host::cameraTime())},
                       {"watching", m_streams.count(StreamList::Kind::Video)},
                       {"unsaved", snapshot->unsaved}};
    // No id: it is not in the journal, and nobody asks from there.
    return std::make_shared<const std::string>("event: time\ndata: " + host::api::text(data) +
                                               "\n\n");
}

} // namespace imgctld
