#include "CommandTable.h"

#include <algorithm>
#include <iterator>

#include "ImageAdjustRecords.h"

namespace simulated_ia {
namespace {

constexpr CommandRow rows[] = {
#define ROW(symbol, number, name, min, max, defaultValue) \
    {CMD_##symbol, name, min, max, defaultValue},
    SIMULATED_COMMANDS(ROW)
#undef ROW
};

} // namespace

const CommandRow& commandRow(int row) {
    return rows[row];
}

int findCommand(unsigned int cmd) {
    const CommandRow* found = std::lower_bound(
        std::begin(rows), std::end(rows), cmd,
        [](const CommandRow& row, unsigned int wanted) { return row.cmd < wanted; });
    return found != std::end(rows) && found->cmd == cmd ? static_cast<int>(found - rows) : -1;
}

Fields fieldsOf(int row) {
    const image_adjust::Record record = image_adjust::recordOf(rows[row].cmd);
    return {row - static_cast<int>(rows[row].cmd - record.first), static_cast<int>(record.words)};
}

} // namespace simulated_ia
