#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "Camera.h"
#include "CountingNew.h"
#include "FileFaults.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"

namespace fs = std::filesystem;

namespace {

using file_faults::Kind;

/// How long or how often, where the environment asks for more than a usual run does.
int effort(const char* name, int usual) {
    const char* text = getenv(name);
    return text ? atoi(text) : usual;
}

class Reliability : public Camera {
protected:
    using Work = std::function<void()>;

    /// Does something in a process of its own. @return its exit status; 128 +
    /// the signal that ended it
    static int inChild(const Work& work) {
        fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            if (freopen("/dev/null", "w", stdout) == nullptr)
                _exit(99);
            work();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void startIn(int scheme) {
        linux_framework::setClock(3, 0, 0, 100000);
        start("(max_scheme=2)");
        controller->setParamMode(0);
        controller->setParamScheme(scheme);
    }
    /// The files that a fault must not harm.
    static constexpr const char* kFiles[] = {
        "/mnt/mtd/code/config_file/sensor0.cfg", "/mnt/mtd/code/config_file/sensor1.cfg",
        "/mnt/mtd/code/config_file/snsversion.cfg", "/tmp/exported"};
    static constexpr char kLog[] = "/mnt/mtd/log/SensorError.log";
    using Contents = std::vector<std::string>;
    Contents contents() const {
        Contents found;
        for (const char* name : kFiles)
            found.push_back(exists(name) ? read(name) : "(none)");
        return found;
    }
    /// Whether a dead writer's temporary still lies in the folder.
    bool hasLeftovers() const {
        for (const auto& entry : fs::directory_iterator(root + "/mnt/mtd/code/config_file")) {
            if (entry.path().filename().string().rfind(".~", 0) == 0)
                return true;
        }
        return false;
    }
};

/// Lets the n-th file operation of an operation fail, for every n, in every way, once and from then
/// on. Afterwards each file is the old or the new one whole (or, where the operation removes files,
/// gone), a plain start has changed none, and a save that did not come about has been reported. And
/// the next start runs.
TEST_F(Reliability, NoFileFaultCostsWhatWasSaved) {
    writeStyle({{34, 1}, {2337, 2}});
    const std::string oldText(5000, 'o');
    ASSERT_EQ(0, inChild([&] {
                  startIn(1);
                  controller->setParameters("(8000,1)(8003,9)(34,11)", true);
                  controller->flush();
                  linux_framework::replaceHostFile(root + kFiles[3], oldText);
              }));
    const Contents saved = contents();
    const struct {
        const char* name;
        const char* version;
        bool removes;
        Work prepare;
        Work work;
    } operations[] = {
        {"flush", "\x08", false, [this] { startIn(1), controller->setParameters("(34,12)", true); },
         [this] { controller->flush(); }},
        {"start", "\x08", false, [] {}, [this] { startIn(1); }},
        {"version change", "\x07", true, [] {}, [this] { startIn(1); }},
        {"reset", "\x08", true, [this] { startIn(1); }, [this] { controller->resetParameters(); }},
        {"export", "\x08", false, [] {},
         [this] {
             if (!linux_framework::replaceHostFile(root + kFiles[3], std::string(5000, 'n')))
                 write(kLog, "failed");
         }},
    };
    int swept = 0;
    for (const auto& operation : operations) {
        Contents before = saved;
        before[2] = operation.version + std::string(3, '\0');
        const auto attempt = [&](unsigned long n, Kind kind, bool fromThenOn) {
            for (size_t i = 0; i < before.size(); ++i)
                write(kFiles[i], before[i]);
            fs::remove(root + kLog);
            return inChild([&] {
                operation.prepare();
                file_faults::failNth(n, kind, fromThenOn);
                operation.work();
                const bool reached = file_faults::operations() >= n;
                file_faults::clear();
                _exit(reached ? 0 : 3);
            });
        };
        ASSERT_EQ(3, attempt(ULONG_MAX, Kind::None, false));
        const Contents after = contents();
        ASSERT_EQ(before == after, operation.name == std::string("start"));
        ASSERT_FALSE(exists(kLog)) << operation.name;
        for (const Kind kind :
             {Kind::Eio, Kind::Enospc, Kind::ShortWrite, Kind::Eintr, Kind::Death}) {
            for (const bool fromThenOn : {false, true}) {
                if (fromThenOn && kind != Kind::Eio && kind != Kind::Enospc)
                    continue;
                int status = 0;
                for (unsigned long n = 1; status != 3; ++n, ++swept) {
                    status = attempt(n, kind, fromThenOn);
                    ASSERT_TRUE(status == 0 || status == 3 ||
                                (kind == Kind::Death && status == 137));
                    const Contents now = contents();
                    EXPECT_TRUE(now == after || operation.removes || status == 137 || exists(kLog))
                        << operation.name << " " << n << " kind " << static_cast<int>(kind);
                    for (size_t i = 0; i < now.size(); ++i) {
                        const bool whole = now[i] == before[i] || now[i] == after[i];
                        EXPECT_TRUE(whole || (operation.removes && now[i] == "(none)"))
                            << operation.name << " " << n << " " << kFiles[i] << " "
                            << now[i].size();
                    }
                    ASSERT_EQ(0, inChild([this] {
                                  startIn(1);
                                  const u32 value = stored(1, 34);
                                  _exit(value != 11 && value != 12 && value != 1 ? 4
                                        : hasLeftovers()                         ? 5
                                                                                 : 0);
                              }))
                        << operation.name << " " << n;
                }
            }
        }
    }
    printf("swept %d points\n", swept);
}

TEST_F(Reliability, AKilledProcessLeavesTheOldFileOrTheNewOne) {
    writeStyle({{34, 1}, {2337, 1}});
    const int kills = effort("IMGCTL_KILLS", 40);
    Random random(3);
    int torn = 0;
    for (int i = 0; i < kills; ++i) {
        int saving[2];
        ASSERT_EQ(0, pipe(saving));
        fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            startIn(1);
            controller->setParameters("(8000,0)(8003,9)", true);
            controller->flush();
            if (::write(saving[1], "", 1) != 1)
                _exit(1);
            for (int value = 0;; value = (value + 1) % 100) {
                const std::string text = std::to_string(value);
                controller->setParameters("(34," + text + ")(2337," + text + ")", true);
                controller->flush();
            }
        }
        char byte = 0;
        ASSERT_EQ(1, ::read(saving[0], &byte, 1));
        usleep(random(5000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(saving[0]);
        close(saving[1]);
        const std::vector<KeyVal> records = schemeFile(1);
        torn += records.size() != 7 || records[5].value != records[6].value;
    }
    EXPECT_EQ(0, torn);
    printf("%d kills, %d torn\n", kills, torn);
}

/// Without memory an operation does less, and says so; it neither ends the
/// process nor spoils the next.
TEST_F(Reliability, NoFailedAllocationCrashes) {
    linux_framework::setClock(3, 0, 0, 100000);
    simulated_ia::observe({});
    start();
    const Work operations[] = {
        [this] { controller->init(module); },
        [this, batch = std::string("(34,5)(2337,6)(145,7)(2384,1)")] {
            controller->setParameters(batch, true);
        },
        [this] { controller->getUIStyleFile(); },
        [this] { controller->resetParameters(); },
        [this] {
            std::string text;
            controller->getAllParameters(text);
            controller->getParameters("(34,2337)", text);
            controller->flush();
        },
    };
    std::string thrown;
    for (const Work& operation : operations) {
        for (const bool fromThenOn : {false, true}) {
            unsigned long used = 1;
            for (unsigned long n = 1; n <= used; n += fromThenOn ? 1 + n / 4 : 1 + n / 40) {
                const unsigned long before = counting_new::count();
                output([&] {
                    counting_new::failNth(n, fromThenOn);
                    try {
                        operation();
                    } catch (const std::bad_alloc&) {
                        counting_new::failNth(0);
                        thrown +=
                            std::to_string(&operation - operations) + ":" + std::to_string(n) + " ";
                    }
                    counting_new::failNth(0);
                });
                used = std::max(used, counting_new::count() - before);
            }
        }
        output([&] { start(); });
        ASSERT_EQ(0, controller->setParameters("(34,77)", true));
        EXPECT_EQ(77, layerValue(34));
    }
    EXPECT_EQ("", thrown); // operation:allocation
}

/// Eight threads call every member at random while the worker switches at a high speed and the
/// layer takes its time. Nothing hangs, and what is left is consistent.
TEST_F(Reliability, EveryMemberMayBeCalledByManyThreadsAtOnce) {
    using Clock = std::chrono::steady_clock;
    linux_framework::setClock(3, 0, 0, 20000);
    simulated_ia::observe({});
    start();
    simulated_ia::setDelay(20);
    const auto end = Clock::now() + std::chrono::seconds(effort("IMGCTL_STRESS_SECONDS", 2));
    std::atomic<unsigned long> calls{0};
    std::vector<std::thread> threads;
    output([&] {
        for (unsigned int t = 0; t < 8; ++t) {
            threads.emplace_back([&, t] {
                Random random(t);
                while (Clock::now() < end) {
                    callMember(random(kMembers), random);
                    ++calls;
                }
            });
        }
        std::thread watchdog([&] {
            for (unsigned long last = 0; Clock::now() < end; last = calls) {
                for (int i = 0; i < 200 && calls == last && Clock::now() < end; ++i)
                    usleep(100000);
                if (calls == last && Clock::now() < end)
                    abort(); // no call ended for 20 seconds: threads that hang cannot be joined
            }
        });
        for (std::thread& thread : threads)
            thread.join();
        watchdog.join();
    });
    printf("%lu calls\n", calls.load());
    auto stopping =
        Clock::duration::max(); // the shortest of a few, as other tests use the machine too
    for (int i = 0; i < 5; ++i) {
        output([&] { start(); });
        const auto begin = Clock::now();
        controller->uinit();
        stopping = std::min(stopping, Clock::now() - begin);
    }
    EXPECT_LT(stopping, std::chrono::milliseconds(100));
    simulated_ia::setDelay(0);

    // Every value in force is one that some caller, a file or the factory gave; after a whole
    // switch the layer has what the scheme has.
    output([&] { start("(max_scheme=2)"); });
    controller->setParamMode(0);
    controller->switch_to(1, true);
    for (const KeyVal& kv : schemeFile(1)) {
        const u32 value = stored(1, kv.key);
        int inLayer = 0;
        EXPECT_TRUE(value == stored(2, kv.key) || value < 100) << kv.key;
        keycmd row;
        ASSERT_NE(-1, controller->findFromKeyCmdMap(g_pKeyCmdMap, kv.key, row));
        if ((kv.key < 145 || kv.key > 152) && row.ia_cmd == kv.key && kv.key != KEY_MIRROR &&
            ia_ioctrl(kv.key, IA_CMD_OPT_GET, &inLayer) == 0) {
            EXPECT_EQ(value, static_cast<u32>(inLayer)) << kv.key;
        }
    }
}

} // namespace
