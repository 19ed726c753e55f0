#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "Camera.h"
#include "SensorDebug.h"
#include "SensorFile.h"

namespace {

constexpr char kSign[] = "/mnt/mtd/sign/Debug.sign";
constexpr char kLog[] = "/mnt/mtd/log/SensorError.log";

class Reports : public Camera {};

TEST_F(Reports, FollowTheSignFile) {
    const struct {
        std::string sign;
        int level;
        bool abort;
    } table[] = {
        {"7\n1\n", 7, true},
        {"\n0\n", 1, false},
        {"", 1, false},
        {"-1", -1, false},
        {"6abc\r\n", 6, false},
        {"x\ny\n", 0, false},
        {"3\n-5", 3, true},
        {"99999999999\n\n", 2147483647, false},
        {" 4\n 0x1\n", 4, false},
        {"\r\n1\r\n", 1, true},
        {" \n7", 0, true},
        // Only the first kilobyte is read.
        {"6" + std::string(1021, ' ') + "\n1" + std::string(5000, 'x'), 6, true},
        {"6" + std::string(1022, ' ') + "\n1", 6, false},
        {std::string(1023, ' ') + "42", 4, false},
    };
    for (const auto& row : table) {
        write(kSign, row.sign);
        updateDebugLevel();
        EXPECT_EQ(row.level, g_nDebugLevel) << row.sign;
        EXPECT_EQ(row.abort, g_bEnAssert) << row.sign;
    }
    // A sign that is there but cannot be opened changes nothing; without one it is quiet again.
    write(kSign, "5\n1\n");
    updateDebugLevel();
    ASSERT_EQ(0, remove((root + kSign).c_str()));
    ASSERT_EQ(0, mkdir((root + kSign).c_str(), 0700));
    updateDebugLevel();
    EXPECT_EQ(5, g_nDebugLevel);
    EXPECT_TRUE(g_bEnAssert);
    ASSERT_EQ(0, remove((root + kSign).c_str()));
    updateDebugLevel();
    EXPECT_EQ(1, g_nDebugLevel);
    EXPECT_FALSE(g_bEnAssert);
}

TEST_F(Reports, AFailedAssertionIsShownInRedAndLoggedAsThreeEntries) {
    char name[] = "/no/where.cfg";
    ::testing::internal::CaptureStdout();
    char buffer[4];
    EXPECT_EQ(0, saveToFile(name, buffer, 4));
    const std::string shown = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(
        0u, shown.find("\033[0m\033[31m[sensor assert] file:SensorFile.cpp fun:saveToFile line:"));
    EXPECT_EQ(
        "[sensor assert] file:SensorFile.cpp fun:saveToFile line:0\n"
        "file.open(file_name, DKFile::modeWrite | DKFile::modeTruncate)   ~~~Assertion failed.\n"
        "file_name(/no/where.cfg)\n"
        "[sensor assert] file:SensorFile.cpp fun:saveToFile line:0\n"
        "file_len == (nSize=file.write(data, file_len))   ~~~Assertion failed.\n"
        "file_len(4)\n",
        plain(shown));
    const std::string log = read(kLog);
    EXPECT_EQ(6, std::count(log.begin(), log.end(), '\n')) << log;
    EXPECT_NE(std::string::npos, log.find("[sensor assert]"));

    setDebugLevel(-1);
    EXPECT_EQ("", output([&] { saveToFile(name, buffer, 4); }));
    EXPECT_EQ(log, read(kLog));
}

TEST_F(Reports, TheAbortSwitchEndsTheProcessAfterTheReport) {
    write(kSign, "0\n1\n");
    EXPECT_DEATH(
        {
            dup2(2, 1); // both outputs in one
            getFileLen("/no/where");
        },
        "file.open\\(file_name\\)   ~~~Assertion failed.(.|\n)*file_name\\(/no/where\\)(.|\n)*"
        "SensorFile.cpp.*INT64 getFileLen\\(const char.*\\).*bRet");
}

} // namespace
