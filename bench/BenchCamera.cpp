#include "BenchCamera.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "LinuxFramework.h"

namespace fs = std::filesystem;

unsigned long g_nLayerCalls = 0;

extern "C" int ia_ioctrl(unsigned int /*cmd*/, unsigned int /*opt*/, void* /*data*/) {
    ++g_nLayerCalls;
    return 0;
}

namespace {

/// The keys that are applied, from the map itself; a controller must have made it.
std::vector<u32> mapKeys() {
    static std::vector<u32> keys;
    if (keys.empty()) {
        for (int i = 0; i < g_nKeyCmdNum; ++i) {
            if (g_pKeyCmdMap[i].handler != nullptr)
                keys.push_back(g_pKeyCmdMap[i].key);
        }
    }
    return keys;
}

std::string control(u32 key, int items) {
    std::string text = "    <choice id=\"" + std::to_string(key) + "\" name=\"control" +
                       std::to_string(key) + "\" value=\"" +
                       (key == KEY_SCHEME_END_HOUR ? "24" : "0") + "\">\n";
    for (int i = 0; i < items; ++i)
        text += "      <item index=\"" + std::to_string(i) + "\" name=\"choice" +
                std::to_string(i) + "\"/>\n";
    return text + "    </choice>\n";
}

std::string styleText(size_t bytes) {
    std::string text;
    for (int items = 1; text.size() < bytes; ++items) {
        text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<style>\n  <tab key=\"scheme\">\n";
        for (u32 key = KEY_SCHEME_ENABLE; key <= KEY_SCHEME_END_MIN; ++key)
            text += control(key, 0);
        int tab = 0;
        int inTab = 0;
        for (const u32 key : mapKeys()) {
            if (inTab++ % 9 == 0)
                text += "  </tab>\n  <tab key=\"tab" + std::to_string(tab++) + "\">\n";
            text += control(key, items);
        }
        text += "  </tab>\n</style>\n";
    }
    return text;
}

/// 30 rules that leave the style as it was.
std::string rulesText() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<variant lens=\"motor\">\n";
    for (int i = 0; i < 10; ++i) {
        const std::string old = "tab" + std::to_string(i % 9);
        const std::string added = "added" + std::to_string(i);
        const std::string tab =
            "    <tab key=\"" + added + "\">\n" + control(1584, 2) + "    </tab>\n";
        text += "  <AddAfter tab_key=\"" + old + "\">\n" + tab + "  </AddAfter>\n";
        text += "  <Modify tab_key=\"" + added + "\">\n" + tab + "  </Modify>\n";
        text += "  <Delete tab_key=\"" + added + "\"/>\n";
    }
    return text + "</variant>\n";
}

} // namespace

BenchCamera::BenchCamera(size_t nStyleBytes, int nSchemes) {
    std::string pattern = fs::temp_directory_path() / "bench.XXXXXX";
    m_root = mkdtemp(pattern.data());
    fs::copy(IMGCTL_SOURCE_DIR "/device", m_root, fs::copy_options::recursive);
    linux_framework::setDeviceRoot(m_root);
    linux_framework::setClock(3, 0, 0, 1e6);
    module.setDetail("(max_scheme=" + std::to_string(nSchemes) + ")(lens=motor)");
    const auto first = makeController();
    first->init(module); // makes the map, whose keys the style gets
    write(g_strBenchStyle, styleText(nStyleBytes));
    write(std::string(sensor_paths::kStyleRules) + "/StyleDiversity.xml", rulesText());
    write(sensor_paths::kVersionFile, "none"); // lets the scheme files be made anew
    first->init(module);
    first->uinit();
}

BenchCamera::~BenchCamera() {
    if (controller)
        controller->uinit();
    fs::remove_all(m_root);
}

std::unique_ptr<ISensorController> BenchCamera::makeController() {
    auto made = std::make_unique<ISensorController>();
    made->setParamMode(0);
    return made;
}

void BenchCamera::start() {
    controller = makeController();
    controller->init(module);
    controller->setParamScheme(0);
}

void BenchCamera::write(const std::string& devicePath, const std::string& text) const {
    std::ofstream(path(devicePath), std::ios::binary | std::ios::trunc) << text;
}

std::vector<KeyVal> BenchCamera::records(u32 value) {
    std::vector<KeyVal> list;
    for (u32 key = KEY_SCHEME_ENABLE; key <= KEY_SCHEME_END_MIN; ++key)
        list.push_back(KeyVal{key, value});
    for (const u32 key : mapKeys())
        list.push_back(KeyVal{key, value});
    return list;
}
