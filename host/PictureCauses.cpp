#include "host/PictureCauses.h"

#include <algorithm>
#include <cctype>

#include "SensorKeys.h"
#include "host/Names.h"

namespace host {
namespace {

enum class How {
    Low,  ///< the more, the farther below the neutral value
    High, ///< the more, the farther above
    Is,   ///< at one value
    Not,  ///< at any but one, which is neutral
};

enum class When {
    Always,
    Night,        ///< known to be night
    PerhapsNight, ///< not known to be day
};

/// What a key has to do with a look.
struct Row {
    u32 key;
    Look look;
    How how;
    int value;   ///< of Is and Not
    int neutral; ///< of Is and Not; else the factory value is, or the middle of the range
    double weight;
    When when;
    const char* effect; ///< "less of it ..."
};

constexpr Look dark = Look::Dark;
constexpr Look bright = Look::Bright;
constexpr Look grey = Look::Grey;
constexpr Look blurred = Look::Blurred;
constexpr Look noisy = Look::Noisy;

// Values of choices, which are the layer's and the same on every camera.
constexpr int kAutomatic = 0;
constexpr int kManual = 1;
constexpr int kDay = 1;
constexpr int kNight = 2;
constexpr int kByClock = 3;
constexpr int kGammaLow = 1;
constexpr int kGammaHigh = 3;

constexpr Row level(u32 key, Look look, How how, double weight, const char* effect,
                    When when = When::Always) {
    return {key, look, how, 0, 0, weight, when, effect};
}
constexpr Row at(u32 key, Look look, int value, int neutral, double weight, const char* effect,
                 When when = When::Always) {
    return {key, look, How::Is, value, neutral, weight, when, effect};
}

// Shutters count as levels: the higher, the shorter.
constexpr Row kRows[] = {
    level(KEY_BRIGHTNESS, dark, How::Low, 1.0, "less of it darkens the whole picture"),
    level(KEY_FIX_GAIN, dark, How::Low, 1.0, "less amplification darkens the picture"),
    level(KEY_FIX_SHUTTER, dark, How::High, 1.0, "a shorter exposure darkens the picture"),
    level(KEY_MAX_SHUTTER, dark, How::High, 0.8,
          "by little light the exposure may not grow longer"),
    level(KEY_MAX_GAIN, dark, How::Low, 0.8, "by little light the picture is amplified no further"),
    level(KEY_IRIS_SIZE, dark, How::Low, 0.8, "a smaller opening lets in less light"),
    level(KEY_IRIS_POSITION, dark, How::Low, 0.7, "a closed iris lets in less light"),
    at(KEY_IR_SWITCH, dark, 0, 1, 0.7, "by night no lamp lights the scene", When::PerhapsNight),
    at(KEY_HLC_SWITCH, dark, 1, 0, 0.6, "masking glaring lights darkens the picture"),
    at(KEY_EXPOSE_MODE, dark, kManual, kAutomatic, 0.5, "the exposure does not follow the light"),
    at(KEY_GAMMA, dark, kGammaLow, kAutomatic, 0.5, "a low curve darkens the middle tones"),
    at(KEY_DN_MODE, dark, kDay, kAutomatic, 0.4, "by little light it never turns to night"),
    level(KEY_IR_AUTO_STRG_NEAR, dark, How::Low, 0.3, "the lamp lights what is near less",
          When::PerhapsNight),
    level(KEY_IR_MANUAL_STRG_NEAR, dark, How::Low, 0.3, "the lamp lights what is near less",
          When::PerhapsNight),
    level(KEY_IR_AUTO_STRG_MEDIUM, dark, How::Low, 0.3, "the lamp lights the middle less",
          When::PerhapsNight),
    level(KEY_IR_MANUAL_STRG_MEDIUM, dark, How::Low, 0.3, "the lamp lights the middle less",
          When::PerhapsNight),
    level(KEY_IR_AUTO_STRG_FAR, dark, How::Low, 0.3, "the lamp lights what is far less",
          When::PerhapsNight),
    level(KEY_IR_MANUAL_STRG_FAR, dark, How::Low, 0.3, "the lamp lights what is far less",
          When::PerhapsNight),
    level(KEY_HLC_STRG, dark, How::High, 0.3, "masking glaring lights more darkens the picture"),
    at(KEY_DEFLG_SWITCH, dark, 1, 0, 0.3, "clearing fog darkens the picture"),
    level(KEY_CONTRAST, dark, How::High, 0.3, "more of it darkens what is dark already"),
    level(KEY_DTN_THR, dark, How::Low, 0.2, "night, with its lamp, comes only by less light"),
    {KEY_METER_AREA, dark, How::Not, 0, 0, 0.2, When::Always,
     "the exposure goes by one part, and where that is bright the rest is dark"},

    level(KEY_BRIGHTNESS, bright, How::High, 1.0, "more of it brightens the whole picture"),
    level(KEY_FIX_GAIN, bright, How::High, 1.0, "more amplification brightens the picture"),
    level(KEY_FIX_SHUTTER, bright, How::Low, 1.0, "a longer exposure brightens the picture"),
    level(KEY_IRIS_POSITION, bright, How::High, 0.7, "an open iris lets in more light"),
    at(KEY_BLC_SWITCH, bright, 1, 0, 0.6,
       "the exposure is for a subject before a bright background"),
    at(KEY_EXPOSE_MODE, bright, kManual, kAutomatic, 0.5, "the exposure does not follow the light"),
    at(KEY_IRIS_SWITCH, bright, 0, 1, 0.5, "the iris does not close by much light"),
    at(KEY_GAMMA, bright, kGammaHigh, kAutomatic, 0.5, "a high curve brightens the middle tones"),
    at(KEY_DN_MODE, bright, kNight, kAutomatic, 0.5, "by day it stays night"),
    level(KEY_IRIS_SIZE, bright, How::High, 0.4, "a larger opening lets in more light"),
    level(KEY_BLC_STRG, bright, How::High, 0.3, "the subject's background is brightened more"),
    level(KEY_IR_MANUAL_STRG_NEAR, bright, How::High, 0.3, "the lamp dazzles what is near",
          When::PerhapsNight),
    at(KEY_WDR_MODE, bright, 1, 0, 0.2, "dark parts are brightened"),
    {KEY_METER_AREA, bright, How::Not, 0, 0, 0.2, When::Always,
     "the exposure goes by one part, and where that is dark the rest is too bright"},

    level(KEY_SATURATION, grey, How::Low, 1.0, "less of it takes colour away"),
    at(KEY_DN_MODE, grey, kNight, kDay, 1.0, "it is always night, and night has no colour"),
    at(KEY_DN_MODE, grey, kAutomatic, kDay, 0.9, "the light made it night, and night has no colour",
       When::Night),
    at(KEY_DN_MODE, grey, kByClock, kDay, 0.9, "the clock made it night, and night has no colour",
       When::Night),
    level(KEY_DTN_THR, grey, How::High, 0.4, "night comes by more light"),
    level(KEY_NTD_THR, grey, How::High, 0.4, "day comes back only by more light"),
    level(KEY_CONTRAST, grey, How::Low, 0.4, "less of it draws dark and bright together"),
    at(KEY_GAMMA, grey, kGammaHigh, kAutomatic, 0.3, "a high curve makes the picture flat"),
    at(KEY_WDR_MODE, grey, 1, 0, 0.2, "drawing dark and bright together makes the picture flat"),
    level(KEY_WDR_STRG, grey, How::High, 0.2,
          "drawing dark and bright together makes the picture flat"),

    level(KEY_SHARPNESS, blurred, How::Low, 0.8, "less of it softens edges"),
    at(KEY_AUTO_FOCUS_MODE, blurred, kManual, kAutomatic, 0.7,
       "nobody focuses when the scene or the zoom changes"),
    level(KEY_FIX_SHUTTER, blurred, How::Low, 0.7, "what moves smears in a longer exposure"),
    level(KEY_MAX_SHUTTER, blurred, How::Low, 0.5, "by little light what moves smears"),
    level(KEY_2D_NR_STRG_A, blurred, How::High, 0.5, "smoothing takes detail away"),
    level(KEY_2D_NR_STRG_M, blurred, How::High, 0.5, "smoothing takes detail away"),
    level(KEY_3D_NR_STRG_A, blurred, How::High, 0.4, "smoothing from picture to picture smears"),
    level(KEY_3D_NR_STRG_M, blurred, How::High, 0.4, "smoothing from picture to picture smears"),
    at(KEY_DIGITAL_ZOOM, blurred, 1, 0, 0.4, "beyond the lens's end zooming only enlarges"),
    level(KEY_AUTO_FOCUS_SENSITIVITY, blurred, How::Low, 0.3,
          "only a great change makes it focus anew"),
    at(KEY_DN_AF_MODE, blurred, 0, 1, 0.3, "infrared light focuses elsewhere, and it is not sought",
       When::Night),
    at(KEY_ANTI_SHAKE_SWITCH, blurred, 0, 1, 0.1, "where the camera shakes the picture does too"),

    level(KEY_FIX_GAIN, noisy, How::High, 1.0, "amplifying the picture amplifies its noise"),
    level(KEY_MAX_GAIN, noisy, How::High, 0.9, "by little light noise is amplified further"),
    at(KEY_2D_NR_SWITCH, noisy, 0, 1, 0.8, "noise is not smoothed within a picture"),
    at(KEY_3D_NR_SWITCH, noisy, 0, 1, 0.8, "noise is not smoothed from picture to picture"),
    level(KEY_2D_NR_STRG_A, noisy, How::Low, 0.5, "noise is smoothed less"),
    level(KEY_2D_NR_STRG_M, noisy, How::Low, 0.5, "noise is smoothed less"),
    level(KEY_3D_NR_STRG_A, noisy, How::Low, 0.5, "noise is smoothed less"),
    level(KEY_3D_NR_STRG_M, noisy, How::Low, 0.5, "noise is smoothed less"),
    level(KEY_SHARPNESS, noisy, How::High, 0.5, "bringing out edges brings out noise"),
    level(KEY_MAX_SHUTTER, noisy, How::High, 0.5, "a shorter exposure has to be amplified more"),
    at(KEY_IR_SWITCH, noisy, 0, 1, 0.5, "by night, without the lamp, the picture is amplified",
       When::PerhapsNight),
    at(KEY_DN_MODE, noisy, kDay, kAutomatic, 0.3, "by little light it never turns to night"),
    level(KEY_BRIGHTNESS, noisy, How::High, 0.2, "noise in dark parts is brightened too"),
    at(KEY_GAMMA, noisy, kGammaHigh, kAutomatic, 0.2, "noise in dark parts is brightened too"),
    at(KEY_WDR_MODE, noisy, 1, 0, 0.2, "noise in dark parts is brightened too"),
    at(KEY_BLC_SWITCH, noisy, 1, 0, 0.2, "noise in dark parts is brightened too"),
    level(KEY_DEFLG_STRG, noisy, How::High, 0.2, "clearing fog brings out noise"),
};

constexpr int kFollowsPictureRate = 100; ///< as a shutter

/// Scores what one snapshot's values have to do with a look.
class Scorer {
public:
    Scorer(const Snapshot& snapshot, int language) : m_snapshot(snapshot), m_language(language) {}

