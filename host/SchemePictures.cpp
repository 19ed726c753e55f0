#include "host/SchemePictures.h"

#include <utility>

namespace host {

SchemePictures::~SchemePictures() {
    end();
}

void SchemePictures::begin(const std::string& layer, Values values) {
    end();
    const std::lock_guard<std::mutex> guard(m_lock);
    m_layer = layer;
    m_values = std::move(values);
}

void SchemePictures::end() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_layer.clear();
    for (auto& [scheme, one] : m_schemes) {
        one.hub.use(nullptr, {});
        one.source.reset();
    }
    m_values = nullptr;
}

void SchemePictures::release(int scheme) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_schemes.find(scheme);
    if (found != m_schemes.end()) {
        found->second.hub.use(nullptr, {});
        found->second.source.reset();
    }
}

PictureHub* SchemePictures::of(int scheme) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_schemes.find(scheme);
    if (found != m_schemes.end() && found->second.source != nullptr) {
        return &found->second.hub;
    }
    auto source = pictureBeside(m_layer, [values = m_values, scheme] { return values(scheme); });
    if (source == nullptr) {
        return nullptr;
    }
    One& one = m_schemes[scheme];
    one.source = std::move(source);
    one.hub.use(one.source.get(), {});
    return &one.hub;
}

} // namespace host
