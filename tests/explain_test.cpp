#include "host/Explain.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "Camera.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorKeys.h"
#include "SimulatedImageAdjust.h"
#include "host/Camera.h"
#include "host/PictureCauses.h"
#include "host/Plan.h"
#include "host/api/Api.h"
#include "host/api/Json.h"

namespace {

using host::ExplainLine;
using host::Snapshot;
using Topic = ExplainLine::Topic;

/// A running camera on a device tree of its own.
class Explanations : public ::testing::Test {
protected:
    Explanations() {
        std::string pattern = std::filesystem::temp_directory_path() / "explain.XXXXXX";
        m_root = mkdtemp(pattern.data());
        std::filesystem::copy(IMGCTL_SOURCE_DIR "/device", m_root,
                              std::filesystem::copy_options::recursive);
        simulated_ia::reset();
        options.device = m_root;
        options.detail = "(max_scheme=4)";
        options.clock = host::CameraOptions::Clock{21, 4, 10};
        options.speed = 10;
        const host::StartProblem problem = camera.start(options);
        EXPECT_FALSE(problem) << problem.text;
        perform(host::SetWindows{{{0, {true, 8, 0, 18, 0}}}, {}});
        perform(host::SetWindows{{{1, {true, 20, 0, 24, 0}}}, {}});
        perform(host::NameScheme{1, "Night"});
        waitForScheme(1);
    }
    ~Explanations() override {
        camera.stop();
        simulated_ia::reset();
        linux_framework::useRealClock();
        linux_framework::setDeviceRoot("/");
        std::filesystem::remove_all(m_root);
    }

    host::Outcome perform(const host::Operation& operation, const std::string& who = "anna") {
        host::Outcome outcome = camera.perform(operation, {who, "test"});
        camera.waitForSnapshot(outcome.snapshot, std::chrono::seconds(10));
        return outcome;
    }
    host::Outcome set(u32 key, int value, std::optional<int> scheme = std::nullopt) {
        return perform(
            host::SetValues{{{key, value}}, scheme, host::WhenNotInForce::Record, false});
    }

