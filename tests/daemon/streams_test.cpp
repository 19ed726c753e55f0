#include <chrono>
#include <thread>

#include "Daemon.h"
#include "JpegLuma.h"
#include "host/PictureHub.h"

namespace {

TEST_F(Daemon, ShowsThePictureThatAnotherSchemeWouldMake) {
    start(false);
    EXPECT_EQ(ask("PUT", "/api/v1/mode", "", R"({"mode":"manual"})").status, 200);
    EXPECT_EQ(ask("POST", "/api/v1/schemes/0/activate").status, 200);
    EXPECT_EQ(
        ask("PUT", "/api/v1/parameters/34", "", R"({"value":255,"scheme":1,"record":true})").status,
        200);
    const auto luma = [this](const std::string& query) {
        const Answer answer = ask("GET", "/picture.jpg" + query);
        EXPECT_EQ(answer.status, 200) << query << answer.body;
        int width = 0;
        int height = 0;
        return answer.status != 200
                   ? 0
                   : lumaOf(reinterpret_cast<const unsigned char*>(answer.body.data()),
                            answer.body.size(), width, height);
    };
    const double plain = luma("");
    EXPECT_NEAR(luma("?scheme=0"), plain, 10);
    EXPECT_GT(luma("?scheme=1"), plain + 40);
    RawClient video(port);
    video.send(request("GET", "/video.mjpg?scheme=1"));
    EXPECT_TRUE(video.readUntil("\xff\xd9\r\n--imgctl-picture", 5));
    // What the scheme gets while somebody watches is shown, and the camera itself never moved.
    EXPECT_EQ(
        ask("PUT", "/api/v1/parameters/34", "", R"({"value":0,"scheme":1,"record":true})").status,
        200);
    double seen = luma("?scheme=1");
    for (int i = 0; i < 50 && seen > plain - 40; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        seen = luma("?scheme=1");
    }
    EXPECT_LT(seen, plain - 40);
    EXPECT_NEAR(luma(""), plain, 10);
    for (const char* query : {"?scheme=5", "?scheme=-1", "?scheme=x", "?scheme="}) {
        EXPECT_EQ(ask("GET", std::string("/picture.jpg") + query).status, 404) << query;
    }
}

TEST_F(Daemon, GivesOnePictureToAllWhoAskAtATimeAndToNobodyUnasked) {
    start(false);
    RawClient clients[2] = {RawClient(port), RawClient(port)};
    for (RawClient& client : clients) {
        client.send(request("GET", "/picture.jpg"));
    }
    const std::string one = clients[0].answer().body;
    EXPECT_EQ(one, clients[1].answer().body);
    EXPECT_GT(one.size(), 1000U);
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    const auto taken = camera.pictures().captured();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(camera.pictures().captured(), taken);
    EXPECT_NE(ask("GET", "/picture.jpg").body, one) << "an old one is never begun";
}

TEST_F(Daemon, ShowsARealCameraOnlyToWhomItKnows) {
    imgctld::ServiceOptions options;
    options.pictureOpen = false;
    start(false, http::Limits(), options);
    for (const char* path : {"/picture.jpg", "/video.mjpg", "/picture.jpg?scheme=0"}) {
        EXPECT_EQ(ask("GET", path).status, 403) << path;
    }
}

TEST_F(Daemon, ShowsNoOtherSchemeOfALayerThatCannot) {
    layer = std::string("so:") + VENDOR_LAYER;
    start(false);
    for (const char* path : {"/picture.jpg?scheme=1", "/video.mjpg?scheme=1"}) {
        const Answer answer = ask("GET", path);
        EXPECT_EQ(answer.status, 501) << answer.body;
        EXPECT_NE(answer.body.find("what is in force"), std::string::npos) << answer.body;
    }
}

} // namespace