    std::optional<PictureCause> cause(const Row& row) const {
        const Parameter* const about = m_snapshot.parameter(row.key);
        const Value* const value = m_snapshot.value(row.key);
        const std::optional<int> has =
            about == nullptr ? std::nullopt : deviceValue(row.key, *value);
        if (!has || !holds(row.when) || hasNoEffect(*value)) {
            return std::nullopt;
        }
        PictureCause cause;
        cause.key = row.key;
        cause.value = *has;
        if (row.how == How::Is || row.how == How::Not) {
            cause.neutral = row.neutral;
            cause.weight = (row.how == How::Is) == (*has == row.value) ? row.weight : 0;
        } else {
            cause.weight = row.weight * share(row, *about, *value, cause);
        }
        if (!(cause.weight > 0)) {
            return std::nullopt;
        }
        cause.family = family(*about);
        const std::string neutral = valueText(*about, cause.neutral, m_language);
        cause.text = about->label(m_language) + " is " + valueText(*about, *has, m_language) +
                     ": " + row.effect + ". Neutral is " + neutral + ".";
        cause.advice = setAdvice(m_snapshot, "Set to " + neutral, row.key, cause.neutral);
        return cause;
    }

private:
    /// What the device has, also where that is not what it should.
    std::optional<int> deviceValue(u32 key, const Value& value) const {
        for (const Difference& difference : m_snapshot.differences) {
            if (difference.key == key && difference.readBack) {
                return difference.readBack;
            }
        }
        return key == KEY_DN_MODE && value.readBack ? value.readBack : value.inForce();
    }

