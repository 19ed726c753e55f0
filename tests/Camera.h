#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "AVStreamParam.h"
#include "ISensorController.h"
#include "ModuleConfigure.h"
#include "SimulatedImageAdjust.h"
#include "VideoStreamModule.h"

/// The same pseudo-random numbers at every run.
class Random {
public:
    explicit Random(unsigned int seed) : m_engine(seed) {}
    /// @return 0 .. n - 1
    unsigned int operator()(unsigned int n) { return static_cast<unsigned int>(m_engine() % n); }

private:
    std::mt19937 m_engine;
};

/// Keeps what the controller told the video module.
class RecordingVideo : public VideoStreamModule {
public:
    int notifySensorParam(int key, int value) const override;
    void getAVStreamParams(std::vector<AVStreamParam>& list) const override {
        list.emplace_back(frameRate);
    }

    mutable std::mutex mutex;
    mutable std::vector<std::pair<int, int>> told;
    std::map<int, int> answers; ///< what a key is answered with; 0 otherwise
    int frameRate = 25;
};

/// A whole camera of its own: a device tree in a temporary folder, a fast clock, the simulated
/// layer, a controller that is not yet started. Everything is put back afterwards.
class Camera : public ::testing::Test {
protected:
    Camera();
    ~Camera() override;

    /// Starts the controller. @param detail  the module's detail text
    void start(const std::string& detail = "(max_scheme=4)");

    /// A style whose controls are these pairs behind the five scheme keys.
    void writeStyle(const std::vector<KeyVal>& controls);
    /// Replaces a file of the device; its folder must exist.
    void write(const std::string& path, const std::string& text);
    std::string read(const std::string& path) const;
    bool exists(const std::string& path) const;
    void setDeviceType(int type);
    void setDebugLevel(int level);
    std::vector<KeyVal> schemeFile(int scheme) const;
    void writeSchemeFile(int scheme, const std::vector<KeyVal>& records);
    /// The value of a key in a scheme's array; fails the test when there is none.
    unsigned int stored(int scheme, unsigned int key);
    int layerValue(unsigned int cmd);

    /// The calls of the layer since the last time, as "CMD OPT IN RESULT" (words joined by commas).
    std::vector<std::string> calls();
    /// The same, but only sets.
    std::vector<std::string> sets();
    /// How many sets there have been since the last time.
    size_t setCount();

    /// Calls one of the controller's members, 0 .. kMembers - 1, with arguments of the random kind.
    static constexpr unsigned int kMembers = 44;
    void callMember(unsigned int member, Random& random);

    /// What a piece of work prints, without colours and with line:0 for every line number.
    template <class Work>
    std::string output(const Work& work) {
        ::testing::internal::CaptureStdout();
        work();
        fflush(stdout);
        return plain(::testing::internal::GetCapturedStdout());
    }
    static std::string plain(const std::string& text);

    std::string root;
    RecordingVideo video;
    ModuleConfigure module;
    std::unique_ptr<ISensorController> controller;

private:
    std::mutex m_mutex;
    std::vector<simulated_ia::Call> m_calls;
};
