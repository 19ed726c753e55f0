#include "host/Operation.h"

#include <algorithm>

namespace host {

bool Limits::allows(int value) const {
    if (!items.empty()) {
        return std::find(items.begin(), items.end(), value) != items.end();
    }
    const long long above = static_cast<long long>(value) - minimum;
    return value >= minimum && value <= maximum && (step <= 1 || above % step == 0);
}

std::string Limits::text() const {
    if (items.empty()) {
        return std::to_string(minimum) + ".." + std::to_string(maximum) +
               (step > 1 ? " in steps of " + std::to_string(step) : "");
    }
    std::string list;
    for (const int item : items) {
        list += (list.empty() ? "" : ",") + std::to_string(item);
    }
    return list;
}

} // namespace host
