#pragma once

/// The image-adjust layer: the camera's sensor and image signal processor behind one call.
///
/// What an implementation must provide:
/// - ia_ioctrl may be called by several threads at once; each call takes effect as a whole.
/// - It copies what it needs from the data before it returns, and keeps no pointer to it.
/// - It must not call back into the controller's locking members from within a call.
/// - It returns 0 on success and a negative code on failure. A failed set changes nothing.
/// - What it does not have on this sensor it refuses with IA_ERR_UNSUPPORTED, whatever the option.
///
/// Commands: every parameter that reaches the layer has one, and ia_cmd_e adds some. A parameter's
/// command has the number of its key (SensorKeys.h), with these exceptions:
///
///     83    one iris step open      key KEY_IRIS_UP, 17
///     84    one iris step closed    key KEY_IRIS_DOWN, 18
///     85    iris size               key KEY_IRIS_SIZE, 83
///     2464  frame rate              key KEY_SENSOR_FPS, 2497
///
/// 17, 18 and 2497 are no commands; a get of them may come all the same, when a program asks for
/// such a parameter and no scheme holds it. Likewise key 83 is then read as command 83.
///
/// Options: a command that can be set answers all five, and one that only tells (ia_cmd_e) answers
/// get. Of IA_CMD_PTZ_RUN_STATE set is enough. A command that orders a movement reads as any value
/// that it takes. Who asks, beside the compliance check, which tries every option:
///
///     set      the controller
///     get      the controller: 1536, 1552, 1568, 2368, ia_cmd_e, and what no scheme holds;
///              hosts: every command
///     range    the controller: the commands that IA_CMD_DYNAMIC_PARAMS_CMDS_GET lists;
///              hosts: every command, to tell what it takes and to check values beforehand
///     correct  the controller: the listed commands
///     status   hosts: movements of lens and iris; 0 where nothing takes time

/// What ia_ioctrl is asked to do with a command.
enum ia_opt_e : unsigned int {
    IA_CMD_OPT_SET = 0, ///< set the value, or the command's record, at data
    IA_CMD_OPT_GET = 1, ///< read the value, or the command's record, into data
    /// Read the command's range, an ia_dynamic_params_attr_st, into data.
    IA_CMD_OPT_GET_PARAM_RNAGE = 2,
    /// Replace the 32-bit value at data by the nearest one that a set would take.
    IA_CMD_OPT_CORRECT_PARAM = 3,
    /// Read into the 32-bit word at data whether the command still works: 0 done, 1 under way.
    IA_CMD_OPT_GET_EXEC_STATUS = 4,
};

/// Failure codes.
enum ia_error_e : int {
    IA_ERR_FAILED = -1,      ///< the hardware did not take the command
    IA_ERR_BUSY = -2,        ///< a movement is under way that the command may not interrupt
    IA_ERR_UNSUPPORTED = -3, ///< the command exists, but not on this sensor, or not in this state
    IA_ERR_RANGE = -4,       ///< the value is out of range or not among the allowed ones
    IA_ERR_UNKNOWN_CMD = -5, ///< no such command
    IA_ERR_ARGUMENT = -6,    ///< no such option for this command, or data is null
};

/// Commands that no parameter key stands for. The other commands carry the numbers of the keys.
enum ia_cmd_e : unsigned int {
    IA_CMD_DN_STATE = 153,                  ///< get: 0 by day, 1 by night
    IA_CMD_PTZ_RUN_STATE = 1632,            ///< set: 1 while the pan-tilt head moves, else 0
    IA_CMD_AF_STATISTIC = 1648,             ///< get: sharpness figure of the picture, unsigned
    IA_CMD_CAMERA_VERSION = 2496,           ///< get: IA_VERSION_SIZE bytes of text
    IA_CMD_DYNAMIC_PARAMS_CMDS_GET = 0x1010 ///< get: an ia_dynamic_params_cmds_st
};

/// Bytes of the version text; a text that fills them all has no zero byte.
enum { IA_VERSION_SIZE = 50 };

/// Entries of the list of restricted commands, and of a command's list of allowed values.
enum { IA_DYNAMIC_CMD_MAX = 16, IA_DYNAMIC_ITEM_MAX = 64 };

/// The commands whose values are restricted on this very sensor. The entries are looked
/// for among the keys, so the commands whose numbers are not their keys' have no place here.
struct ia_dynamic_params_cmds_st {
    int cmd_cnt; ///< valid entries of cmd_list, 0 .. IA_DYNAMIC_CMD_MAX
    int cmd_list[IA_DYNAMIC_CMD_MAX];
};
static_assert(sizeof(ia_dynamic_params_cmds_st) == 68, "the layer's record is 17 words");

/// What values a command takes.
struct ia_dynamic_params_attr_st {
    int cur_value;     ///< the value in force
    int default_value; ///< the value this sensor should start with
    int min_value;     ///< smallest value
    int max_value;     ///< largest value
    int items_cnt;     ///< valid entries of item, 0 .. IA_DYNAMIC_ITEM_MAX; 0: every value in range
    int item[IA_DYNAMIC_ITEM_MAX]; ///< the allowed values
};
static_assert(sizeof(ia_dynamic_params_attr_st) == 276, "the layer's record is 69 words");

/// Light thresholds of day/night switching; the record of commands 145 and 146.
struct dn_thr_st {
    unsigned int d2n_thr; ///< below this light level day turns to night
    unsigned int n2d_thr; ///< above this light level night turns to day
};
static_assert(sizeof(dn_thr_st) == 8, "the layer's record is 2 words");

/// Times of day/night switching; the record of commands 149 to 152.
struct dn_time_st {
    unsigned int d2n_hour; ///< 0 .. 23
    unsigned int d2n_min;  ///< 0 .. 59
    unsigned int n2d_hour; ///< 0 .. 23
    unsigned int n2d_min;  ///< 0 .. 59
};
static_assert(sizeof(dn_time_st) == 16, "the layer's record is 4 words");

/// The one entry of the layer.
/// @param cmd   command number: a parameter's key, or one of ia_cmd_e
/// @param opt   one of ia_opt_e
/// @param data  a 32-bit value, or the command's record, aligned to 4 bytes (IA_CMD_CAMERA_VERSION:
///              any alignment). Options 3 and 4 take a 32-bit word for every command. Commands with
///              a record for options 0 and 1: 145 and 146 dn_thr_st, 149 to 152 dn_time_st,
///              IA_CMD_CAMERA_VERSION and IA_CMD_DYNAMIC_PARAMS_CMDS_GET as above.
/// @return 0 on success, one of ia_error_e on failure
extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data);
