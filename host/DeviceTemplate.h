#pragma once

/// The sample camera's documents, from which the device tree of another one is made.
namespace host::device_template {

extern const char style[];

struct Language {
    int id;
    const char* texts;  ///< of parameters and tabs
    const char* common; ///< of values
};
extern const Language languages[3];

} // namespace host::device_template