    bool holds(When when) const {
        return when == When::Always || (when == When::Night && m_snapshot.night.value_or(false)) ||
               (when == When::PerhapsNight && m_snapshot.night.value_or(true));
    }

    static bool hasNoEffect(const Value& value) {
        return value.block.reason == Reason::Blocked || value.block.reason == Reason::Unsupported ||
               !value.supported() || (value.state != nullptr && value.state->inactive);
    }

    /// How far a value is from the neutral one towards the end that the row is about, 0 .. 1.
    static double share(const Row& row, const Parameter& about, const Value& value,
                        PictureCause& cause) {
        Limits limits;
        if (!about.options.empty()) {
            limits.minimum = limits.maximum = about.options[0].value;
            for (const Parameter::Option& option : about.options) {
                if (option.value < kFollowsPictureRate) {
                    limits.minimum = std::min(limits.minimum, option.value);
                    limits.maximum = std::max(limits.maximum, option.value);
                }
            }
        } else if (about.style || value.limits) {
            limits = about.style ? *about.style : *value.limits;
        }
        const double least = limits.minimum;
        const double most = limits.maximum;
        cause.neutral = about.factory.value_or(static_cast<int>((least + most) / 2));
        const double neutral = cause.neutral;
        const double has = cause.value;
        if (has < least || has > most || neutral < least || neutral > most) {
            return 0;
        }
        if (row.how == How::Low) {
            return has < neutral ? (neutral - has) / (neutral - least) : 0;
        }
        return has > neutral ? (has - neutral) / (most - neutral) : 0;
    }

