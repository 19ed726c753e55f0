#include "Certificate.h"

namespace imgctld {

bool readCertificate(const std::string& /*certificate*/, const std::string& /*key*/,
                     http::HttpServer::Tls& /*tls*/, long long& /*expires*/, std::string& problem) {
    problem = "this imgctld is built without encryption; let a proxy on this machine do that";
    return false;
}

} // namespace imgctld
