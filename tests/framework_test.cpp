#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <filesystem>
#include <fstream>

#include "DKDeviceTime.h"
#include "DKFile.h"
#include "DKLogger.h"
#include "DravikTime.h"
#include "FileFaults.h"
#include "GThread.h"
#include "LinuxFramework.h"
#include "ModuleConfigureParser.h"
#include "StringHandler.h"
#include "SySystem.h"
#include "SystemInfoParser.h"

namespace {

namespace fs = std::filesystem;
using namespace linux_framework;
using file_faults::Kind;
using Lines = std::vector<std::string>;

constexpr unsigned char kReplace = DKFile::modeWrite | DKFile::modeTruncate;

/// A device tree of its own, under a root whose name a shell would stumble over.
struct Framework : testing::Test {
    Framework() { EXPECT_TRUE(fs::create_directory(root / "d") && setDeviceRoot(root)); }
    ~Framework() override {
        useRealClock();
        setDeviceRoot("/");
        fs::remove_all(root);
    }
    void put(const std::string& text) const { std::ofstream(root / "d/a") << text; }
    std::string get(const char* name = "a") const {
        return {std::istreambuf_iterator<char>(std::ifstream(root / "d" / name).rdbuf()), {}};
    }
    auto filesInD() const { return std::distance(fs::directory_iterator(root / "d"), {}); }

