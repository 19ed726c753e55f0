#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "Daemon.h"
#include "host/api/Api.h"

namespace {

using access_control::Role;

std::string filled(std::string path) {
    const auto put = [&path](const std::string& what, const std::string& text) {
        const std::string::size_type at = path.find(what);
        if (at != std::string::npos) {
            path.replace(at, what.size(), text);
        }
    };
    put("{key}", "34");
    put("{scheme}", "1");
    put("{id}", "0");
    put("{action}", "read");
    put("{name}", "nobody");
    return path;
}

std::vector<imgctld::OwnRoute> allRoutes() {
    std::vector<imgctld::OwnRoute> all = imgctld::ownRoutes();
    static std::vector<std::string> paths; // what the routes below point into
    paths.reserve(host::api::routes().size());
    for (const host::api::Route& route : host::api::routes()) {
        paths.push_back(std::string("/api/v1") + route.pattern);
        all.push_back({route.method, paths.back().c_str(), route.needs, false});
    }
    all.push_back({"GET", "/", Role::Monitor, true});
    return all;
}

void expectGuarded(const Answer& answer, const std::string& what) {
    EXPECT_EQ(answer.header("cross-origin-resource-policy"), "same-origin") << what;
    EXPECT_EQ(answer.header("referrer-policy"), "no-referrer") << what;
    EXPECT_EQ(answer.header("x-content-type-options"), "nosniff") << what;
    EXPECT_EQ(answer.header("cache-control"), "no-store") << what;
    EXPECT_EQ(answer.headers.count("access-control-allow-origin"), 0U) << what;
}

TEST_F(Daemon, EveryPathAsksForTheRightNameThePersonAndTheRole) {
    start();
    for (const imgctld::OwnRoute& route : allRoutes()) {
        const std::string path = filled(route.path);
        const bool reads = std::string(route.method) == "GET";
        const bool imports = path == "/api/v1/import";
        const std::string type = imports ? "Content-Type: application/vnd.imgctl.schemes\r\n" : "";
        // What is broken is refused only after the question who may: so nothing is changed here.
        const std::string body = reads ? "" : "[";
        const std::string what = std::string(route.method) + " " + path;
        const auto status = [&](const std::string& headers, const char* method) {
            const bool typed = headers.find("Content-Type") != std::string::npos;
            RawClient client(port);
            client.send(request(method, path, headers + (typed ? "" : type), body));
            const Answer answer = client.answer(false);
            expectGuarded(answer, what);
            return answer.status;
        };
        EXPECT_EQ(status("Host: evil.example\r\n" + as("administrator"), route.method), 421)
            << what;
        EXPECT_EQ(status("Origin: http://evil.example\r\n" + as("administrator"), route.method),
                  403)
            << what;
        EXPECT_EQ(status(as("administrator"), "PROPFIND") / 100, 4) << what;
        if (!reads) {
            EXPECT_EQ(status("Content-Type: text/plain\r\n" + as("administrator"), route.method),
                      415)
                << what;
        }
        if (route.open) {
            continue;
        }
        EXPECT_EQ(status("", route.method), 401) << what;
        for (const Role role : {Role::Monitor, Role::Viewer, Role::Operator, Role::Administrator}) {
            const int got = status(as(nameOf(role)), route.method);
            if (role < route.needs) {
                EXPECT_EQ(got, 403) << what << " as " << nameOf(role);
            } else {
                EXPECT_TRUE(got != 401 && got != 403 && got != 404 && got < 500)
                    << what << " as " << nameOf(role) << ": " << got;
            }
        }
    }
}

TEST_F(Daemon, RefusesHeadsThatAreNotSound) {
    start(false);
    const std::string policy = ask("GET", "/").header("content-security-policy");
    for (const char* part :
         {"default-src 'self'", "frame-ancestors 'none'", "require-trusted-types-for 'script'"}) {
        EXPECT_NE(policy.find(part), std::string::npos) << policy;
    }
    EXPECT_EQ(policy.find("unsafe"), std::string::npos) << policy;
    const std::string own = "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    const std::string json = "Content-Type: application/json\r\n";
    const struct {
        std::string method;
        std::string path;
        std::string headers;
        int status;
        bool closes;
    } rows[] = {
        {"GET", "/api/v1/camera", own, 200, false},
        {"HEAD", "/api/v1/camera", own + json, 200, false},
        {"GET", "/api/v1/camera", "Host: LOCALHOST\r\n", 200, false},
        {"GET", "/api/v1/camera", "Host: Camera.Local:1\r\n", 200, false},
        {"GET", "/api/v1/camera", "Host: [::1]:80\r\n", 200, false},
        {"GET", "/api/v1/camera", "Host: 127.1\r\n", 421, true},
        {"GET", "/api/v1/camera", "Host: [127.0.0.1]\r\n", 421, true},
        {"GET", "/api/v1/camera", "Host: camera.local.\r\n", 421, true},
        {"GET", "/api/v1/camera", "Host: camera.local@evil.example\r\n", 421, true},
        {"GET", "/api/v1/camera", "Host: \r\n", 421, true},
        {"GET", "/api/v1/camera", "Host: 127.0.0.1:80:80\r\n", 421, true},
        {"GET", "/api/v1/camera", own + own, 400, true},
        {"GET", "/api/v1/camera", own + "Authorization: a\r\nAuthorization: b\r\n", 400, true},
        {"GET", "/api/v1/camera", own + "Origin: a\r\norigin: b\r\n", 400, true},
        {"PUT", "/api/v1/mode", own + json + "Content-Length: 2\r\nContent-Length: 2\r\n\r\n{}",
         400, true},
        {"PUT", "/api/v1/mode", own + json + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n",
         400, true},
        {"GET", "/api/v1/camera", own + "Origin: null\r\n", 403, true},
        {"GET", "/api/v1/camera", own + "Origin: https://127.0.0.1\r\n", 403, true},
        {"GET", "/api/v1/camera", own + "Origin: http://127.0.0.1:1\r\n", 403, true},
        {"GET", "/api/v1/camera", own + "Origin: http://127.0.0.1:" + std::to_string(port) + "\r\n",
         200, false},
        {"GET", "/api/v1/camera", own + "Sec-Fetch-Site: cross-site\r\n", 403, true},
        {"GET", "/api/v1/camera", own + "Forwarded: for=1.2.3.4\r\n", 403, true},
        {"GET", "/api/v1/camera", own + "X-Forwarded-For: 127.0.0.1\r\n", 403, true},
        {"DELETE", "/api/v1/trial", own, 415, true},
        {"PUT", "/api/v1/mode", own + "Content-Type: application/x-json\r\n", 415, true},
        {"POST", "/api/v1/import", own + json, 415, true},
        {"PUT", "/api/v1/mode", own + json + "Content-Length: 65537\r\n", 413, true},
        {"POST", "/api/v1/import",
         own + "Content-Type: application/vnd.imgctl.schemes\r\nContent-Length: 1048577\r\n", 413,
         true},
        {"GET", "/api/v1/camera", own + "Content-Length: 1\r\n", 413, true},
        {"GET", "/api/v1/history?count=1001", own, 400, false},
        {"GET", "/api/v1/plan?hours=100000", own, 400, false},
        {"GET", "/api/v1/camera?lang=%zz", own, 400, true},
        {"GET", "/api/v1/camera?lang=1%00", own, 400, true},
        {"GET", "/../device/module.cfg", own, 404, true},
        {"GET", "/%2e%2e/users.cfg", own, 404, true},
        {"GET", "/api/v1/languages/..", own, 404, false},
        {"GET", "/api/v1/parameters/1", own, 404, false},
        {"GET", "/api/v1/parameters/4294967330", own, 404, false},
        {"GET", "/api/v1/schemes/-1", own, 404, false},
        {"GET", "/api/v1/users/a/b", own, 404, true},
        {"OPTIONS", "/api/v1/camera", own, 405, true},
        {"GET", "/api/v1/save", own, 405, true},
    };
    for (const auto& row : rows) {
        RawClient client(port);
        client.send(row.method + " " + row.path + " HTTP/1.1\r\n" + row.headers + "\r\n");
        const Answer answer = client.answer(row.method != "HEAD");
        const std::string what = row.method + " " + row.path + "\n" + row.headers;
        EXPECT_EQ(answer.status, row.status) << what << answer.body;
        if (answer.status != 400 || !answer.header("content-type").empty()) {
            expectGuarded(answer, what);
        }
        EXPECT_EQ(client.ended(row.closes ? 5 : 0), row.closes) << what;
    }
    RawClient old(port);
    old.send("GET /api/v1/camera HTTP/1.0\r\n\r\n");
    EXPECT_EQ(old.answer().status, 421);
}

TEST_F(Daemon, TakesOnlyBodiesThatItUnderstands) {
    start(false);
    std::string deep(17, '[');
    std::string many = R"({"values":[)";
    for (int i = 0; i < 101; ++i) {
        many += std::string(i == 0 ? "" : ",") + R"({"key":34,"value":60})";
    }
    const struct {
        const char* path;
        std::string body;
        int status;
    } rows[] = {
        {"/api/v1/parameters/34", R"({"value":60})", 200},
        {"/api/v1/parameters/34", R"({"value":60,"value":61})", 400},
        {"/api/v1/parameters/34", R"({"value":60.5})", 400},
        {"/api/v1/parameters/34", R"({"value":4294967356})", 400},
        {"/api/v1/parameters/34", R"({"value":4294967295})", 422},
        {"/api/v1/parameters/34", R"({"value":100000})", 422},
        {"/api/v1/parameters/34", "{\"value\":\"\xff\"}", 400},
        {"/api/v1/parameters/34", R"({"value":60,"valu":1})", 400},
        {"/api/v1/parameters/34", R"({"value":60} x)", 400},
        {"/api/v1/parameters/34", R"({"value":)" + deep, 400},
        {"/api/v1/parameters/9", R"({"value":60})", 404},
        {"/api/v1/parameters", many + "]}", 413},
        {"/api/v1/trial", R"({"seconds":3601,"values":{"34":60}})", 400},
    };
    for (const auto& row : rows) {
        const std::string path = row.path;
        const char* const method = path == "/api/v1/parameters" ? "PATCH"
                                   : path == "/api/v1/trial"    ? "POST"
                                                                : "PUT";
        EXPECT_EQ(ask(method, path, "", row.body).status, row.status) << path << " " << row.body;
    }
    EXPECT_NE(ask("GET", "/api/v1/parameters/34").body.find(R"("value":60,)"), std::string::npos);
    // The length of a body in parts is known only when it is there.
    RawClient client(port);
    client.send(request("PUT", "/api/v1/mode", "Transfer-Encoding: chunked\r\n"));
    for (int i = 0; i < 17; ++i) {
        client.send("1000\r\n" + std::string(4096, ' ') + "\r\n");
    }
    EXPECT_NE(client.answer().status, 200);
    EXPECT_TRUE(client.ended(5));
}

TEST_F(Daemon, SaysWhenToComeAgainWhereTooMuchWaitsAlready) {
    start(false);
    std::promise<void> begun;
    std::promise<void> held;
    std::atomic<int> done{0};
    camera.submit({{}, host::Save{}}, [&](const host::Outcome&) {
        begun.set_value();
        held.get_future().wait();
    });
    begun.get_future().wait();
    for (std::size_t i = 0; i < host::CameraOptions().queue; ++i) {
        camera.submit({{}, host::Save{}}, [&done](const host::Outcome&) { ++done; });
    }
    const Answer full = ask("PUT", "/api/v1/parameters/34", "", R"({"value":60})");
    EXPECT_EQ(full.status, 503);
    EXPECT_EQ(full.header("retry-after"), "1");
    EXPECT_NE(full.body.find("busy: again in 1 s"), std::string::npos) << full.body;
    EXPECT_EQ(ask("GET", "/api/v1/parameters/34").status, 200) << "who only reads waits for nobody";
    EXPECT_EQ(done, 0);
    held.set_value();
    int status = 503;
    for (int i = 0; i < 200 && status == 503; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        status = ask("PUT", "/api/v1/mode", "", R"({"mode":"manual"})").status;
    }
    EXPECT_EQ(status, 200);
    EXPECT_EQ(done, static_cast<int>(host::CameraOptions().queue)) << "what waited is done";
}

TEST_F(Daemon, SlowAndManyConnectionsDoNotKeepOthersWaiting) {
    http::Limits limits;
    limits.headSeconds = 1;
    limits.bodySeconds = 1;
    start(true, limits);
    const std::string cookie = as("administrator");
    std::vector<std::unique_ptr<RawClient>> half;
    for (int address = 2; address < 22; ++address) {
        for (int i = 0; i < 10; ++i) {
            half.push_back(
                std::make_unique<RawClient>(port, ("127.0.0." + std::to_string(address)).c_str()));
            half.back()->send("GET /api/v1/camera HTTP/1.1\r\nHost: 127.0.0.1\r\n");
        }
        if (address == 2) {
            RawClient oneTooMany(port, "127.0.0.2");
            EXPECT_TRUE(oneTooMany.ended(0.5)) << "a stranger's eleventh";
        }
    }
    RawClient body(port);
    RawClient large(port); // has a second more for each 16 KiB
    body.send(request("PUT", "/api/v1/mode", cookie + "Content-Length: 100\r\n"));
    large.send(request("PUT", "/api/v1/mode", cookie + "Content-Length: 65536\r\n"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask("GET", "/api/v1/camera", cookie).status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
    // A byte now and then does not help.
    for (int i = 0; i < 6; ++i) {
        half[0]->send("x");
        body.send("x");
        half[0]->ended(0.25);
    }
    for (const auto& client : half) {
        EXPECT_TRUE(client->ended(2));
    }
    EXPECT_TRUE(body.ended(2));
    EXPECT_FALSE(large.ended(0));
}

TEST_F(Daemon, StopsWithStreamsOpenAndARequestHalfThere) {
    start(false);
    std::vector<std::unique_ptr<RawClient>> open;
    for (const char* path : {"/video.mjpg", "/api/v1/events", "/video.mjpg", "/api/v1/events"}) {
        open.push_back(std::make_unique<RawClient>(port));
        open.back()->send(request("GET", path));
        EXPECT_EQ(open.back()->answer(false).status, 200);
    }
    RawClient half(port);
    half.send(request("PUT", "/api/v1/mode", "Content-Length: 100\r\n"));
    const auto begin = std::chrono::steady_clock::now();
    server->stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
    for (const auto& client : open) {
        EXPECT_TRUE(client->ended(1));
    }
    EXPECT_TRUE(half.ended(1));
}

TEST_F(Daemon, StoppedItTellsWhoStillWaitsForAnAnswer) {
    start(false);
    std::promise<void> held;
    camera.submit({{}, host::Save{}}, [&](const host::Outcome&) { held.get_future().wait(); });
    RawClient waits(port);
    waits.send(request("PUT", "/api/v1/parameters/34", "", R"({"value":60})"));
    EXPECT_FALSE(waits.readUntil("HTTP", 0.2));
    server->stop();
    EXPECT_EQ(waits.answer().status, 503);
    held.set_value(); // its own answer comes too late, and harms nobody
}

} // namespace
