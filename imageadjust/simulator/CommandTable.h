#pragma once

namespace simulated_ia {

/// The commands that do more than keep a value, and those that the models read.
enum Command : unsigned int {
    CMD_IRIS_SPEED = 81,
    CMD_IRIS_POSITION = 82,
    CMD_IRIS_UP = 83,
    CMD_IRIS_DOWN = 84,
    CMD_DN_MODE = 144,
    CMD_DTN_THR = 145,
    CMD_NTD_THR = 146,
    CMD_DTN_HOUR = 149,
    CMD_DTN_MIN = 150,
    CMD_NTD_HOUR = 151,
    CMD_NTD_MIN = 152,
    CMD_IR_SWITCH = 160,
    CMD_IR_MODE = 161,
    CMD_IR_AUTO_NEAR = 162, ///< the strengths up to 167 alternate: automatic, manual
    CMD_IR_MANUAL_FAR = 167,
    CMD_FOCUS_MODE = 1536,
    CMD_FOCUS_ONCE = 1539,
    CMD_FOCUS_POSITION = 1552,
    CMD_FOCUS_NEAR = 1553,
    CMD_FOCUS_FAR = 1554,
    CMD_ZOOM_POSITION = 1568,
    CMD_ZOOM_IN = 1569,
    CMD_ZOOM_OUT = 1570,
    CMD_ZOOM_SPEED = 1571,
    CMD_LENS_RESET = 1616,
};

/// One command that can be set.
struct CommandRow {
    unsigned int cmd;
    const char* name;
    int min;
    int max;
    int defaultValue;
};

/// Rows of the table.
enum { COMMAND_COUNT = 83 };

/// @param row  0 .. COMMAND_COUNT - 1; the rows ascend by command
const CommandRow& commandRow(int row);

/// @return the row of a command that can be set, -1 for any other
int findCommand(unsigned int cmd);

/// The rows of the table that one command sets and reads together: for most commands its own, for
/// the day/night commands those of the record's fields, in the record's order.
struct Fields {
    int first;
    int count;
};

/// @param row  the command's row
Fields fieldsOf(int row);

} // namespace simulated_ia
