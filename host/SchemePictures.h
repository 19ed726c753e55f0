#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "PictureSource.h"
#include "host/LayerChoice.h"
#include "host/PictureHub.h"

namespace host {

/// The picture as each scheme would make it, of a layer that can be thought to have other values
/// than it has. Made when first asked for; drawn while somebody watches.
///
/// Every member may be called by any thread.
class SchemePictures {
public:
    /// The values of a scheme, for the layer's commands.
    using Values = std::function<CommandValues(int scheme)>;

    ~SchemePictures();

    /// Begins for a layer. @param values  called by other threads, until end
    void begin(const std::string& layer, Values values);

    /// Ends all that is drawn. The hubs stay, without a picture.
    void end();

    /// The picture of a scheme, which the caller knows to exist; valid as long as this object.
    /// @return null when the layer shows its own values alone, or none is open
    PictureHub* of(int scheme);

    /// Ends one that nobody watches. Its hub stays, without a picture.
    void release(int scheme);

private:
    struct One {
        std::unique_ptr<image_adjust::PictureSource> source; ///< outlives its use by the hub
        PictureHub hub;
    };

    std::mutex m_lock; // guards what follows
    std::string m_layer;
    Values m_values;
    std::map<int, One> m_schemes;
};

} // namespace host
