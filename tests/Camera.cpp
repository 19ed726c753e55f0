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
    write("/hd1/moduleConfig/sensorConfig/style/Style.xml", style.str());
    write("/hd1/moduleConfig/sensorConfig/styleDiversity/StyleDiversity.xml", "<none/>");
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

std::string Camera::plain(const std::string& text) {
    static const std::regex colour("\033\\[[0-9]+m");
    static const std::regex line(" line:[0-9]+");
    return std::regex_replace(std::regex_replace(text, colour, ""), line, " line:0");
}
