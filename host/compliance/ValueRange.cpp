#include "host/compliance/ValueRange.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace compliance {
namespace {

bool isItem(const ia_dynamic_params_attr_st& range, int value) {
    const int* end = range.item + range.items_cnt;
    return std::find(range.item, end, value) != end;
}

bool isWithin(const ia_dynamic_params_attr_st& range, int value) {
    return value >= range.min_value && value <= range.max_value;
}

long long distance(int left, int right) {
    return std::llabs(static_cast<long long>(left) - right);
}

} // namespace

std::string rangeProblem(const ia_dynamic_params_attr_st& range) {
    if (range.items_cnt < 0 || range.items_cnt > IA_DYNAMIC_ITEM_MAX) {
        return "range has " + std::to_string(range.items_cnt) + " items, not 0.." +
               std::to_string(IA_DYNAMIC_ITEM_MAX);
    }
    const std::string bounds =
        std::to_string(range.min_value) + ".." + std::to_string(range.max_value);
    if (range.min_value > range.max_value) {
        return "range " + bounds + " is empty";
    }
    std::string problem;
    const auto expect = [&](bool right, const char* what, int value, const std::string& where) {
        if (!right && problem.empty()) {
            problem = what + (" " + std::to_string(value)) + " is not " + where;
        }
    };
    expect(isWithin(range, range.default_value), "default", range.default_value, "in " + bounds);
    expect(isWithin(range, range.cur_value), "current value", range.cur_value, "in " + bounds);
    for (int i = 0; i < range.items_cnt; ++i) {
        expect(isWithin(range, range.item[i]), "item", range.item[i], "in " + bounds);
    }
    expect(range.items_cnt == 0 || isItem(range, range.default_value), "default",
           range.default_value, "among the items");
    return problem;
}

bool isSettable(const ia_dynamic_params_attr_st& range, int value) {
    return range.items_cnt > 0 ? isItem(range, value) : isWithin(range, value);
}

std::vector<int> settableValues(const ia_dynamic_params_attr_st& range) {
    std::vector<int> values(range.item, range.item + range.items_cnt);
    if (values.empty()) {
        values = {range.min_value, range.max_value};
    }
    values.push_back(range.default_value);
    return values;
}

std::vector<int> refusedValues(const ia_dynamic_params_attr_st& range) {
    std::vector<int> values;
    if (range.min_value > INT_MIN) {
        values.push_back(range.min_value - 1);
    }
    if (range.max_value < INT_MAX) {
        values.push_back(range.max_value + 1);
    }
    // Ends after as many steps as there are items, at the latest.
    int gap = range.min_value;
    while (gap < range.max_value && isSettable(range, gap)) {
        gap = range.items_cnt > 0 ? gap + 1 : range.max_value;
    }
    if (!isSettable(range, gap)) {
        values.push_back(gap);
    }
    return values;
}

bool isNearest(const ia_dynamic_params_attr_st& range, int wanted, int value) {
    if (!isSettable(range, value)) {
        return false;
    }
    if (range.items_cnt == 0) {
        return value == std::clamp(wanted, range.min_value, range.max_value);
    }
    return std::none_of(range.item, range.item + range.items_cnt,
                        [&](int item) { return distance(item, wanted) < distance(value, wanted); });
}

} // namespace compliance
