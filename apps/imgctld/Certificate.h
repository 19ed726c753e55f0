#pragma once

#include <string>

#include "HttpServer.h"

namespace imgctld {

/// Reads a certificate and its key.
/// @param expires  receives when it runs out, in seconds since 1970
/// @param problem  receives what is wrong: missing, broken, or a key that others can read
bool readCertificate(const std::string& certificate, const std::string& key,
                     http::HttpServer::Tls& tls, long long& expires, std::string& problem);

} // namespace imgctld
