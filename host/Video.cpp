#include "host/Video.h"

#include "Recording.h"

namespace host {

int Video::notifySensorParam(int key, int value) const {
    // What is only tried out tells nobody.
    if (m_trace != nullptr && image_adjust::Recording::current() == nullptr) {
        std::fprintf(m_trace, "video %d %d 0\n", key, value);
        std::fflush(m_trace);
    }
    return 0;
}

void Video::getAVStreamParams(std::vector<AVStreamParam>& list) const {
    list.push_back(m_stream);
}

} // namespace host
