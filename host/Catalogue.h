#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SensorTypes.h"
#include "host/Snapshot.h"

namespace host {

/// What a catalogue is made from.
struct CatalogueSource {
    std::vector<keycmd> rows; ///< the key-command map
    std::string style;        ///< XML, pruned for this sensor
    std::map<int, std::string> languages;
    std::map<int, std::string> commons;
    std::vector<KeyVal> factory; ///< the factory values, in the order of the records
};

/// Makes a catalogue. Texts that are broken or missing leave keys without labels, never out.
std::shared_ptr<const Catalogue> makeCatalogue(const CatalogueSource& source);

} // namespace host
