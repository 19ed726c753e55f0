#include "host/compliance/Compliance.h"

#include <fnmatch.h>
#include <gtest/gtest.h>

#include "CommandTable.h"
#include "ImageAdjust.h"
#include "SimulatedImageAdjust.h"

using namespace simulated_ia;

static std::vector<int> values() {
    std::vector<int> all;
    ia_dynamic_params_attr_st range = {};
    for (int i = 0; i < COMMAND_COUNT; ++i, all.push_back(range.cur_value))
        ia_ioctrl(commandRow(i).cmd, IA_CMD_OPT_GET_PARAM_RNAGE, &range);
    return all;
}

TEST(ComplianceCheck, FailsAtTheFaultyKeyAloneAndPutsEveryValueBack) {
    image_adjust::setLayer(simulated_ia::layer());
    static long long now = 0; // every question takes a second, so that the lens soon arrives
    setTimeSource([] { return now += 1000000; });
    std::vector<compliance::Command> all = compliance::commandsOf(nullptr, 0);
    for (int i = 0; i < COMMAND_COUNT; ++i)
        all.push_back({commandRow(i).cmd, commandRow(i).cmd, commandRow(i).name});
    const std::vector few = {all[5], all[13], all[14], all[25]}; // 16, 82, 83, 146
    unsigned long n = 0; // the call of a run that fails once
    const auto lift = [](const Call& call) { call.cmd + call.opt == 49 && unlimit(49); };
    const auto check = [&](const std::string& expected, const std::function<void()>& fault) {
        std::string bad;
        compliance::Settings settings;
        settings.rounds = 20;
        settings.print = [&](const std::string& s) { bad += s.find(" ok") < 99 ? "" : s; };
        const std::vector<int> before = values();
        const unsigned long first = callCount();
        fault();
        compliance::run(expected[0] == '*' ? few : all, nullptr, settings);
        const unsigned long calls = callCount() - first;
        fail(34, 0), failNthCall(0, 0);
        EXPECT_TRUE(fnmatch(expected.c_str(), bad.c_str(), 0) == 0 && before == values())
            << n << bad;
        return calls;
    };
    // Beside the commands that can be set, those that only read, and an unknown one.
    const std::string count = std::to_string(COMMAND_COUNT + 6) + ", ";
    const std::string butOne = "*Succeeded " + std::to_string(COMMAND_COUNT + 5) + ", *";
    check("Total " + count + "Succeeded " + count + "Failed 0, *", [] { limit(49, 2, {1, 2, 3}); });
    check("compliance 34 * FAILED*Total " + count + butOne, [] { fail(34, -1); });
    check("compliance 49 * FAILED*is taken" + butOne, [&] { observe(lift); });
    check("compliance 4112 *FAILED" + butOne, [] { setLie({true, 17, 0, true}); });
    while (check("*Failed [01],*", [&] { failNthCall(++n, IA_ERR_FAILED); }) >= n) {
    }
    setTimeSource(nullptr);
}
