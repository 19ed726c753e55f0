#include "Entry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "Camera.h"
#include "CommandTable.h"
#include "CountingNew.h"
#include "LibraryLayer.h"
#include "Recording.h"

using namespace image_adjust;

namespace {

struct Entry : testing::Test {
    Entry() {
        simulated_ia::reset();
        setLayer(simulated_ia::layer());
    }
    ~Entry() override { simulated_ia::reset(); }
};

struct MortalLayer : Layer {
    ~MortalLayer() override { alive = false; }
    int ioctl(unsigned int /*cmd*/, unsigned int /*opt*/, void* /*data*/) override {
        std::this_thread::yield();
        return alive ? 1 : 2;
    }
    std::string name() const override { return "mortal"; }
    CommandState about(unsigned int /*cmd*/) const override { return {}; }
    std::atomic<bool> alive{true};
};

TEST_F(Entry, LayersAndObserversComeAndGoWhileThreadsCall) {
    setLayer(nullptr);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 3; ++t) {
        callers.emplace_back([&] {
            while (!done) {
                const int result = ia_ioctrl(34, IA_CMD_OPT_GET_EXEC_STATUS, nullptr);
                wrong += result == 1 || result == IA_ERR_FAILED ? 0 : 1;
            }
        });
    }
    for (int i = 0; i < 1000; ++i) {
        setLayer(i % 3 == 0 ? nullptr : std::make_shared<MortalLayer>());
        std::atomic<bool> watching{true};
        Observation first = observe([&](const Call& call) {
            wrong += watching && call.result != 2 ? 0 : 1;
            int ignored = 0;
            ia_ioctrl(34, IA_CMD_OPT_GET, &ignored); // is not shown to itself
        });
        Observation second = std::move(first);
        second.end();
        watching = false;
    }
    done = true;
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(0, wrong);
}

TEST_F(Entry, ShowsForWhomAThreadCallsAndAllocatesNothing) {
    std::vector<std::uint64_t> operations;
    operations.reserve(8);
    int value = 60;
    const auto set = [&value](unsigned int) { ia_ioctrl(34, IA_CMD_OPT_SET, &value); };
    const unsigned long before = counting_new::count();
    set(34);
    EXPECT_EQ(before, counting_new::count());
    Observation self;
    self = observe([&](const Call& call) {
        operations.push_back(call.operation);
        if (operations.size() == 4)
            self.end();
    });
    const unsigned long observed = counting_new::count();
    set(34);
    {
        const OperationScope outer(0xfedcba9876543210U);
        {
            const OperationScope inner(7);
            set(34);
        }
        set(34);
        EXPECT_EQ(observed, counting_new::count());
        std::thread([&] { set(34); }).join();
        set(34);
    }
    EXPECT_EQ((std::vector<std::uint64_t>{0, 7, 0xfedcba9876543210U, 0}), operations);
}

/// A dry run answers what the real one then does, and sends nothing.
TEST_F(Entry, RecordedSetsAreAnsweredAsTheLayerThenAnswers) {
    Random random(1);
    unsigned long sent = 0;
    const Observation watch =
        observe([&](const Call& call) { sent += call.opt == IA_CMD_OPT_SET; });
    simulated_ia::limit(96, 4, {4, 2});
    simulated_ia::fail(2337, IA_ERR_UNSUPPORTED);
    const auto ask = [](unsigned int cmd, const Words& words) {
        ia_dynamic_params_attr_st range = {};
        Words record = words;
        std::vector<int> answers = {ia_ioctrl(cmd, IA_CMD_OPT_SET, record.word)};
        answers.push_back(ia_ioctrl(cmd, IA_CMD_OPT_GET, record.word));
        answers.insert(answers.end(), record.word, record.word + recordOf(cmd).words);
        answers.push_back(ia_ioctrl(cmd, IA_CMD_OPT_GET_PARAM_RNAGE, &range));
        answers.push_back(range.cur_value);
        return answers;
    };
    for (int i = 0; i < 20000; ++i) {
        const auto row = static_cast<int>(random(simulated_ia::COMMAND_COUNT));
        const simulated_ia::CommandRow& command = simulated_ia::commandRow(row);
        const unsigned int cmd = random(50) == 0 ? random(3000) : command.cmd;
        if (isReadOnly(cmd) || cmd == simulated_ia::CMD_ZOOM_POSITION ||
            cmd == simulated_ia::CMD_FOCUS_POSITION || cmd == IA_CMD_PTZ_RUN_STATE)
            continue; // positions take their time; while the head runs a command may be busy
        Words words;
        for (int& word : words.word)
            word = command.min + static_cast<int>(random(static_cast<u32>(command.max) + 3)) - 1;
        const unsigned long before = sent;
        std::vector<int> dry;
        {
            Recording recording;
            dry = ask(cmd, words);
            EXPECT_EQ(dry[0], recording.sets().at(0).result);
            EXPECT_EQ(before, sent);
        }
        EXPECT_EQ(ask(cmd, words), dry) << cmd;
    }
    Recording recording;
    EXPECT_EQ(IA_ERR_ARGUMENT, ia_ioctrl(IA_CMD_DN_STATE, IA_CMD_OPT_SET, &sent));
    EXPECT_EQ(IA_ERR_ARGUMENT, ia_ioctrl(34, IA_CMD_OPT_SET, nullptr));
    const unsigned long before = sent;
    std::thread([] { ia_ioctrl(34, IA_CMD_OPT_SET, nullptr); }).join();
    EXPECT_EQ(before + 1, sent);
}

TEST_F(Entry, VendorsLibraryMeansItselfAndItsAbsenceIsNamed) {
    std::string problem;
    unsigned long shown = 0;
    const Observation watch = observe([&](const Call&) { ++shown; });
    const auto library = openLibraryLayer(VENDOR_LAYER, problem);
    ASSERT_TRUE(library) << problem;
    EXPECT_EQ(std::string("so:") + VENDOR_LAYER, library->name());
    setLayer(library);
    int value = 60;
    EXPECT_EQ(0, ia_ioctrl(1034, IA_CMD_OPT_SET, &value));
    value = 0;
    EXPECT_EQ(0, ia_ioctrl(34, IA_CMD_OPT_GET, &value));
    EXPECT_EQ(60, value);
    EXPECT_EQ(-5, ia_ioctrl(35, IA_CMD_OPT_GET, &value));
    EXPECT_EQ(3U, shown);
    const std::pair<const char*, const char*> cases[] = {
        {"", "no library is named"},
        {"/nowhere/layer.so",
         "/nowhere/layer.so: cannot open shared object file: No such file or directory"},
        {IMGCTL_SOURCE_DIR "/README.md", "/README.md: "},
        {IMGCTL_LIBRARY, " has no ia_ioctrl, so it is no image-adjust layer"},
    };
    for (const auto& [path, text] : cases) {
        EXPECT_EQ(nullptr, openLibraryLayer(path, problem));
        EXPECT_NE(std::string::npos, problem.find(text)) << problem;
    }
}

} // namespace
