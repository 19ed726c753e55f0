#include <algorithm>
#include <iterator>

#include "Homes_family.h"
#include "Homes_plain.h"
#include "Homes_stream.h"

namespace image_adjust::v4l2 {
namespace {

struct NamedControl {
    unsigned int id;
    const char* name;
};
#define CONTROL(id) \
    { id, #id }
constexpr NamedControl namedControls[] = {
    CONTROL(V4L2_CID_BRIGHTNESS),
    CONTROL(V4L2_CID_CONTRAST),
    CONTROL(V4L2_CID_SATURATION),
    CONTROL(V4L2_CID_AUTO_WHITE_BALANCE),
    CONTROL(V4L2_CID_RED_BALANCE),
    CONTROL(V4L2_CID_BLUE_BALANCE),
    CONTROL(V4L2_CID_GAMMA),
    CONTROL(V4L2_CID_AUTOGAIN),
    CONTROL(V4L2_CID_GAIN),
    CONTROL(V4L2_CID_HFLIP),
    CONTROL(V4L2_CID_VFLIP),
    CONTROL(V4L2_CID_WHITE_BALANCE_TEMPERATURE),
    CONTROL(V4L2_CID_SHARPNESS),
    CONTROL(V4L2_CID_BACKLIGHT_COMPENSATION),
    CONTROL(V4L2_CID_COLORFX),
    CONTROL(V4L2_CID_ILLUMINATORS_1),
    CONTROL(V4L2_CID_EXPOSURE_AUTO),
    CONTROL(V4L2_CID_EXPOSURE_ABSOLUTE),
    CONTROL(V4L2_CID_EXPOSURE_AUTO_PRIORITY),
    CONTROL(V4L2_CID_FOCUS_ABSOLUTE),
    CONTROL(V4L2_CID_FOCUS_RELATIVE),
    CONTROL(V4L2_CID_FOCUS_AUTO),
    CONTROL(V4L2_CID_ZOOM_ABSOLUTE),
    CONTROL(V4L2_CID_ZOOM_CONTINUOUS),
    CONTROL(V4L2_CID_IRIS_ABSOLUTE),
    CONTROL(V4L2_CID_IRIS_RELATIVE),
    CONTROL(V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE),
    CONTROL(V4L2_CID_WIDE_DYNAMIC_RANGE),
    CONTROL(V4L2_CID_IMAGE_STABILIZATION),
    CONTROL(V4L2_CID_ISO_SENSITIVITY),
    CONTROL(V4L2_CID_ISO_SENSITIVITY_AUTO),
    CONTROL(V4L2_CID_EXPOSURE_METERING),
    CONTROL(V4L2_CID_AUTO_FOCUS_START),
    CONTROL(V4L2_CID_AUTO_FOCUS_STOP),
    CONTROL(V4L2_CID_AUTO_FOCUS_STATUS),
    CONTROL(V4L2_CID_FLASH_LED_MODE),
    CONTROL(V4L2_CID_FLASH_TORCH_INTENSITY),
    CONTROL(V4L2_CID_ANALOGUE_GAIN),
};
#undef CONTROL

bool isOn(int value) {
    return value != 0;
}
bool isNotManualExposure(int mode) {
    return mode == V4L2_EXPOSURE_AUTO || mode == V4L2_EXPOSURE_APERTURE_PRIORITY;
}
bool isIrisAutomatic(int mode) {
    return mode == V4L2_EXPOSURE_AUTO || mode == V4L2_EXPOSURE_SHUTTER_PRIORITY;
}
bool isIsoAutomatic(int value) {
    return value == V4L2_ISO_SENSITIVITY_AUTO;
}
bool isFull(int value) {
    return value != V4L2_WHITE_BALANCE_MANUAL;
}

/// A command that is one control, and who may hold it.
struct Row {
    unsigned int cmd;
    unsigned int control;
    unsigned int holder; ///< 0 for none
    bool (*holds)(int value);
    unsigned int holderCommand;
    const char* why;
    const char* unit;
    bool moves;
};
constexpr char automaticWhite[] = "automatic white balance is on";
constexpr char automaticGain[] = "automatic gain is on";
constexpr char automaticFocus[] = "automatic focus is on";
constexpr char automaticIris[] = "the exposure mode makes the iris automatic";
// Of several rows of a command the first whose control is there counts.
constexpr Row rows[] = {
    {34, V4L2_CID_BRIGHTNESS, 0, nullptr, 0, "", "", false},
    {50, V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CID_EXPOSURE_AUTO, isNotManualExposure, 16,
     "automatic exposure is on", "100 us", false},
    {66, V4L2_CID_GAIN, V4L2_CID_AUTOGAIN, isOn, 16, automaticGain, "", false},
    {66, V4L2_CID_ANALOGUE_GAIN, V4L2_CID_AUTOGAIN, isOn, 16, automaticGain, "", false},
    {66, V4L2_CID_ISO_SENSITIVITY, V4L2_CID_ISO_SENSITIVITY_AUTO, isIsoAutomatic, 16, automaticGain,
     "ISO", false},
    {82, V4L2_CID_IRIS_ABSOLUTE, V4L2_CID_EXPOSURE_AUTO, isIrisAutomatic, 16, automaticIris, "",
     false},
    {96, V4L2_CID_EXPOSURE_METERING, 0, nullptr, 0, "", "", false},
    {160, V4L2_CID_ILLUMINATORS_1, 0, nullptr, 0, "", "", false},
    {163, V4L2_CID_FLASH_TORCH_INTENSITY, 0, nullptr, 0, "", "mA", false},
    {770, V4L2_CID_RED_BALANCE, V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE, isFull, 768, automaticWhite,
     "", false},
    {770, V4L2_CID_RED_BALANCE, V4L2_CID_AUTO_WHITE_BALANCE, isOn, 768, automaticWhite, "", false},
    {771, V4L2_CID_BLUE_BALANCE, V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE, isFull, 768, automaticWhite,
     "", false},
    {771, V4L2_CID_BLUE_BALANCE, V4L2_CID_AUTO_WHITE_BALANCE, isOn, 768, automaticWhite, "", false},
    {1552, V4L2_CID_FOCUS_ABSOLUTE, V4L2_CID_FOCUS_AUTO, isOn, 1536, automaticFocus, "", true},
    {1568, V4L2_CID_ZOOM_ABSOLUTE, 0, nullptr, 0, "", "", true},
    {2321, V4L2_CID_SHARPNESS, 0, nullptr, 0, "", "", false},
    {2337, V4L2_CID_SATURATION, 0, nullptr, 0, "", "", false},
    {2353, V4L2_CID_CONTRAST, 0, nullptr, 0, "", "", false},
    {2368, V4L2_CID_WIDE_DYNAMIC_RANGE, 0, nullptr, 0, "", "", false},
    {2416, V4L2_CID_IMAGE_STABILIZATION, 0, nullptr, 0, "", "", false},
    {2528, V4L2_CID_GAMMA, 0, nullptr, 0, "", "", false},
};

constexpr MappedHome::Pair focusModes[] = {{0, 1, "automatic"}, {1, 0, "manual"}, {0, 0, nullptr}};
// Light that has no number of its own reads as the kind next to it.
constexpr MappedHome::Pair whiteBalances[] = {{0, V4L2_WHITE_BALANCE_AUTO, "automatic"},
                                              {1, V4L2_WHITE_BALANCE_MANUAL, "manual"},
                                              {2, V4L2_WHITE_BALANCE_DAYLIGHT, "daylight"},
                                              {3, V4L2_WHITE_BALANCE_CLOUDY, "cloudy"},
                                              {4, V4L2_WHITE_BALANCE_FLUORESCENT, "fluorescent"},
                                              {5, V4L2_WHITE_BALANCE_INCANDESCENT, "incandescent"},
                                              {2, V4L2_WHITE_BALANCE_FLASH, "daylight"},
                                              {3, V4L2_WHITE_BALANCE_SHADE, "cloudy"},
                                              {4, V4L2_WHITE_BALANCE_FLUORESCENT_H, "fluorescent"},
                                              {5, V4L2_WHITE_BALANCE_HORIZON, "incandescent"},
                                              {0, 0, nullptr}};
constexpr MappedHome::Pair lampModes[] = {
    {0, V4L2_FLASH_LED_MODE_NONE, "off"}, {1, V4L2_FLASH_LED_MODE_TORCH, "on"}, {0, 0, nullptr}};

/// Collects the homes that a device has.
class Maker {
public:
    explicit Maker(Device& device) : m_device(device) {}

    std::vector<std::unique_ptr<Home>> make() {
        for (const Row& row : rows) {
            addRow(row);
        }
        addExposure();
        addWhiteBalance();
        addLight();
        addFlips();
        addLens();
        addStream();
        return std::move(m_homes);
    }

private:
    Control* find(unsigned int id) const { return m_device.find(id); }

    /// A speed that goes both ways and can be taken back; some drivers know
    /// but one way, and no end.
    Control* findDrive(unsigned int id) const {
        Control* drive = find(id);
        return drive != nullptr && drive->takes(-1) && drive->takes(0) && drive->takes(1) ? drive
                                                                                          : nullptr;
    }

    bool has(unsigned int cmd) const {
        return std::any_of(m_homes.begin(), m_homes.end(),
                           [cmd](const auto& home) { return home->cmd() == cmd; });
    }

    template <class Kind, class... Arguments>
    void add(Arguments&&... arguments) {
        m_homes.push_back(std::make_unique<Kind>(std::forward<Arguments>(arguments)...));
    }

    void addRow(const Row& row) {
        Control* control = find(row.control);
        const Control* holder = row.holder != 0 ? find(row.holder) : nullptr;
        // The row behind may have a holder where this one has none.
        const bool better = row.holder == V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE && holder == nullptr;
        if (control == nullptr || has(row.cmd) || better) {
            return;
        }
        const Holder who = {holder, row.holds, holder != nullptr ? row.holderCommand : 0, row.why};
        if (row.moves) {
            add<PositionHome>(row.cmd, m_device, *control, who, row.unit);
        } else {
            add<ControlHome>(row.cmd, m_device, *control, who, row.unit);
        }
    }

    void addMapped(unsigned int cmd, Control* control, const MappedHome::Pair* pairs) {
        if (control != nullptr && !has(cmd)) {
            auto home = std::make_unique<MappedHome>(cmd, m_device, *control, pairs);
            if (!home->isEmpty()) {
                m_homes.push_back(std::move(home));
            }
        }
    }

    void addOrder(unsigned int cmd, const OrderHome::Plan& plan, const Holder& holder) {
        if (plan.control != nullptr) {
            add<OrderHome>(cmd, m_device, plan, holder);
        }
    }

    void addExposure() {
        Control* mode = find(V4L2_CID_EXPOSURE_AUTO);
        if (mode != nullptr && mode->menu.empty()) {
            mode = nullptr;
        }
        Control* gain = find(V4L2_CID_AUTOGAIN);
        Control* iso = gain == nullptr ? find(V4L2_CID_ISO_SENSITIVITY_AUTO) : nullptr;
        if (gain != nullptr) {
            add<ExposureModeHome>(m_device, mode, gain, 1, 0);
        } else if (iso != nullptr) {
            add<ExposureModeHome>(m_device, mode, iso, V4L2_ISO_SENSITIVITY_AUTO,
                                  V4L2_ISO_SENSITIVITY_MANUAL);
        } else if (mode != nullptr) {
            add<ExposureModeHome>(m_device, mode, nullptr, 1, 0);
        }
        Control* priority = find(V4L2_CID_EXPOSURE_AUTO_PRIORITY);
        if (priority != nullptr) {
            add<ExposurePriorityHome>(m_device, *priority);
        }
        Control* iris = find(V4L2_CID_IRIS_ABSOLUTE);
        Control* step = find(V4L2_CID_IRIS_RELATIVE);
        if (iris == nullptr && step == nullptr) {
            return;
        }
        if (mode != nullptr) {
            add<IrisSwitchHome>(*mode);
        }
        const Holder holder = {mode, isIrisAutomatic, mode != nullptr ? 16U : 0U, automaticIris};
        for (const int sign : {1, -1}) {
            const auto way = step != nullptr ? OrderHome::Way::Nudge : OrderHome::Way::Step;
            addOrder(sign > 0 ? 83 : 84,
                     {step != nullptr ? step : iris, way, sign, nullptr, nullptr, nullptr}, holder);
        }
    }

    void addWhiteBalance() {
        addMapped(768, find(V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE), whiteBalances);
        Control* automatic = find(V4L2_CID_AUTO_WHITE_BALANCE);
        Control* temperature = find(V4L2_CID_WHITE_BALANCE_TEMPERATURE);
        if (!has(768) && (automatic != nullptr || temperature != nullptr)) {
            add<WhiteBalanceHome>(m_device, automatic, temperature);
        }
    }

    void addLight() {
        addMapped(160, find(V4L2_CID_FLASH_LED_MODE), lampModes);
        Control* backlight = find(V4L2_CID_BACKLIGHT_COMPENSATION);
        if (backlight == nullptr || backlight->isMenu() || backlight->min >= backlight->max) {
            return;
        }
        auto light = std::make_shared<Backlight>(m_device, *backlight);
        add<BacklightSwitchHome>(light);
        if (0LL + backlight->max - backlight->min > backlight->step) {
            add<BacklightStrengthHome>(light);
        }
    }

    void addFlips() {
        auto flips = std::make_shared<Flips>(m_device, find(V4L2_CID_HFLIP), find(V4L2_CID_VFLIP));
        if (flips->across != nullptr || flips->upsideDown != nullptr) {
            add<FlipHome>(2384U, flips);
        }
        if (flips->across != nullptr && flips->upsideDown != nullptr) {
            add<FlipHome>(2385U, flips);
        }
    }

    void addLens() {
        Control* automatic = find(V4L2_CID_FOCUS_AUTO);
        addMapped(1536, automatic, focusModes);
        addOrder(1539,
                 {find(V4L2_CID_AUTO_FOCUS_START), OrderHome::Way::Button, 0,
                  find(V4L2_CID_AUTO_FOCUS_STOP), find(V4L2_CID_AUTO_FOCUS_STATUS), nullptr},
                 {nullptr, isOn, 0, ""});
        Control* focus = find(V4L2_CID_FOCUS_ABSOLUTE);
        Control* focusDrive = focus == nullptr ? findDrive(V4L2_CID_FOCUS_RELATIVE) : nullptr;
        const Holder holder = {automatic, isOn, automatic != nullptr ? 1536U : 0U, automaticFocus};
        for (const int sign : {1, -1}) {
            const auto way = focus != nullptr ? OrderHome::Way::Step : OrderHome::Way::Drive;
            addOrder(sign > 0 ? 1553 : 1554,
                     {focus != nullptr ? focus : focusDrive, way, sign, nullptr, nullptr, nullptr},
                     holder);
        }
        Control* zoom = find(V4L2_CID_ZOOM_ABSOLUTE);
        Control* zoomDrive = findDrive(V4L2_CID_ZOOM_CONTINUOUS);
        const std::atomic<int>* speed = nullptr;
        if (zoomDrive != nullptr) {
            auto store = std::make_shared<std::atomic<int>>(1);
            Values speeds;
            speeds.min = 1;
            speeds.max = zoomDrive->max;
            speeds.defaultValue = 1;
            speed = store.get();
            add<OwnedHome>(1571U, speeds, std::move(store), zoomDrive->id);
        }
        for (const int sign : {1, -1}) {
            const auto way = zoomDrive != nullptr ? OrderHome::Way::Drive : OrderHome::Way::Step;
            addOrder(sign > 0 ? 1569 : 1570,
                     {zoomDrive != nullptr ? zoomDrive : zoom, way, sign, nullptr, nullptr, speed},
                     {nullptr, isOn, 0, ""});
        }
    }

    void addStream() {
        auto rate = std::make_unique<FrameRateHome>(m_device);
        if (!rate->isEmpty()) {
            m_homes.push_back(std::move(rate));
        }
        auto window = std::make_shared<Window>(m_device);
        if (!window->open()) {
            return;
        }
        for (const unsigned int cmd : {1584U, 2436U, 2439U}) {
            add<WindowHome>(cmd, window);
        }
        const struct {
            unsigned int cmd;
            int min, max, defaultValue;
        } stored[] = {{2432, 0, 1, 0},
                      {2433, 1, 32, 8},
                      {2434, 0, window->spareAcross, 0},
                      {2435, 0, window->spareAcross, window->spareAcross},
                      {2437, 0, window->spareDown, 0},
                      {2438, 0, window->spareDown, window->spareDown}};
        for (std::size_t i = 0; i < std::size(stored); ++i) {
            Values values;
            values.min = stored[i].min;
            values.max = stored[i].max;
            values.defaultValue = stored[i].defaultValue;
            window->stored[i] = values.defaultValue;
            // The store lives as long as its window.
            add<OwnedHome>(stored[i].cmd, values,
                           std::shared_ptr<std::atomic<int>>(window, &window->stored[i]), 0U);
        }
    }

    /// A kept value that nobody else owns.
    class OwnedHome : public StoredHome {
    public:
        OwnedHome(unsigned int cmd, const Values& values, std::shared_ptr<std::atomic<int>> store,
                  unsigned int controlId)
            : StoredHome(cmd, values, *store), m_store(std::move(store)), m_control(controlId) {}
        std::string control() const override { return controlName(m_control); }

    private:
        std::shared_ptr<std::atomic<int>> m_store;
        unsigned int m_control;
    };

    Device& m_device;
    std::vector<std::unique_ptr<Home>> m_homes;
};

} // namespace

std::vector<std::unique_ptr<Home>> makeHomes(Device& device) {
    return Maker(device).make();
}

const std::vector<unsigned int>& knownControls() {
    static const std::vector<unsigned int> ids = [] {
        std::vector<unsigned int> all;
        for (const NamedControl& control : namedControls) {
            all.push_back(control.id);
        }
        std::sort(all.begin(), all.end());
        return all;
    }();
    return ids;
}

std::string controlName(unsigned int id) {
    const auto* found =
        std::find_if(std::begin(namedControls), std::end(namedControls),
                     [id](const NamedControl& control) { return control.id == id; });
    return found != std::end(namedControls) ? found->name : "";
}

bool isTabled(unsigned int cmd) {
    // What image signal processors have and no camera tells here.
    static constexpr unsigned int homeless[] = {
        65,   81,   85,   112,  113,  129,  161,  162,  164,  165,  166,  167,  176,  1537,
        1538, 1616, 2304, 2305, 2306, 2307, 2308, 2309, 2312, 2313, 2369, 2400, 2401, 2417};
    return std::find(std::begin(homeless), std::end(homeless), cmd) != std::end(homeless) ||
           !tabledControls(cmd).empty();
}

std::string tabledControls(unsigned int cmd) {
    static constexpr struct {
        unsigned int cmd;
        const char* text;
    } others[] = {
        {16, "V4L2_CID_EXPOSURE_AUTO, V4L2_CID_AUTOGAIN or V4L2_CID_ISO_SENSITIVITY_AUTO"},
        {49, "V4L2_CID_EXPOSURE_AUTO_PRIORITY"},
        {80, "V4L2_CID_EXPOSURE_AUTO"},
        {83, "V4L2_CID_IRIS_RELATIVE or V4L2_CID_IRIS_ABSOLUTE"},
        {84, "V4L2_CID_IRIS_RELATIVE or V4L2_CID_IRIS_ABSOLUTE"},
        {128, "V4L2_CID_BACKLIGHT_COMPENSATION"},
        {130, "V4L2_CID_BACKLIGHT_COMPENSATION"},
        {144, "V4L2_CID_COLORFX"},
        {160, "V4L2_CID_ILLUMINATORS_1 or V4L2_CID_FLASH_LED_MODE"},
        {768,
         "V4L2_CID_AUTO_N_PRESET_WHITE_BALANCE, or V4L2_CID_AUTO_WHITE_BALANCE and "
         "V4L2_CID_WHITE_BALANCE_TEMPERATURE"},
        {1536, "V4L2_CID_FOCUS_AUTO"},
        {1539, "V4L2_CID_AUTO_FOCUS_START"},
        {1553, "V4L2_CID_FOCUS_ABSOLUTE or V4L2_CID_FOCUS_RELATIVE"},
        {1554, "V4L2_CID_FOCUS_ABSOLUTE or V4L2_CID_FOCUS_RELATIVE"},
        {1569, "V4L2_CID_ZOOM_CONTINUOUS or V4L2_CID_ZOOM_ABSOLUTE"},
        {1570, "V4L2_CID_ZOOM_CONTINUOUS or V4L2_CID_ZOOM_ABSOLUTE"},
        {1571, "V4L2_CID_ZOOM_CONTINUOUS"},
        {2384, "V4L2_CID_HFLIP and V4L2_CID_VFLIP"},
        {2385, "V4L2_CID_HFLIP and V4L2_CID_VFLIP"},
        {2464, "VIDIOC_S_PARM"},
    };
    for (const auto& other : others) {
        if (other.cmd == cmd) {
            return other.text;
        }
    }
    if (cmd == 1584 || (cmd >= 2432 && cmd <= 2439)) {
        return "VIDIOC_S_SELECTION";
    }
    std::string text;
    unsigned int last = 0;
    for (const Row& row : rows) {
        if (row.cmd == cmd && row.control != last) {
            text += (text.empty() ? "" : " or ") + controlName(row.control);
            last = row.control;
        }
    }
    return text;
}

} // namespace image_adjust::v4l2
