#include "Camera.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "ImageAdjust.h"
#include "LinuxFramework.h"

namespace fs = std::filesystem;

#ifdef __SANITIZE_THREAD__
// Tests make many short-lived processes; each would otherwise wait a second at its end.
extern "C" const char* __tsan_default_options() {
    return "atexit_sleep_ms=0";
}
#endif

int RecordingVideo::notifySensorParam(int key, int value) const {
    const std::lock_guard<std::mutex> lock(mutex);
    told.emplace_back(key, value);
    const auto answer = answers.find(key);
    return answer == answers.end() ? 0 : answer->second;
}

Camera::Camera() {
    std::string pattern = fs::temp_directory_path() / "camera.XXXXXX";
    root = mkdtemp(pattern.data());
    fs::copy(IMGCTL_SOURCE_DIR "/device", root, fs::copy_options::recursive);
    linux_framework::setDeviceRoot(root);
    linux_framework::setClock(3, 0, 0, 1000);
    simulated_ia::reset();
    image_adjust::setLayer(simulated_ia::layer());
    simulated_ia::observe([this](const simulated_ia::Call& call) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
    });
    controller = std::make_unique<ISensorController>();
    controller->setVideoStreamModule(&video);
}

Camera::~Camera() {
    controller->uinit();
    controller.reset();
    simulated_ia::reset();
    linux_framework::useRealClock();
    linux_framework::setDeviceRoot("/");
    fs::remove_all(root);
}

void Camera::start(const std::string& detail) {
    module.setModuleId(3);
    module.setDetail(detail);
    EXPECT_TRUE(controller->init(module));
}

void Camera::writeStyle(const std::vector<KeyVal>& controls) {
    std::ostringstream style;
    style << "<style><tab key=\"scheme\">";
    for (unsigned int key = KEY_SCHEME_ENABLE; key <= KEY_SCHEME_END_MIN; ++key)
        style << "<control id=\"" << key << "\" value=\"0\"/>";
    style << "</tab><tab key=\"image\">";
    for (const KeyVal& kv : controls)
        style << "<control id=\"" << kv.key << "\" value=\"" << static_cast<int>(kv.value)
              << "\"/>";
    style << "</tab></style>";
    for (const char* kind : {"", "_dome"}) {
        const std::string folder = "/hd1/moduleConfig/sensorConfig/style";
        write(folder + "/Style" + kind + ".xml", style.str());
        write(folder + "Diversity/StyleDiversity" + kind + ".xml", "<none/>");
    }
}

void Camera::write(const std::string& path, const std::string& text) {
    std::ofstream file(root + path, std::ios::binary | std::ios::trunc);
    file << text;
    EXPECT_TRUE(file.flush().good()) << path;
}

std::string Camera::read(const std::string& path) const {
    std::ifstream file(root + path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool Camera::exists(const std::string& path) const {
    return fs::exists(root + path);
}

void Camera::setDeviceType(int type) {
    write("/mnt/mtd/code/factory_setting/machineinfo.ini",
          "[machine]\ndeviceType=" + std::to_string(type) + "\nmodelName=test\n");
}

void Camera::setDebugLevel(int level) {
    write("/mnt/mtd/sign/Debug.sign", std::to_string(level) + "\n0\n");
}

std::vector<KeyVal> Camera::schemeFile(int scheme) const {
    const std::string bytes =
        read("/mnt/mtd/code/config_file/sensor" + std::to_string(scheme) + ".cfg");
    std::vector<KeyVal> records(bytes.size() / sizeof(KeyVal));
    memcpy(records.data(), bytes.data(), records.size() * sizeof(KeyVal));
    return records;
}

void Camera::writeSchemeFile(int scheme, const std::vector<KeyVal>& records) {
    write("/mnt/mtd/code/config_file/sensor" + std::to_string(scheme) + ".cfg",
          std::string(reinterpret_cast<const char*>(records.data()),
                      records.size() * sizeof(KeyVal)));
}

unsigned int Camera::stored(int scheme, unsigned int key) {
    unsigned int value = 0;
    EXPECT_NE(-1, controller->getKeyValFromCache(static_cast<unsigned int>(scheme), key, value))
        << "key " << key << " in scheme " << scheme;
    return value;
}

int Camera::layerValue(unsigned int cmd) {
    int value = 0;
    EXPECT_EQ(0, ia_ioctrl(cmd, IA_CMD_OPT_GET, &value)) << cmd;
    return value;
}

std::vector<std::string> Camera::calls() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> lines;
    for (const simulated_ia::Call& call : m_calls) {
        std::ostringstream line;
        line << call.cmd << ' ' << call.opt << ' ';
        for (size_t i = 0; i < call.in.size(); ++i)
            line << (i ? "," : "") << call.in[i];
        line << (call.in.empty() ? "- " : " ") << call.result;
        lines.push_back(line.str());
    }
    m_calls.clear();
    return lines;
}

std::vector<std::string> Camera::sets() {
    std::vector<std::string> lines;
    for (const std::string& line : calls()) {
        if (line.find(" 0 ") == line.find(' '))
            lines.push_back(line);
    }
    return lines;
}

size_t Camera::setCount() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    size_t count = 0;
    for (const simulated_ia::Call& call : m_calls)
        count += call.opt == IA_CMD_OPT_SET;
    return count;
}

