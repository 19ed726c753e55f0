#pragma once

#include <cstdio>
#include <vector>

#include "AVStreamParam.h"
#include "VideoStreamModule.h"

namespace host {

/// The camera's video module: one stream, and a trace of what it is told. It accepts everything.
class Video : public VideoStreamModule {
public:
    explicit Video(int framesPerSecond) : m_stream(framesPerSecond) {}

    /// Writes a line "video KEY VALUE RESULT" for each notification. The file stays the caller's
    /// and is flushed after every line; null: no trace. Not while the controller uses the module.
    void traceTo(FILE* file) { m_trace = file; }

    int notifySensorParam(int key, int value) const override;
    void getAVStreamParams(std::vector<AVStreamParam>& list) const override;

private:
    AVStreamParam m_stream;
    FILE* m_trace = nullptr;
};

} // namespace host
