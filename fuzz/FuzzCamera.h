#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ISensorController.h"
#include "SensorFile.h"
#include "SensorKeyVal.h"
#include "SensorPaths.h"

/// What a fuzzer and the replay call: sees to a flash in a temporary folder, then tries the input.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size);

/// What a target is made of.
void tryInput(const std::string& input);

/// Ends the process, for the fuzzer to see, when something does not hold that must for every input.
void require(bool holds, const char* what);

/// Cuts an input at the byte 30, the ASCII record separator. Texts that it lacks are empty.
std::vector<std::string> texts(const std::string& input, size_t count);

/// Replaces a file of the device.
void writeFile(const std::string& path, const std::string& text);

/// Starts a controller at three o'clock, on a sensor just switched on, some of whose commands are
/// restricted. Schemes are switched on demand only.
std::unique_ptr<ISensorController> startCamera(const std::string& detail);
