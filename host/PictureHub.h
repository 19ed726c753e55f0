#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "PictureSource.h"

namespace host {

/// The picture of the camera for everybody who watches: one capture, whoever looks. It runs only
/// while somebody does; a viewer that is slow skips pictures and delays nobody.
///
/// Every member may be called by any thread.
class PictureHub {
public:
    using Shared = std::shared_ptr<const image_adjust::Picture>;

    PictureHub() = default;
    ~PictureHub();
    PictureHub(const PictureHub&) = delete;
    PictureHub& operator=(const PictureHub&) = delete;

    /// Takes a source, which must outlive its use here, or null for none. Ends a capture that runs.
    /// @param warmUp  how long its automatics need to see what is there
    void use(image_adjust::PictureSource* source, const image_adjust::PictureFormat& format,
             std::chrono::milliseconds warmUp = {});

    /// Somebody who watches. Pictures are captured while at least one exists.
    class Viewer {
    public:
        explicit Viewer(PictureHub& hub);
        ~Viewer();
        Viewer(const Viewer&) = delete;
        Viewer& operator=(const Viewer&) = delete;

        /// The next picture that this viewer has not had; those that came meanwhile are skipped.
        /// @param problem  receives why there is none; empty when none came in the time
        /// @return the picture, or null
        Shared next(std::chrono::milliseconds atMost, std::string& problem);

    private:
        PictureHub& m_hub;
        std::uint64_t m_seen = 0;
    };

    /// Whether the capture runs for so long that a single picture of it looks as it should.
    bool isWarm() const;

    int viewers() const;

    /// What pictures are like: as the last one was, before the first one as they are asked for.
    image_adjust::PictureFormat format() const;

    /// Pictures captured since the start, for who measures.
    std::uint64_t captured() const;

private:
    void capture();

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::thread m_thread;
    image_adjust::PictureSource* m_source = nullptr;
    image_adjust::PictureFormat m_format;
    std::chrono::milliseconds m_warmUp{0};
    std::chrono::steady_clock::time_point m_began; ///< the capture
    int m_width = 0;                               ///< of the last picture
    int m_height = 0;
    int m_viewers = 0;
    std::uint64_t m_number = 0;
    Shared m_latest;
    std::string m_problem;
    bool m_stopping = false;
};

} // namespace host
