#include "SensorKeyVal.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <iterator>
#include <new>

#include "ImageAdjust.h"
#include "KeyValAccess.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorKeyVal;

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads a signed decimal at text[at ..], blanks before it included, and moves at behind it.
/// @return false, with at and number as they were, when there is none
bool scanNumber(const char* text, size_t& at, size_t end, int& number) {
    size_t i = at;
    while (i < end && isBlank(text[i]))
        ++i;
    const bool negative = i < end && text[i] == '-';
    if (i < end && (text[i] == '-' || text[i] == '+'))
        ++i;
    if (i >= end || !isDigit(text[i]))
        return false;
    // Beyond 32 bits further digits change nothing: the number is cut all the same.
    unsigned long long value = 0;
    for (; i < end && isDigit(text[i]); ++i) {
        if (value <= 0xffffffffu)
            value = value * 10 + static_cast<u32>(text[i] - '0');
    }
    value = std::min(value, static_cast<unsigned long long>(INT_MAX) + (negative ? 1 : 0));
    at = i;
    number = static_cast<int>(negative ? 0u - static_cast<u32>(value) : static_cast<u32>(value));
    return true;
}

/// Reads "(key,value" at text[at ..]. Numbers that are not there stay as they are.
void scanPair(const char* text, size_t at, size_t end, int& key, int& value) {
    ++at; // the opening parenthesis
    if (scanNumber(text, at, end, key) && at < end && text[at] == ',')
        scanNumber(text, ++at, end, value);
}

/// Writes a signed decimal so that it ends before end. @return its start
char* writeNumber(char* end, u32 word) {
    const bool negative = static_cast<int>(word) < 0;
    u32 rest = negative ? 0u - word : word;
    do {
        *--end = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (negative)
        *--end = '-';
    return end;
}

} // namespace

int keyval_correct(KeyVal* p_pKeyval, u32 p_nKeyValNum) {
    if (p_pKeyval == nullptr)
        REPORT_ASSERTION("NULL != p_pKeyval", "\n");
    const u32 count = p_pKeyval ? p_nKeyValNum : 0;
    ia_dynamic_params_cmds_st dnaCmdList = {};
    if (ia_ioctrl(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, &dnaCmdList) != SNS_SUCCESS) {
        REPORT_ASSERTION(
            "SNS_SUCCESS == ia_ioctrl(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, "
            "(void*)(&dnaCmdList))",
            "\n");
    }
    const int commands =
        std::min(dnaCmdList.cmd_cnt, static_cast<int>(std::size(dnaCmdList.cmd_list)));
    for (int i = 0; i < commands; ++i) {
        const int index = findRecord(p_pKeyval, count, static_cast<u32>(dnaCmdList.cmd_list[i]));
        if (index == -1) {
            REPORT_ASSERTION("-1 != index", "\n");
            continue;
        }
        KeyVal& record = p_pKeyval[index];
        REPORT_DEBUG("before correct: (%d,%d)\n", static_cast<int>(record.key),
                     static_cast<int>(record.value));
        CommandScratch scratch(record.value);
        const int result = ia_ioctrl(record.key, IA_CMD_OPT_CORRECT_PARAM, scratch.words);
        record.value = scratch.words[0];
        if (result != SNS_SUCCESS) {
            REPORT_ASSERTION(
                "SNS_SUCCESS == ia_ioctrl((ia_cmd_e)p_pKeyval[index].key, "
                "IA_CMD_OPT_CORRECT_PARAM, &p_pKeyval[index].value)",
                "\n");
            continue;
        }
        REPORT_DEBUG("after correct: (%d,%d)\n", static_cast<int>(record.key),
                     static_cast<int>(record.value));
    }
    return SNS_SUCCESS;
}

void keyval_st2str(std::string& p_strText, KeyVal* p_pKeyval, u32 p_nKeyValNum) {
    const size_t before = p_strText.size();
    try {
        p_strText.reserve(before + size_t{12} * p_nKeyValNum);
        for (u32 i = 0; i < p_nKeyValNum; ++i) {
            char pair[28];
            char* start = pair + sizeof pair;
            *--start = ')';
            start = writeNumber(start, p_pKeyval[i].value);
            *--start = ',';
            start = writeNumber(start, p_pKeyval[i].key);
            *--start = '(';
            p_strText.append(start, static_cast<size_t>(pair + sizeof pair - start));
        }
    } catch (const std::bad_alloc&) {
        p_strText.resize(before); // all records or none
        REPORT_ASSERTION("no std::bad_alloc");
    }
}

void keyval_str2st(const std::string& p_strText, KeyVal* p_pKeyval, u32* p_pnKeyValNum,
                   u32 p_nCapacity) {
    *p_pnKeyValNum = 0;
    int key = 0;
    int value = 0;
    const size_t size = p_strText.size();
    const char* const text = p_strText.data();
    // A text may hold many ")" before a distant "(": each search goes on where it is still valid.
    size_t open = 0;
    bool searched = false;
    bool tailScanned = false;
    for (size_t at = 0; at < size && *p_pnKeyValNum < p_nCapacity;) {
        // The usual pair stands right here and needs no search.
        if (text[at] == '(') {
            size_t behind = at + 1;
            int wholeKey = 0;
            int wholeValue = 0;
            if (scanNumber(text, behind, size, wholeKey) && behind < size && text[behind] == ',' &&
                scanNumber(text, ++behind, size, wholeValue) && behind < size &&
                text[behind] == ')') {
                key = wholeKey;
                value = wholeValue;
                p_pKeyval[*p_pnKeyValNum] = KeyVal{static_cast<u32>(key), static_cast<u32>(value)};
                ++*p_pnKeyValNum;
                at = behind + 1;
                continue;
            }
        }
        if (!searched || open < at) {
            searched = true;
            open = p_strText.find('(', at);
            tailScanned = false;
        }
        if (open == std::string::npos || open == size - 1)
            return;
        const size_t close = p_strText.find(')', at);
        if (close == std::string::npos)
            return;
        if (close > open) {
            scanPair(text, open, close, key, value);
        } else if (close + 1 < open && !tailScanned) {
            scanPair(text, open, size, key, value);
            tailScanned = true; // reading it again would give the same numbers
        }
        p_pKeyval[*p_pnKeyValNum] = KeyVal{static_cast<u32>(key), static_cast<u32>(value)};
        ++*p_pnKeyValNum;
        at = close + 1;
    }
}
