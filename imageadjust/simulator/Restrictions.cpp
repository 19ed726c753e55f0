#include "Restrictions.h"

#include <algorithm>
#include <cstdlib>

namespace simulated_ia {

const Restrictions::Limit* Restrictions::find(unsigned int cmd) const {
    const Limit* end = m_limits + m_count;
    const Limit* found =
        std::find_if(m_limits, end, [cmd](const Limit& limit) { return limit.cmd == cmd; });
    return found != end ? found : nullptr;
}

bool Restrictions::limit(unsigned int cmd, int defaultValue, const std::vector<int>& items) {
    const Limit* old = find(cmd);
    if (findCommand(cmd) < 0 || items.empty() || items.size() > IA_DYNAMIC_ITEM_MAX ||
        (old == nullptr && m_count == IA_DYNAMIC_CMD_MAX)) {
        return false;
    }
    Limit& limit = m_limits[old != nullptr ? old - m_limits : m_count++];
    limit.cmd = cmd;
    limit.defaultValue = defaultValue;
    limit.count = static_cast<int>(items.size());
    std::copy(items.begin(), items.end(), limit.item);
    return true;
}

bool Restrictions::unlimit(unsigned int cmd) {
    const Limit* old = find(cmd);
    if (old == nullptr) {
        return false;
    }
    std::copy(old + 1, static_cast<const Limit*>(m_limits + m_count), m_limits + (old - m_limits));
    --m_count;
    return true;
}

std::vector<Restriction> Restrictions::all() const {
    std::vector<Restriction> list;
    for (const Limit* limit = m_limits; limit != m_limits + m_count; ++limit) {
        list.push_back({limit->cmd, limit->defaultValue,
                        std::vector<int>(limit->item, limit->item + limit->count)});
    }
    return list;
}

bool Restrictions::accepts(const CommandRow& row, int value) const {
    if (const Limit* limit = find(row.cmd)) {
        const int* end = limit->item + limit->count;
        return std::find(limit->item, end, value) != end;
    }
    return value >= row.min && value <= row.max;
}

int Restrictions::nearest(const CommandRow& row, int value) const {
    const Limit* limit = find(row.cmd);
    if (limit == nullptr) {
        return std::clamp(value, row.min, row.max);
    }
    return *std::min_element(limit->item, limit->item + limit->count,
                             [value](long long left, long long right) {
                                 const long long leftAway = std::llabs(left - value);
                                 const long long rightAway = std::llabs(right - value);
                                 return leftAway != rightAway ? leftAway < rightAway : left < right;
                             });
}

ia_dynamic_params_attr_st Restrictions::range(const CommandRow& row, int current) const {
    ia_dynamic_params_attr_st range = {};
    range.cur_value = current;
    range.default_value = row.defaultValue;
    range.min_value = row.min;
    range.max_value = row.max;
    if (const Limit* limit = find(row.cmd)) {
        range.default_value = limit->defaultValue;
        range.items_cnt = limit->count;
        std::copy(limit->item, limit->item + limit->count, range.item);
    }
    return range;
}

ia_dynamic_params_cmds_st Restrictions::list() const {
    ia_dynamic_params_cmds_st list = {};
    list.cmd_cnt = m_count;
    for (int i = 0; i < m_count; ++i) {
        list.cmd_list[i] = static_cast<int>(m_limits[i].cmd);
    }
    return list;
}

} // namespace simulated_ia
