#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "HttpServer.h"
#include "RawClient.h"
#include "Service.h"
#include "host/Camera.h"

/// A camera of its own behind the service, on a free port of the loopback. Its users:
/// "administrator", "operator", "viewer" and "monitor", each with the role of that name; the
/// password is kPassword.
class Daemon : public ::testing::Test {
protected:
    static constexpr char kPassword[] = "ten letters";

    Daemon();
    ~Daemon() override;

    /// @param users  false: nobody logs in
    void start(bool users = true, http::Limits limits = http::Limits(),
               imgctld::ServiceOptions options = imgctld::ServiceOptions());

    /// A request with the headers that every client sends.
    /// @param headers  whole lines; "Authorization: Bearer ..." may be made by as()
    std::string request(const std::string& method, const std::string& path,
                        const std::string& headers = "", const std::string& body = "") const;
    Answer ask(const std::string& method, const std::string& path, const std::string& headers = "",
               const std::string& body = "") const;
    /// The header by which a user of that role is known; a session of its own for each.
    std::string as(const std::string& role);
    /// Waits for a stream to end, while the service looks after itself as in its main loop.
    bool endsSoon(RawClient& stream);

    std::string root;
    std::string users; ///< the file
    std::string layer = "simulator";
    double speed = 1; ///< of the camera's clock
    host::Camera camera;
    std::unique_ptr<imgctld::Service> service;
    std::unique_ptr<http::HttpServer> server;
    unsigned int port = 0;

private:
    std::map<std::string, std::string> m_cookies;
};

/// Runs a program with a shell's words behind it. @return its exit status; output of both kinds
int runProgram(const std::string& program, const std::string& words, std::string& output);