    std::string pattern = fs::temp_directory_path() / "it's a root XXXXXX";
    fs::path root = mkdtemp(pattern.data());
};

/// @return true when every byte was taken
bool replace(const char* path, const std::string& text, int pieces = 1) {
    DKFile file;
    file.open(path, kReplace);
    const int size = static_cast<int>(text.size()) / pieces;
    int taken = 0;
    for (int i = 0; i < pieces; ++i) {
        taken += file.write(text.data() + i * size, static_cast<unsigned int>(size));
    }
    return taken == pieces * size;
}

std::string readBack(const char* path) {
    DKFile file;
    file.open(path, DKFile::modeRead);
    std::string text(static_cast<std::size_t>(file.getLength()), '?');
    return file.read(text.data(), static_cast<unsigned int>(text.size())), text;
}

/// What a process of its own makes of some work. @return its exit status, -1 when it was killed
template <class Work>
int inChild(const Work& work) {
    int status = 0;
    const pid_t child = fork();
    if (child == 0) {
        _exit(work());
    }
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Framework, AFileThatCouldNotBeOpenedHasNoEffect) {
    fs::create_symlink("/dev/null", root / "out");
    ASSERT_EQ(0, sy_system("mkfifo /fifo", 5));
    for (const char* path : {"", "/d", "/d/", "/fifo", "/no/b", "/out", "/d/../../framework"}) {
        for (const unsigned char mode : {DKFile::modeRead, kReplace}) {
            char byte = 0;
            DKFile file;
            EXPECT_EQ(0, file.open(path, mode)) << path << " " << int(mode);
            EXPECT_TRUE(file.getLength() == 0 && file.getFileHandle() == nullptr);
            EXPECT_EQ(0, file.read(&byte, 1) + file.write(&byte, 1));
        }
    }
    EXPECT_EQ(0, DKFile().open(nullptr, kReplace) + DKFile().open("/d/a", 0) + filesInD());
}

TEST_F(Framework, AFileIsReplacedWholeOrNotAtAllAndSaysSoWhicheverOperationFails) {
    const std::string before(10000, 'o'), after(10000, 'n');
    const std::pair<Kind, bool> kinds[] = {{Kind::Eio, false},       {Kind::Eio, true},
                                           {Kind::Enospc, true},     {Kind::Eintr, true},
                                           {Kind::ShortWrite, true}, {Kind::Death, false}};
    for (int row = 0; row < 18; ++row) {
        const auto [kind, fromThenOn] = kinds[row % 6];
        const bool isNew = row < 6;
        const int pieces = row < 12 ? 1 : 2;
        int status = 2; // 1: every byte was taken, 2: the fault was reached, 137: dead
        for (unsigned long n = 1; status > 1; ++n) {
            fs::remove(root / "d/a");
            isNew ? void() : put(before);
            status = inChild([&] {
                file_faults::failNth(n, kinds[row % 6].first, kinds[row % 6].second);
                const int whole = replace("/d/a", after, pieces) ? 1 : 0;
                return whole + (file_faults::operations() >= n ? 2 : 0);
            });
            ASSERT_LT(n, 99u);
            removeLeftovers("/d");
            const bool whole = status == 1 || status == 3;
            const bool harmless = kind == Kind::ShortWrite || kind == Kind::Eintr || status < 2;
            const bool old = isNew ? !fs::exists(root / "d/a") : get() == before;
            const bool first = pieces == 2 && get() == after.substr(5000);
            EXPECT_TRUE(get() == after || (!whole && !harmless && (old || first)))
                << "row " << row << " operation " << n << ": " << get().size();
            EXPECT_EQ(fs::exists(root / "d/a") ? 1 : 0, filesInD());
        }
    }
}

TEST_F(Framework, WhatMayPassIsReadAllTheSameAndWhatCannotBeSeenIsThere) {
    fs::create_symlink("loop", root / "loop");
    put("line\nmore\n");
    for (const auto& [there, path] :
         {std::pair(0, "/d/a"), {0, "/loop"}, {-1, "/b"}, {-1, "/d/a/b"}})
        EXPECT_EQ(there, sy_access(path, F_OK)) << path;
    EXPECT_EQ(-1, sy_access("/loop", R_OK));
    for (const Kind kind : {Kind::Eio, Kind::Eintr}) {
        for (unsigned long n = 1, last = n; n <= last; ++n, last = file_faults::operations()) {
            file_faults::failNth(n, kind, false);
            EXPECT_TRUE(sy_access("/d/a", R_OK) == 0 && sy_access("/b", F_OK) == -1) << n;
            DKFile file;
            EXPECT_NE(0, file.open("/d/a", DKFile::modeRead)) << n;
            EXPECT_EQ("line", DKFile::ReadOneLine(file.getFileHandle())) << n;
            EXPECT_EQ("line\nmore\n", readBack("/d/a")) << n;
        }
    }
    file_faults::failNth(1, Kind::Eio, true);
    EXPECT_TRUE(sy_access("/b", F_OK) == 0 && readBack("/d/a").empty());
    file_faults::clear();
}

TEST_F(Framework, FilesNeedNoFreeDescriptorAndNeverTakeTheStandardOnes) {
    DKLogger logger;
    ASSERT_TRUE(replace("/d/a", "old") && logger.init("/d/log", 9999, 1));
    const auto workWithoutDescriptors = [&] {
        const rlimit few = {20, 20};
        setrlimit(RLIMIT_NOFILE, &few);
        while (dup(STDERR_FILENO) >= 0) {
        }
        for (int i = 0; i < 3; ++i) {
            const std::string text(4000, static_cast<char>('0' + i));
            DKFile other;
            if (other.open("/d/a", DKFile::modeRead) == 0 || !replace("/d/a", text) ||
                !logger.writeLog("", "x") || readBack("/d/a") != text) {
                return 1 + i;
            }
        }
        return sy_system("rm -rf /d/lo*", 5);
    };
    EXPECT_EQ(0, inChild(workWithoutDescriptors));
    EXPECT_FALSE(fs::exists(root / "d/log"));
    for (const int closed : {1, 2, 7}) {
        const auto free = [=](int low) { return (closed >> low & 1) != 0; };
        const auto work = [&] {
            for (int low = 0; low < 3; ++low) {
                free(low) ? close(low) : 0;
            }
            DKFile written, seen;
            bool good = written.open("/d/a", kReplace) != 0 && written.write("new", 3) == 3;
            good = logger.writeLog("", "y") && seen.open("/d/a", DKFile::modeRead) != 0 && good;
            for (int low = 0; low < 3; ++low) {
                good = good && (!free(low) || fcntl(low, F_GETFD) == -1);
            }
            return good ? 0 : 1;
        };
        EXPECT_EQ(0, inChild(work)) << closed;
        EXPECT_EQ("new", get());
    }
}

/// Every way out of the device root that a link can lay, for everything that changes files.
TEST_F(Framework, NoLinkLeadsAWriteOrARemovalOutOfTheRootNorOneInTmpAnywhere) {
    const fs::path outside = std::string(root) + " outside";
    fs::create_directories(outside / "sensors");
    for (const char* name : {"a", "sensor0", ".~a.1.1", "sensors/b"})
        std::ofstream(outside / name) << "theirs";
    fs::create_directory(root / "tmp");
    put("ours");
    for (const char* from : {"out", "d/config1"})
        fs::create_directory_symlink(outside, root / from);
    fs::create_symlink(outside / "a", root / "d/file");
    fs::create_symlink(outside / "none", root / "d/new");
    fs::create_symlink("../d/file", root / "tmp/chain");
    fs::create_symlink("../d/a", root / "tmp/inside");
    for (const char* path : {"/out/a", "/out/x", "/d/file", "/d/new", "/out/sensors/b"}) {
        DKLogger logger;
        EXPECT_FALSE(replace(path, "new") || (logger.init(path, 1, 3) && logger.writeLog("", "x")))
            << path;
    }
    for (const char* path : {"/tmp/chain", "/tmp/inside"})
        EXPECT_TRUE(replace(path, "new") && !fs::is_symlink(root.string() + path) &&
                    get() == "ours");
    fs::create_directories(root / "d/config2/sensor.d/deep");
    fs::create_symlink(outside, root / "d/config2/sensor.d/deep/link");
    fs::create_symlink(outside / "a", root / "d/config2/sensor1");
    std::ofstream(root / "d/config2/.sensor");
    removeLeftovers("/out");
    const pid_t none = waitpid(-1, nullptr, WNOHANG);
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    EXPECT_EQ(0, sy_system("rm -rf /d/config*/sensor*", 30));
    getrusage(RUSAGE_CHILDREN, &after);
    EXPECT_TRUE(none == -1 && before.ru_minflt == after.ru_minflt); // no process could outlive us
    EXPECT_EQ(1, std::distance(fs::directory_iterator(root / "d/config2"), {}));
    EXPECT_EQ(0, sy_system("rm -rf /no/config*/sensor*", 30) + sy_system("rm -rf /d/config2", 30));
    EXPECT_FALSE(fs::exists(root / "d/config2"));
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(outside))
        size += entry.is_regular_file() ? entry.file_size() : 0;
    EXPECT_EQ(4 * 6u, size);
    EXPECT_TRUE(replaceHostFile(outside / "a", "mine") && fs::exists(outside / ".~a.1.1"));
    std::ofstream(outside / ".~secret.1.1");
    EXPECT_TRUE(replaceHostFile(outside / "secret", "mine", 0600));
    EXPECT_FALSE(fs::exists(outside / ".~secret.1.1"));
    EXPECT_EQ(0600, int(fs::status(outside / "secret").permissions()));
    fs::remove_all(outside);
}

