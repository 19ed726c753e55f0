#pragma once

class ISensorController;

typedef unsigned int u32;
typedef long long INT64;

/// Result of an operation that succeeded.
enum { SNS_SUCCESS = 0 };

/// Most records a parameter set can have, and so the room every array of a whole set needs.
enum { SENSOR_KEYVAL_MAX = 100 };

/// Most timed schemes a camera can have.
enum { SENSOR_SCHEME_MAX = 255 };

/// One parameter: a key (see SensorKeys.h) and its value. Arrays of it are written to the scheme
/// files exactly as they lie in memory.
struct KeyVal {
    u32 key;
    u32 value;
};
static_assert(sizeof(KeyVal) == 8, "a record of the scheme files is 8 bytes");

/// A handler applies or reads one parameter.
/// @param cmd   the image-adjust command of the key
/// @param opt   0 sets, IA_CMD_OPT_GET reads
/// @param data  the 32-bit value; a handler may change it
/// @return 0 (SNS_SUCCESS), or the failure code of the layer or of the video module
typedef int (ISensorController::*SensorHandler)(unsigned int cmd, unsigned int opt, void* data);

/// One row of the key-command map.
struct keycmd {
    u32 key;               ///< the parameter's key
    u32 ia_cmd;            ///< the image-adjust command that carries it
    SensorHandler handler; ///< applies it; null for the scheme keys, which are only stored
    char name[32];         ///< the key's symbolic name, for traces
    char handler_name[64]; ///< the handler's name, for traces; "NULL" where there is none
};
