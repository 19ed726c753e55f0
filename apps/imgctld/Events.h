#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "HttpMessages.h"
#include "Streams.h"

namespace host {
class Camera;
}

namespace imgctld {

/// The journal as server-sent events. Each carries the id "BOOT:SEQUENCE"; whoever was away asks
/// from there (Last-Event-ID), and is told "reset" when what he missed is gone: he reads anew then.
/// Every 10 seconds a "time" event with the camera's time says that the stream lives.
class Events {
public:
    Events(host::Camera& camera, StreamList& streams);
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    /// @param lastId  of the request; empty: from now on
    std::unique_ptr<http::Source> stream(const std::string& lastId, int language);

    /// To be called every 10 seconds.
    void tick();

private:
    class Reader;
    using Bytes = std::shared_ptr<const std::string>;

    /// The events after a sequence number, as text; made once for all readers that stand there.
    Bytes textAfter(std::uint64_t after, int language, std::uint64_t& reached);
    Bytes timeText();

    host::Camera& m_camera;
    StreamList& m_streams;
    int m_listener = 0;
    std::atomic<unsigned long> m_ticks{0};
    std::mutex m_lock;
    struct Made {
        std::uint64_t sequence;
        std::uint64_t reached;
        Bytes text;
    };
    std::map<std::pair<std::uint64_t, int>, Made> m_made;
};

} // namespace imgctld