TEST_F(Framework, AReplacedFileKeepsItsModeAndItsLinkAndAnEqualOneStaysUntouched) {
    put("old!");
    fs::permissions(root / "d/a", fs::perms(0640));
    fs::create_symlink("d/a", root / "link");
    EXPECT_TRUE(replace("/link", "new!") && fs::is_symlink(root / "link"));
    EXPECT_EQ(0640, int(fs::status(root / "d/a").permissions()));
    fs::create_hard_link(root / "d/a", root / "same");
    EXPECT_TRUE(replace("/d/a", "new!") && fs::equivalent(root / "d/a", root / "same"));
    DKFile one, two; // at once, and someone tidies up
    EXPECT_TRUE(one.open("/d/a", kReplace) != 0 && two.open("/d/a", kReplace) != 0);
    removeLeftovers("/d");
    EXPECT_TRUE(get() == "new!" && two.write("two", 3) == 3 && get() == "two");
    EXPECT_TRUE(one.write("one", 3) == 3 && one.write("+", 1) == 1 && one.getLength() == 4);
    two.close();
    one.close();
    file_faults::failNth(0, Kind::None, false);
    EXPECT_TRUE(get() == "one+" && replace("/d/a", "two"));
    const unsigned long all = file_faults::operations();
    put("one+");
    file_faults::failNth(all, Kind::Eio, false); // its folder does not reach the disk
    EXPECT_TRUE(!replace("/d/a", "two") && get() == "two" && file_faults::operations() == all);
    file_faults::clear();
    for (const bool untouched : {false, true}) { // written again then, and from then on not
        fs::remove(root / "same");
        fs::create_hard_link(root / "d/a", root / "same");
        EXPECT_TRUE(replace("/d/a", "two"));
        EXPECT_EQ(untouched, fs::equivalent(root / "d/a", root / "same"));
    }
    EXPECT_TRUE(replace("/d/a", "") && get().empty() && filesInD() == 1);
}

