#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Schema.h"
#include "Soap.h"
#include "host/Operation.h"
#include "host/Snapshot.h"

/// How ONVIF's imaging settings and this camera's parameters stand for each other.
namespace onvif {

/// Whether this camera has a control for a key, and shows it to its users.
bool usable(const host::Snapshot& snapshot, u32 key);

/// What a key takes now; none where it is not usable.
std::optional<host::Limits> limitsOf(const host::Snapshot& snapshot, u32 key);

/// The settings in force, as the content of an ImagingSettings20.
void addSettings(const host::Snapshot& snapshot, Element& to);

/// What they can be, as the content of an ImagingOptions20.
void addOptions(const host::Snapshot& snapshot, Element& to);

/// Reads settings that a client wants. What stands as it is in force already is left out: clients
/// send back all that they were told, and a parameter may stand where ONVIF has no word for it.
/// @param pairs  receives what to set, in an order in which nothing holds what follows
std::optional<Fault> readSettings(const host::Snapshot& snapshot, const TiXmlElement& settings,
                                  std::vector<host::Pair>& pairs);

/// Reads a schema's float. @return none for what is no number, or no finite one
std::optional<double> readFloat(const std::string& text);

} // namespace onvif
