#pragma once

#include <memory>
#include <string>

#include "Layer.h"

namespace image_adjust {

typedef int (*LibraryCall)(unsigned int cmd, unsigned int opt, void* data);

/// For the entry: the ia_ioctrl of the library that this thread is within a call of, or null. A
/// library that calls ia_ioctrl by name means its own.
LibraryCall libraryUnderWay();

/// Opens a shared library that has an ia_ioctrl of its own, a vendor's, as a layer. Its name() is
/// "so:" and the path. The library stays loaded until the process ends, as it may have threads.
/// @param path     where it lies; a name without a slash is also looked for where the dynamic
///                 linker looks
/// @param problem  receives what is wrong, with the path
/// @return null when it cannot be opened or has no ia_ioctrl
std::shared_ptr<Layer> openLibraryLayer(const std::string& path, std::string& problem);

} // namespace image_adjust