TEST_F(Framework, ReadOneLineCutsLongLinesAndLineEnds) {
    const std::string most(1023, 'x'), zero("a\0b", 3);
    const Lines lines = {"a", "", "b\rb", zero, most, most + "y", most.substr(1) + "\ry", "z", ""};
    put("a\r\n\nb\rb\r\n" + zero + "\n" + lines[4] + "\r\n" + lines[5] + "\n" + lines[6] + "\nz");
    DKFile file;
    file.open("/d/a", DKFile::modeRead);
    for (const std::string& line : lines) {
        EXPECT_EQ(line.substr(0, 1023), DKFile::ReadOneLine(file.getFileHandle()));
    }
}

TEST(StringHandler, SplitKeepsEmptyPieces) {
    const Lines rows[] = {{"", ",", ""}, {"a", "", "a"}, {",a,,b,", ",", "", "a", "", "b", ""}};
    for (const Lines& row : rows) {
        Lines found = {row[0], row[1]};
        StringHandler::split(row[0], found, row[1]);
        EXPECT_EQ(row, found);
    }
}

TEST_F(Framework, ALogIsRotatedAndKeepsSoManyFiles) {
    setClock(7, 8, 9, 1e-6);
    const auto log = [](const char* path, unsigned int files, const char* text) {
        DKLogger logger;
        return logger.init(path, 30, files) && logger.writeLog("TAG", text);
    };
    for (const char* text : {"1", "2\n", "3", "4\r\n", "5\n\n", "6", "7"}) {
        EXPECT_TRUE(log("/d/log", 3, text) && log("/d/one", 1, text));
    }
    EXPECT_EQ(4, filesInD()); // log, log.1, log.2 and one
    const std::string stamp = get("one").substr(0, 24);
    EXPECT_EQ(" 07:08:09 ", stamp.substr(14)); // after TAG YYYY-MM-DD
    EXPECT_EQ(get("one") + stamp + "3\n" + stamp + "4\n", get("log") + get("log.2"));
    EXPECT_FALSE(log("/no/log", 3, "lost") || log(nullptr, 3, "") || fs::exists(root / "no"));
}

TEST_F(Framework, AShellCommandSeesTheDeviceRootAndEndsInTime) {
    int ends[2]; // the reading end tells when the last process that holds the other has ended
    ASSERT_EQ(0, pipe(ends));
    const std::tuple<int, int, const char*> rows[] = {
        {0, 5, "touch \"/d/sensor0\" '/d/b'>/d/c&&rm -rf /d*/sensor*"},
        {7, 5, "sleep 30 & exit 7"},
        {-1, 1, "sleep 30 & sleep 30"},
        {1, 5, "read nothing"},
        {-1, 5, "cat /d/../../x"},
        {-1, 5, nullptr}};
    for (const auto& [status, seconds, command] : rows) {
        EXPECT_EQ(status, sy_system(command, seconds)) << command;
    }
    EXPECT_TRUE(sy_access("/d/b", R_OK) == 0 && sy_access("/d/sensor0", F_OK) == -1);
    const pid_t child = fork(); // that is killed while it waits for a command
    if (child == 0) {
        _exit(sy_system("exec sleep 30", 30));
    }
    usleep(100000);
    EXPECT_EQ(0, kill(child, SIGKILL));
    waitpid(child, nullptr, 0);
    close(ends[1]);
    pollfd ended = {ends[0], 0, 0};
    EXPECT_EQ(1, poll(&ended, 1, 1000));
    close(ends[0]);
}

