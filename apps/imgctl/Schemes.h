#pragma once

#include <string>
#include <vector>

#include "SensorTypes.h"

class ISensorController;
struct ia_dynamic_params_attr_st;

namespace host {

/// The factory values of the running camera, in the order of the records of every scheme.
std::vector<KeyVal> factoryValues();

/// The number of records of every scheme. Asks the controller's memory alone.
u32 recordCount(ISensorController& controller);

/// What a scheme's file holds. @return false when there is no file
bool savedValues(u32 scheme, std::vector<KeyVal>& values);

/// The scheme files that are there when this is made, held so that a new file in an old one's place
/// is told from the old one. Not thread-safe.
class SchemeFilesOfBefore {
public:
    SchemeFilesOfBefore();
    ~SchemeFilesOfBefore();
    SchemeFilesOfBefore(const SchemeFilesOfBefore&) = delete;
    SchemeFilesOfBefore& operator=(const SchemeFilesOfBefore&) = delete;

    /// The device path of one that is still there, "" when all are gone.
    std::string left() const;

private:
    struct File {
        std::string path;
        int descriptor;
    };
    std::vector<File> m_files;
};

/// The value of a key's first record, or null.
const u32* valueOf(const std::vector<KeyVal>& values, u32 key);

/// Saves a timed scheme, as it is in memory, to its file, whichever scheme is current.
/// @return 0; 505, 506, 507 for a wrong time window; -1 when the file does not hold it afterwards
int saveScheme(ISensorController& controller, u32 scheme);

/// @return 0 when the file of a timed scheme holds what the memory holds, otherwise -1
int checkSaved(ISensorController& controller, u32 scheme);

/// Why saving was refused, in words.
std::string saveProblem(int code);

/// Asks the layer what a command takes. @return false when it does not tell
bool rangeOf(u32 command, ia_dynamic_params_attr_st& range);

/// "0..255", or "40,50,60" where only these are allowed.
std::string rangeText(const ia_dynamic_params_attr_st& range);

/// Whether the layer would take a value.
bool isAllowed(const ia_dynamic_params_attr_st& range, int value);

/// "; it takes 0..255" for a command whose range is known, otherwise "".
std::string allowedFor(u32 command);

} // namespace host