void Camera::callMember(unsigned int member, Random& random) {
    ISensorController& c = *controller;
    const bool flag = random(2) != 0;
    const int scheme = static_cast<int>(random(6)) - 1;
    const int key = random(8) == 0 ? 4000 : random(2) != 0 ? 34 : 2384;
    const int value = static_cast<int>(random(key == 2384 ? 4 : 100));
    const std::string text = "(34," + std::to_string(random(100)) + ")(2337,7)(146,50)(8001,1)";
    KeyVal kv = {static_cast<u32>(key), static_cast<u32>(value)};
    keycmd row;
    std::string s;
    int i = 0;
    int j = 0;
    u32 u = random(6);
    switch (member) {
        case 0:
            c.setParameters(&kv, 1, flag);
            break;
        case 1:
            c.setParameters(text, flag);
            break;
        case 2:
            c.setParameter(key, value, flag);
            break;
        case 3:
            c.getParameter(key, i);
            break;
        case 4:
            c.getAllParameters(s);
            break;
        case 5:
            c.getParameters("(34,2337,x,145)", s);
            break;
        case 6:
            c.setParamMode(i & 1);
            break;
        case 7:
            c.getParamMode(i);
            break;
        case 8:
            c.setParamScheme(scheme);
            break;
        case 9:
            c.getParamScheme(i);
            break;
        case 10:
            c.switch_to(scheme, flag);
            break;
        case 11:
            c.LPR_switch_to(scheme);
            break;
        case 12:
            c.sensorThread();
            break;
        case 13:
            c.flush();
            break;
        case 14:
            c.restore(key);
            break;
        case 15:
            c.restoreAeMode();
            break;
        case 16:
            c.resetToLastParameters();
            break;
        case 17:
            c.setKeyValToCache(u, 34, random(100), flag);
            break;
        case 18:
            c.getKeyValFromCache(u, 34, u);
            break;
        case 19:
            c.isKeyValNewest(kv);
            break;
        case 20:
            c.findFromKeyCmdMap(g_pKeyCmdMap, u, row);
            break;
        case 21:
            c.getUIStyleFile();
            break;
        case 22:
            c.getUILanguageFile(0);
            break;
        case 23:
            c.getUICommonFile(0);
            break;
        case 24:
            c.judgeCurScheme(i, j);
            break;
        case 25:
            c.paramCheck();
            break;
        case 26:
            c.getMirrorValue(i);
            break;
        case 27:
            c.focusFar();
            break;
        case 28:
            c.focusNear();
            break;
        case 29:
            c.irisUp();
            break;
        case 30:
            c.irisDown();
            break;
        case 31:
            c.zoomIn();
            break;
        case 32:
            c.zoomOut();
            break;
        case 33:
            c.setZoomValue(20000);
            break;
        case 34:
            c.getZoomValue(i, j);
            break;
        case 35:
            c.setPTZRunState(0);
            break;
        case 36:
            c.setFocusValue(value);
            break;
        case 37:
            c.getFocusValue(i);
            break;
        case 38:
            c.getDNMode(i);
            break;
        case 39:
            c.getAFStatistic(u);
            break;
        case 40:
            c.getWDR(i);
            break;
        case 41:
            c.getCameraVerInf(s);
            break;
        case 42:
            c.getSensorType();
            break;
        case 43:
            if (random(20) == 0)
                c.resetParameters();
            break;
        default:
            ADD_FAILURE() << member;
    }
}

std::string Camera::plain(const std::string& text) {
    static const std::regex colour("\033\\[[0-9]+m");
    static const std::regex line(" line:[0-9]+");
    return std::regex_replace(std::regex_replace(text, colour, ""), line, " line:0");
}