TEST_F(Framework, TheClockShowsTheSetTimeAndRunsAtTheSetSpeed) {
    ASSERT_TRUE(setClock(23, 59, 58, 1e-6));
    const DKDeviceTime evening = DKDeviceTime::getCurrentTime();
    EXPECT_EQ(235958, evening.hour * 10000 + evening.minute * 100 + evening.second);
    EXPECT_FALSE(setClock(0, 0, 60, 1) || setClockSpeed(0) || setClockSpeed(1e7));
    GThread hurry([] { return usleep(10000), setClockSpeed(1e4) ? 0 : 1; }, "hurry", [] {});
    EXPECT_TRUE(hurry.start());
    DravikTime::wait(DravikTime(2400, 2000000));
    const DKDeviceTime next = DKDeviceTime::getCurrentTime();
    EXPECT_TRUE(next.hour == 0 && next.minute >= 40 && next.day != evening.day) << next.minute;
}

TEST_F(Framework, AStoppedThreadLeavesItsPauseAndCanRunAgain) {
    std::atomic<int> bodies{0}, ends{0};
    const DravikTime forever(LONG_MAX, LONG_MAX);
    GThread thread([&] { return ++bodies, DravikTime::wait(forever), 0; }, "t", [&] { ++ends; });
    for (int run = 1; run <= 3; ++run) {
        EXPECT_TRUE(thread.start() && thread.start());
        while (bodies < run) {
            DravikTime::wait(DravikTime(-1, 0));
        }
        const long long asked = deviceMicroseconds();
        EXPECT_TRUE(thread.stop() && thread.stop() && bodies == run && ends == run);
        EXPECT_LT(deviceMicroseconds() - asked, 100000);
    }
}

TEST_F(Framework, MachineInformationIsReadFromAnyIniFile) {
    const std::pair<std::string, const char*> rows[] = {
        {"[machine]\r\n DeviceType = 7 \r\nmodelName=A = b\r\n", "7A = b"},
        {"#deviceType=1\n;deviceType=2\nmodelname=", "0"},
        {"deviceType=7x\ndeviceType=-7\ndeviceType=\ndeviceType=4294967296", "0?"},
        {"=\n[=]\n==\ndeviceType=2147483647", "2147483647?"},
        {"deviceType=1\n" + std::string(65536, '#'), "0?"}};
    for (const auto& [text, expected] : rows) {
        MachineInfo info;
        info.setModelName("?");
        put(text);
        EXPECT_EQ(*expected != '0', SystemInfoParser::parseMachineInfo("/d/a", info)) << text;
        EXPECT_EQ(expected, std::to_string(info.getDeviceType()) + info.getModelName());
    }
}

TEST_F(Framework, AModuleListIsFilteredAndAHostileOneRefused) {
    const std::string list =
        "<?xml version=\"1.0\"?><!-- </a> --><modules><module id=\"3\" label=\"L\" shortLabel='s'>"
        "<parameters>a&lt;b</parameters><detail>(max_scheme=4)\xC3\xA9</detail></module>"
        "<module id=\"4\" deviceType=\"1\" model=\"M\"/><module id=\"5\" model=\"N\"/></modules>";
    std::vector<ModuleConfigure> found;
    const auto parse = [&](const std::string& text) {
        put(text);
        return ModuleConfigureParser::parse("/d/a", "1", "M", found);
    };
    ASSERT_TRUE(parse(list) && found.size() == 2 && found[1].getModuleId() == 4);
    EXPECT_EQ("Lsa<b", found[0].getLabel() + found[0].getShortLabel() + found[0].getParameters());
    EXPECT_EQ("(max_scheme=4)\xC3\xA9", found[0].getDetail());
    for (std::size_t length = 0; length < list.size(); ++length) {
        EXPECT_FALSE(parse(list.substr(0, length))) << length;
    }
    EXPECT_FALSE(parse(list + "<!--\xA9-->") || parse(list + '\0') || parse("<other/>"));
    EXPECT_FALSE(parse(list + std::string(262144, ' ')));
    std::string opened = "<modules>", closed = "</modules>";
    for (int depth = 2; depth < 70; ++depth) {
        opened += "<a b='/>'><!--</a>-->";
        closed.insert(0, "</a>");
        EXPECT_EQ(depth <= 64, parse(opened + closed)) << depth;
    }
}

} // namespace
