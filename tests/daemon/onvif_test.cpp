#include <cstdio>
#include <ctime>

#include "Daemon.h"
#include "Layer.h"
#include "SensorKeys.h"
#include "host/Xml.h"
#include "host/access/Secrets.h"
#include "onvif/ImagingFields.h"
#include "onvif/Login.h"

namespace {

using access_control::Accounts;
using access_control::Role;
using onvif::Login;

/// A nonce is remembered for as long as a login with it could be in time, and none is forgotten to
/// make room.
TEST(OnvifLogin, NoNonceIsTakenTwice) {
    Accounts accounts;
    accounts.onvif.push_back({"nvr", Role::Viewer, "secret"});
    const std::string created = "2026-11-23T05:00:00Z";
    const long long time = *onvif::readTime(created);
    const auto start = Login::Monotonic() + std::chrono::hours(1);
    Login login;
    const auto attempt = [&](int number, long long shift, int seconds) {
        const std::string nonce(reinterpret_cast<const char*>(&number), sizeof number);
        onvif::UsernameToken token;
        token.user = "nvr";
        token.digest = true;
        token.nonce = access_control::secrets::base64(nonce);
        token.created = created;
        token.password = access_control::secrets::sha1Base64(nonce + created + "secret");
        access_control::OnvifUser user;
        const auto fault = login.check(token, accounts, false, time + shift,
                                       start + std::chrono::seconds(seconds), user);
        return !fault ? 0U : onvif::statusOf(*fault);
    };
    EXPECT_EQ(attempt(0, -Login::kWindow, 0), 0U);
    EXPECT_EQ(attempt(0, Login::kWindow, 2 * Login::kWindow), 400U) << "until it is too old";
    EXPECT_EQ(attempt(1, Login::kWindow + 1, 0), 400U);
    EXPECT_EQ(attempt(1, -Login::kWindow - 1, 0), 400U);
    for (int i = 1; i < static_cast<int>(Login::kMostNonces); ++i) {
        ASSERT_EQ(attempt(i, 0, 1), 0U) << i;
    }
    EXPECT_EQ(attempt(-1, 0, 1), 503U) << "as many as are remembered";
    EXPECT_EQ(attempt(0, 0, 1), 503U);
    EXPECT_EQ(attempt(-1, 0, 2 * Login::kWindow + 2), 0U) << "room again";
}

TEST(OnvifLogin, TimesAreReadAsTheSchemaWritesThem) {
    const struct {
        const char* text;
        long long seconds;
    } rows[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2000-02-29T23:59:59.999Z", 951868799},
        {"2000-03-01T00:59:59+01:00", 951868799},
        {"2000-02-29T18:29:59-05:30", 951868799},
        {"2000-02-29T23:59:59", 951868799},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(onvif::readTime(row.text), row.seconds) << row.text;
    }
    for (const char* text :
         {"", "2000-02-29", "2000-02-29 23:59:59Z", "2000-2-29T23:59:59Z", "2000-13-29T23:59:59Z",
          "2000-02-29T23:59:59Zx", "2000-02-29T23:59:59+1:00", "2000-02-29T23:59:59+"}) {
        EXPECT_EQ(onvif::readTime(text), std::nullopt) << text;
    }
}

/// A Linux camera's numbers and menus are the driver's: a shutter in steps of 100 us, an exposure
/// mode without a plain automatic, gains in fives, no white balance.
TEST_F(Daemon, OnvifTellsTheRangesOfTheVeryCamera) {
    start();
    host::Snapshot driven = *camera.snapshot();
    const auto change = [&driven](u32 key, const host::Limits& limits, const char* unit,
                                  bool supported, int value) {
        host::Value& to = driven.values[driven.catalogue->indexOf(key)];
        auto state = std::make_shared<image_adjust::CommandState>();
        state->unit = unit;
        state->supported = supported;
        to.state = state;
        to.limits = limits;
        to.stored = value;
    };
    change(KEY_FIX_SHUTTER, {3, 2047, 1, {}}, "100 us", true, 156);
    change(KEY_EXPOSE_MODE, {1, 3, 1, {1, 3}}, "", true, 1);
    change(KEY_FIX_GAIN, {-100, 2000000000, 5, {}}, "", true, 0);
    change(KEY_WB_MODE, {0, 1, 1, {}}, "", false, 0);
    onvif::Element answer;
    onvif::addOptions(driven, answer.add("ImagingOptions"));
    std::string xml;
    std::string problem;
    ASSERT_TRUE(onvif::answerDocument(onvif::Service::Imaging, "GetOptions", answer, xml, problem))
        << problem;
    for (const char* part : {"<tt:ExposureTime><tt:Min>300</tt:Min><tt:Max>204700</tt:Max>",
                             "<tt:Mode>MANUAL</tt:Mode><tt:Mode>AUTO</tt:Mode>"}) {
        EXPECT_NE(xml.find(part), std::string::npos) << part << '\n' << xml;
    }
    EXPECT_EQ(xml.find("WhiteBalance"), std::string::npos) << xml;
    const struct {
        const char* element;
        const char* text;
        int value; ///< 0: refused
        u32 key;
    } rows[] = {
        {"Mode", "AUTO", 3, KEY_EXPOSE_MODE},
        {"ExposureTime", "1240", 12, KEY_FIX_SHUTTER},
        {"ExposureTime", "204700", 2047, KEY_FIX_SHUTTER},
        {"ExposureTime", "204900", 0, 0},
        {"Gain", "1999999998", 2000000000, KEY_FIX_GAIN},
        {"Gain", "12.4", 10, KEY_FIX_GAIN},
    };
    for (const auto& row : rows) {
        char text[100];
        std::snprintf(text, sizeof text, "<s><Exposure><%s>%s</%s></Exposure></s>", row.element,
                      row.text, row.element);
        TiXmlDocument document;
        ASSERT_TRUE(host::parseXml(text, document));
        std::vector<host::Pair> pairs;
        const bool refused =
            onvif::readSettings(driven, *document.RootElement(), pairs).has_value();
        EXPECT_EQ(refused, row.value == 0) << row.text;
        ASSERT_EQ(pairs.size(), refused ? 0U : 1U) << row.text;
        if (!refused) {
            EXPECT_EQ(pairs[0].key, row.key);
            EXPECT_EQ(pairs[0].value, row.value);
        }
    }
}

/// Where it is not asked for, it is not there; where it is, the rules of every address hold.
TEST_F(Daemon, OnvifIsServedWhereItIsAskedFor) {
    const std::string type = "Content-Type: application/soap+xml; charset=utf-8\r\n";
    const std::string question =
        "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'><e:Body>"
        "<GetServices xmlns='http://www.onvif.org/ver10/device/wsdl'/></e:Body></e:Envelope>";
    imgctld::ServiceOptions options;
    options.onvif = true;
    options.pictureOpen = false;
    start(true, http::Limits(), options);
    const std::string path = "/onvif/device_service";
    const Answer answer = ask("POST", path, type + "Host: camera.local:99\r\n", question);
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find("<tds:XAddr>http://camera.local:99/onvif/media_service</tds:XAddr>"),
              std::string::npos)
        << answer.body;
    const struct {
        const char* method;
        const char* path;
        std::string headers;
        int status;
    } rows[] = {
        {"GET", "/onvif/device_service", "", 405},
        {"POST", "/onvif/other_service", "", 404},
        {"POST", "/onvif/device_service", "Content-Type: text/plain\r\n", 415},
        {"POST", "/onvif/device_service", type + "Host: evil.example\r\n", 421},
        {"POST", "/onvif/device_service", type + "Origin: http://evil.example\r\n", 403},
        {"POST", "/onvif/video.mjpg", type, 405},
        {"GET", "/onvif/video.mjpg", as("viewer"), 401},
        {"GET", "/onvif/snapshot.jpg?ticket=", "", 401},
    };
    for (const auto& row : rows) {
        const bool post = std::string(row.method) == "POST";
        EXPECT_EQ(ask(row.method, row.path, row.headers, post ? question : "").status, row.status)
            << row.method << ' ' << row.path << ' ' << row.headers;
    }
}

TEST_F(Daemon, OnvifIsNotServedUnasked) {
    start();
    EXPECT_EQ(ask("POST", "/onvif/device_service", "", "x").status, 404);
    EXPECT_EQ(ask("GET", "/onvif/snapshot.jpg").status, 404);
}

} // namespace
