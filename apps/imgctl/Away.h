#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Client.h"

namespace imgctl {

/// What stands on other makers' network and encryption, as a module of its own: it is loaded where
/// a camera elsewhere is asked, or a certificate is made, so that no other command waits for the
/// thirty libraries behind it.
struct Away {
    std::unique_ptr<Client> (*clientOf)(const Remote& remote);
    bool (*makeSelfSigned)(const std::vector<std::string>& names, int days,
                           const std::string& certificatePath, const std::string& keyPath,
                           std::string& fingerprint, std::string& problem);
};

/// The name under which the module has its Away.
constexpr char kAway[] = "imgctl_away";

/// Loads the module, once.
/// @param problem  receives why it cannot be
/// @return null then
const Away* away(std::string& problem);

} // namespace imgctl
