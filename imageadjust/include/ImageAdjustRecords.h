#pragma once

#include "ImageAdjust.h"

/// How long the records of the image-adjust commands are, and which commands share one. The
/// structures of ImageAdjust.h are the shapes; this tells them apart by command.
namespace image_adjust {

/// The words that options 0 and 1 of a command carry. Commands that share a record have consecutive
/// numbers, in the order of its fields.
struct Record {
    unsigned int first; ///< command of the record's first field
    unsigned int words; ///< 32-bit words, one field each
};

/// The commands of the first fields of the shared records.
enum : unsigned int { FIRST_THRESHOLD_CMD = 145, FIRST_TIME_CMD = 149 };

/// Words of the longest record: a command's range.
enum { RECORD_WORDS_MAX = sizeof(ia_dynamic_params_attr_st) / sizeof(int) };

/// The record of a command. A command that carries one value is its own first field.
constexpr Record recordOf(unsigned int cmd) {
    constexpr unsigned int thresholds = sizeof(dn_thr_st) / sizeof(int);
    constexpr unsigned int times = sizeof(dn_time_st) / sizeof(int);
    if (cmd - FIRST_THRESHOLD_CMD < thresholds) {
        return {FIRST_THRESHOLD_CMD, thresholds};
    }
    if (cmd - FIRST_TIME_CMD < times) {
        return {FIRST_TIME_CMD, times};
    }
    return {cmd, 1};
}

/// Whether a command tells something and cannot be set.
constexpr bool isReadOnly(unsigned int cmd) {
    return cmd == IA_CMD_DN_STATE || cmd == IA_CMD_AF_STATISTIC || cmd == IA_CMD_CAMERA_VERSION ||
           cmd == IA_CMD_DYNAMIC_PARAMS_CMDS_GET;
}

/// The bytes at data that a call reads or writes.
constexpr unsigned int bytesOf(unsigned int cmd, unsigned int opt) {
    if (opt == IA_CMD_OPT_GET_PARAM_RNAGE) {
        return sizeof(ia_dynamic_params_attr_st);
    }
    if (opt == IA_CMD_OPT_GET && cmd == IA_CMD_CAMERA_VERSION) {
        return IA_VERSION_SIZE;
    }
    if (opt == IA_CMD_OPT_GET && cmd == IA_CMD_DYNAMIC_PARAMS_CMDS_GET) {
        return sizeof(ia_dynamic_params_cmds_st);
    }
    const bool whole = opt == IA_CMD_OPT_SET || opt == IA_CMD_OPT_GET;
    return (whole ? recordOf(cmd).words : 1) * static_cast<unsigned int>(sizeof(int));
}

} // namespace image_adjust