    std::string family(const Parameter& about) const {
        for (const Tab& tab : m_snapshot.catalogue->tabs) {
            if (tab.key == about.tab) {
                return textIn(tab.labels, m_language, tab.key);
            }
        }
        return about.tab;
    }

    const Snapshot& m_snapshot;
    int m_language;
};

struct LookNames {
    const char* name;
    const char* other;
};
constexpr LookNames kLooks[] = {
    {"dark", "darker"},    {"bright", "brighter"}, {"grey", "gray"},
    {"blurred", "blurry"}, {"noisy", "noise"},
};

std::string wholeText(const PictureExplanation& explanation) {
    const std::string so = name(explanation.look);
    if (explanation.causes.empty()) {
        return "No value is set so that it makes the picture " + so +
               ": what is left is the scene, the light and the lens.";
    }
    const std::size_t count = explanation.causes.size();
    return count == 1 ? "One value may make the picture " + so + "."
                      : std::to_string(count) + " values may make the picture " + so +
                            ", the likeliest first.";
}

} // namespace

std::optional<Look> readLook(const std::string& text) {
    std::string low = text;
    for (char& c : low) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    for (std::size_t i = 0; i < std::size(kLooks); ++i) {
        if (low == kLooks[i].name || low == kLooks[i].other) {
            return static_cast<Look>(i);
        }
    }
    return std::nullopt;
}

const char* name(Look look) {
    return kLooks[static_cast<std::size_t>(look)].name;
}

PictureExplanation explain(const Snapshot& snapshot, Look look, int language) {
    PictureExplanation result;
    result.look = look;
    const Scorer scorer(snapshot, language);
    for (const Row& row : kRows) {
        std::optional<PictureCause> cause = row.look == look ? scorer.cause(row) : std::nullopt;
        if (cause) {
            result.causes.push_back(std::move(*cause));
        }
    }
    std::stable_sort(result.causes.begin(), result.causes.end(),
                     [](const PictureCause& one, const PictureCause& other) {
                         return one.weight > other.weight;
                     });
    result.text = wholeText(result);
    return result;
}

} // namespace host
