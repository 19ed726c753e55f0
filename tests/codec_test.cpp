#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <iterator>
#include <string>

#include "Camera.h"
#include "SensorKeyVal.h"

namespace {

std::string toText(const std::vector<KeyVal>& records) {
    std::string text;
    for (const KeyVal& kv : records) {
        text += '(' + std::to_string(static_cast<int>(kv.key)) + ',' +
                std::to_string(static_cast<int>(kv.value)) + ')';
    }
    return text;
}

std::vector<KeyVal> parse(const std::string& text) {
    std::vector<KeyVal> records(static_cast<size_t>(std::count(text.begin(), text.end(), '(')) +
                                static_cast<size_t>(std::count(text.begin(), text.end(), ')')));
    u32 count = 0;
    keyval_str2st(text, records.data(), &count, static_cast<u32>(records.size()));
    records.resize(count);
    return records;
}

/// The rules read literally, on sscanf; its numbers have 64 bits here, so they are held to 32.
std::vector<KeyVal> parseWithSscanf(const std::string& text) {
    std::vector<KeyVal> records;
    long key = 0;
    long value = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t open = text.find('(', at);
        const size_t close = text.find(')', at);
        if (open == std::string::npos || open == text.size() - 1 || close == std::string::npos)
            break;
        const std::string piece =
            close + 1 == open
                ? ""
                : text.substr(open, close > open ? close - open + 1 : std::string::npos);
        sscanf(piece.c_str(), "(%ld,%ld)", &key, &value);
        key = std::clamp<long>(key, INT_MIN, INT_MAX);
        value = std::clamp<long>(value, INT_MIN, INT_MAX);
        records.push_back(KeyVal{static_cast<u32>(key), static_cast<u32>(value)});
        at = close + 1;
    }
    return records;
}

TEST(PairText, ReadsKnownOddities) {
    const struct {
        const char* text;
        const char* records;
    } table[] = {
        {"", ""},
        {"(1,2)(3,4)", "(1,2)(3,4)"},
        {"(1,2) junk (3,4)", "(1,2)(3,4)"},
        {"(5,6)(", "(5,6)"},
        {"(1,2)(3", "(1,2)"},
        {"(9,9)(x,7)", "(9,9)(9,9)"},
        {"(9,9)(8;7)", "(9,9)(8,9)"},
        {")(4,5)", "(0,0)(4,5)"},
        {"x)y(4,5)", "(4,5)(4,5)"},
        {"(1,2)x)(3,4)", "(1,2)(1,2)(3,4)"},
        {"( 1,\t-2)", "(1,-2)"},
        {"(99999999999999999999,-99999999999999999999)", "(2147483647,-2147483648)"},
    };
    for (const auto& row : table)
        EXPECT_EQ(row.records, toText(parse(row.text))) << row.text;
}

TEST(PairText, ReadsEveryTextLikeSscanf) {
    Random random(1);
    const char* const pieces[] = {"(", ")",     ",",  "-",          "+",  " ",
                                  "x", "(7,8)", "34", "2147483648", "\n", "0"};
    for (int i = 0; i < 200000; ++i) {
        std::string text;
        for (unsigned int n = random(14); n > 0; --n)
            text += pieces[random(static_cast<unsigned int>(std::size(pieces)))];
        ASSERT_EQ(toText(parseWithSscanf(text)), toText(parse(text))) << text;
    }
}

TEST(PairText, StopsAtTheCapacityAndTakesLinearTime) {
    KeyVal two[3] = {{1, 1}, {1, 1}, {77, 77}};
    u32 count = 9;
    keyval_str2st("(1,2)(3,4)(5,6)", two, &count, 2);
    EXPECT_EQ(2u, count);
    EXPECT_EQ(77u, two[2].key);
    // A search from every ")" to the distant "(" would take minutes.
    EXPECT_EQ(1000001u,
              parse(std::string(1000000, ')') + "(" + std::string(1000000, '1') + ",2)").size());
}

TEST(PairText, WritesWhatItReadsBehindWhatWasThere) {
    std::string text = "x";
    KeyVal records[] = {{1, 50}, {0x80000000u, 0xffffffffu}, {7, 0}};
    keyval_st2str(text, records, 0);
    keyval_st2str(text, records, 3);
    EXPECT_EQ("x(1,50)(-2147483648,-1)(7,0)", text);
    EXPECT_EQ("(1,50)(-2147483648,-1)(7,0)", toText(parse(text)));
}

class Correction : public Camera {};

TEST_F(Correction, SkipsWhatIsMissingOrLiedAbout) {
    simulated_ia::limit(34, 100, {100, 110});
    simulated_ia::limit(KEY_GAMMA, 1, {1});
    KeyVal records[] = {{2337, 900}, {34, 300}, {34, 301}};
    const std::string out = output([&] { EXPECT_EQ(0, keyval_correct(records, 3)); });
    EXPECT_EQ("(2337,900)(34,110)(34,301)", toText({records, records + 3}));
    EXPECT_EQ(
        "[sensor assert] file:SensorKeyVal.cpp fun:keyval_correct line:0\n"
        "-1 != index   ~~~Assertion failed.\n\n",
        out);
    for (const int count : {-1, 17, INT_MAX}) {
        simulated_ia::setLie({true, count, count, false});
        EXPECT_EQ(0, keyval_correct(records, 3));
    }
    EXPECT_EQ(0, keyval_correct(nullptr, 3));
}

} // namespace