    void waitForScheme(int scheme) {
        for (int i = 0; i < 10000 && camera.snapshot()->scheme != scheme; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_EQ(scheme, camera.snapshot()->scheme);
    }

    host::Explanation explain(u32 key) {
        return host::explain(*camera.snapshot(), camera.journal(), key, 0);
    }
    /// The lines of some topics, one below the other.
    std::string text(u32 key, const std::vector<Topic>& topics) {
        std::string all;
        for (const ExplainLine& line : explain(key).lines) {
            if (std::find(topics.begin(), topics.end(), line.topic) != topics.end()) {
                all += line.text + "\n";
            }
        }
        return all;
    }
    /// Does what a line advises, as a page would. @return whether there is such advice and it helps
    bool follow(u32 key, const std::string& topic) {
        const host::api::Json said = ask("GET", "/explain/" + std::to_string(key)).second;
        for (const host::api::Json& line : said["lines"]) {
            if (line["topic"] == topic && line.contains("action")) {
                const host::api::Json& action = line["action"];
                const bool shows = action["method"] == "GET";
                return ask(action["method"], action["path"], shows ? "" : action["body"].dump())
                               .first == 200 &&
                       !shows;
            }
        }
        return false;
    }
    std::pair<unsigned int, host::api::Json> ask(const std::string& method, const std::string& path,
                                                 const std::string& body = "") {
        const host::api::Response response =
            host::api::Api(camera).ask({method, path, {}, body, "anna", "test"});
        std::string problem;
        return {response.status, host::api::parse(*response.body, problem)};
    }
    std::optional<int> inForce(u32 key) { return camera.snapshot()->value(key)->inForce(); }

    host::CameraOptions options;
    host::Camera camera;

private:
    std::string m_root;
};

TEST_F(Explanations, TellARecordedValueATrialAndWhatComesNext) {
    const std::vector<Topic> all{Topic::Value,    Topic::Schedule, Topic::Saved, Topic::Factory,
                                 Topic::Hardware, Topic::Range,    Topic::Next};
    EXPECT_EQ("Nobody has changed it in 1 Night as far as the history goes back.\n",
              text(KEY_CONTRAST, {Topic::Origin}));
    set(KEY_BRIGHTNESS, 133);
    EXPECT_EQ(
        "Brightness is 133, as 1 Night has it.\n"
        "In force until 24:00: 1 Night, lowest enabled window that holds 21:04.\n"
        "Saved is 128; 133 is lost at a restart unless it is saved.\n"
        "The factory value is 128.\n"
        "The device reports 133.\n"
        "It takes 0..255.\n"
        "Next: 24:00, the factory values: 128.\n",
        text(KEY_BRIGHTNESS, all));
    EXPECT_EQ(0U, text(KEY_BRIGHTNESS, {Topic::Origin}).find("Set by anna at 21:0"));
    EXPECT_TRUE(follow(KEY_BRIGHTNESS, "saved"));
    EXPECT_EQ(128, inForce(KEY_BRIGHTNESS));
    set(KEY_BRIGHTNESS, 140);
    EXPECT_TRUE(follow(KEY_BRIGHTNESS, "origin")) << "undo";
    EXPECT_EQ(128, inForce(KEY_BRIGHTNESS));

    perform(host::TryValues{{{KEY_CONTRAST, 40}}, 1000, std::nullopt});
    EXPECT_EQ(0U, text(KEY_CONTRAST, {Topic::Value}).find("Contrast is 40, on trial by anna for"));
    EXPECT_EQ("Next: when the trial ends, 128 again.\n", text(KEY_CONTRAST, {Topic::Next}));
    EXPECT_TRUE(follow(KEY_CONTRAST, "value")) << "keep";
    EXPECT_EQ(40, camera.snapshot()->value(KEY_CONTRAST)->stored);
    perform(host::ApplyValues{{{KEY_CONTRAST, 50}}});
    EXPECT_EQ("Contrast is 50 until the next switch; it is not recorded. In 1 Night it is 40.\n",
              text(KEY_CONTRAST, {Topic::Value}));
    EXPECT_TRUE(follow(KEY_CONTRAST, "value")) << "back";
    EXPECT_EQ(40, inForce(KEY_CONTRAST));

    perform(host::SetMode{false});
    EXPECT_EQ(
        "In force: 1 Night, chosen by hand; the schedule is off.\n"
        "It does not change by itself: the schedule is off.\n",
        text(KEY_CONTRAST, {Topic::Schedule, Topic::Next}));
    EXPECT_TRUE(follow(KEY_CONTRAST, "schedule"));
    EXPECT_TRUE(camera.snapshot()->bySchedule);
}

TEST_F(Explanations, AdviseWhatFreesAKeyAndSayADifferenceFirst) {
    // Every key that can be set is tried with every switch of the style off, then on.
    int freed = 0;
    for (const u32 master : {KEY_2D_NR_SWITCH, KEY_3D_NR_SWITCH, KEY_HLC_SWITCH, KEY_BLC_SWITCH,
                             KEY_IR_SWITCH, KEY_WB_MODE, KEY_AUTO_FOCUS_MODE, KEY_DEFLG_SWITCH}) {
        for (const int value : {0, 1}) {
            set(master, value);
            for (const host::Parameter& about : camera.snapshot()->catalogue->parameters) {
                const auto blocked = [&] {
                    return camera.snapshot()->value(about.key)->block.reason ==
                           host::Reason::Blocked;
                };
                if (blocked() && follow(about.key, "blocker")) {
                    // A second reason may stand behind the first.
                    EXPECT_TRUE(!blocked() || follow(about.key, "blocker") || about.enabledBy)
                        << about.name;
                    ++freed;
                    set(master, value);
                }
            }
        }
    }
    EXPECT_LT(10, freed);

    // Something else sets the device, and it takes nothing back.
    perform(host::WithLayer{[] {
        int word = 7;
        ia_ioctrl(KEY_SHARPNESS, IA_CMD_OPT_SET, &word);
        simulated_ia::fail(KEY_SHARPNESS, IA_ERR_FAILED);
    }});
    perform(host::Settle{});
    const host::Explanation explanation = explain(KEY_SHARPNESS);
    ASSERT_TRUE(explanation.differs);
    EXPECT_EQ(Topic::Difference, explanation.lines.front().topic);
    EXPECT_EQ(0U, explanation.lines.front().text.find(
                      "The device does not tell whether it has 128; the layer failed (code -1)"));
    simulated_ia::fail(KEY_SHARPNESS, 0);
    EXPECT_TRUE(follow(KEY_SHARPNESS, "difference"));
    EXPECT_FALSE(explain(KEY_SHARPNESS).differs);
}

TEST_F(Explanations, APlannedSwitchChangesWhatWasPlanned) {
    set(KEY_BRIGHTNESS, 133);
    set(KEY_GAMMA, 2);
    set(KEY_CONTRAST, 9, 0);
    perform(host::ApplyValues{{{KEY_SATURATION, 3}}});
    for (int i = 0; i < 3; ++i) {
        const host::Plan plan = host::planOf(*camera.snapshot(), 24);
        ASSERT_FALSE(plan.switches.empty());
        const host::PlanSwitch next = plan.switches.front();
        const std::uint64_t before = camera.journal().sequence();
        linux_framework::setClock(next.minute / 60 % 24, next.minute % 60, 0, 10);
        waitForScheme(*next.to);
        bool complete = false;
        std::map<u32, std::optional<int>> changed;
        for (const host::Journal::Entry& entry : camera.journal().since(before, complete)) {
            for (const host::Change& change : entry->changes) {
                if (entry->kind == host::JournalEntry::Kind::Scheme) {
                    changed[change.key] = change.after;
                }
            }
        }
        std::map<u32, std::optional<int>> planned;
        for (const host::PlannedChange& change : next.changes) {
            planned[change.key] = change.after;
        }
        EXPECT_FALSE(planned.empty());
        EXPECT_EQ(planned, changed);
    }
}

TEST_F(Explanations, TheLightDecidesOutsideAllWindowsOfADayAndNightCamera) {
    camera.stop();
    options.deviceType = DEVICE_TYPE_LPR;
    options.detail = "";
    ASSERT_FALSE(camera.start(options));
    for (const int scheme : {0, 1}) {
        set(KEY_DN_MODE, 2, scheme);
        set(KEY_CONTRAST, 50 + scheme, scheme);
        perform(host::SetWindows{{{scheme, {scheme == 1, 22, 0, 23, 0}}}, {}});
    }
    waitForScheme(0);
    EXPECT_EQ(
        "Day/night mode is Automatic, though scheme 0 has Night: outside all windows the light "
        "chooses the scheme, and goes on choosing.\n",
        text(KEY_DN_MODE, {Topic::Value}));
    EXPECT_EQ(
        "In force until 22:00: scheme 0, outside all windows, by day.\n"
        "Next: 22:00, 1 Night: 51.\nWhen night comes, 1 Night: 51.\n",
        text(KEY_CONTRAST, {Topic::Schedule, Topic::Next}));
    const host::Plan plan = host::planOf(*camera.snapshot(), 24);
    EXPECT_EQ("22:00 1 Night, 23:00 the light's choice of scheme 0 and 1 Night.", plan.text);
    EXPECT_TRUE(plan.warnings.empty());
    simulated_ia::setLight(0);
    waitForScheme(1);
    EXPECT_EQ("When day comes, scheme 0: 50.\n", text(KEY_CONTRAST, {Topic::Next}));
}

TEST_F(Explanations, ADraftOfWindowsIsShownAndKeptNowhere) {
    const auto [status, plan] = ask(
        "POST", "/plan", R"({"schemes":[{"number":1,"start":"22:00"},{"number":0,"end":"9:30"}]})");
    ASSERT_EQ(200U, status);
    EXPECT_EQ(
        "At once 1 Night gives way to the factory values; then 22:00 1 Night, 24:00 the "
        "factory values, 08:00 scheme 0, 09:30 the factory values.",
        plan["text"]);
    EXPECT_EQ("2026", plan["switches"][0]["time"].get<std::string>().substr(0, 4));
    EXPECT_EQ(ask("GET", "/plan").second["switches"].size(), 4U);
    for (const char* bad : {"[]", "{}", R"({"schemes":5})", R"({"schemes":[{"start":"08:00"}]})",
                            R"({"schemes":[{"number":4}]})", R"({"schemes":[{"number":-1}]})",
                            R"({"schemes":[{"number":1,"enabled":1}]})", R"({"schemes":[[]]})",
                            R"({"schemes":[{"number":1,"hours":1}]})", R"({"schemes":[],"x":1})"}) {
        EXPECT_EQ(400U, ask("POST", "/plan", bad).first) << bad;
    }
    EXPECT_EQ(422U, ask("POST", "/plan", R"({"schemes":[{"number":1,"end":"24:30"}]})").first);
    EXPECT_EQ(404U, ask("GET", "/explain/nonsense").first);
    EXPECT_EQ("dark", ask("GET", "/explain/dark").second["word"]);
}

TEST_F(Explanations, OfThePictureBlameValuesThatNeutralOnesCure) {
    Snapshot snapshot = *camera.snapshot();
    EXPECT_TRUE(host::explain(snapshot, host::Look::Dark, 0).causes.empty());
    Random random(5);
    std::size_t blamed = 0;
    for (int round = 0; round < 200; ++round) {
        snapshot.night = random(2) == 0;
        for (std::size_t i = 0; i < snapshot.values.size(); ++i) {
            const host::Parameter& about = snapshot.catalogue->parameters[i];
            if (about.style && about.inScheme()) {
                const auto& items = about.style->items;
                const auto span = about.style->maximum - about.style->minimum + 1;
                snapshot.values[i].stored = snapshot.values[i].readBack =
                    items.empty()
                        ? about.style->minimum + static_cast<int>(random(static_cast<u32>(span)))
                        : items[random(static_cast<u32>(items.size()))];
            }
        }
        for (const char* word : {"dark", "Bright", "gray", "blurred", "noisy"}) {
            const host::Look look = *host::readLook(word);
            Snapshot cured = snapshot;
            double weight = 1;
            for (const host::PictureCause& cause : host::explain(snapshot, look, 0).causes) {
                EXPECT_TRUE(cause.weight > 0 && cause.weight <= weight) << cause.text;
                weight = cause.weight;
                host::Value& value = cured.values[cured.catalogue->indexOf(cause.key)];
                value.stored = value.readBack = cause.neutral;
                ++blamed;
            }
            EXPECT_TRUE(host::explain(cured, look, 0).causes.empty()) << word;
        }
    }
    EXPECT_LT(1000U, blamed);
    set(KEY_BRIGHTNESS, 20);
    set(KEY_HLC_SWITCH, 1);
    const host::PictureExplanation dark = host::explain(*camera.snapshot(), host::Look::Dark, 0);
    ASSERT_EQ(2U, dark.causes.size());
    EXPECT_EQ("Brightness is 20: less of it darkens the whole picture. Neutral is 128.",
              dark.causes[0].text);
    EXPECT_EQ(KEY_HLC_SWITCH, dark.causes[1].key);
}

} // namespace
