#include "host/DeviceTree.h"

#include <strings.h>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "DKFile.h"
#include "LinuxFramework.h"
#include "SensorPaths.h"
#include "host/Text.h"

namespace host {

namespace {

constexpr char kBefore[] = ".before";

bool isDeviceTypeLine(const std::string& line) {
    const std::size_t equals = line.find('=');
    return equals != std::string::npos &&
           strcasecmp(trim(line.substr(0, equals)).c_str(), "deviceType") == 0;
}

} // namespace

std::string defaultDeviceTree() {
    const char* directory = std::getenv("IMGCTL_DEVICE");
    if (directory != nullptr && directory[0] != '\0') {
        return directory;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / "device-root").string();
}

bool isDeviceTree(const std::string& directory) {
    std::error_code error;
    return std::filesystem::is_directory(std::filesystem::path(directory) / "hd1", error);
}

bool openDeviceTree(const std::string& directory, std::string& problem) {
    std::error_code error;
    const std::filesystem::path root = std::filesystem::canonical(directory, error);
    if (error || !isDeviceTree(directory)) {
        problem = "no device tree: " + quoted(directory) +
                  (root.empty() ? " does not exist" : " has no folder hd1") +
                  "; --make-device makes one there, or name another with --device";
        return false;
    }
    if (!linux_framework::setDeviceRoot(root.string())) {
        problem = "device tree " + quoted(directory) + ": the path is too long";
        return false;
    }
    for (const char* folder : sensor_paths::kFolders) {
        // What cannot be made here is reported when something is to be written there.
        std::filesystem::create_directories(root / (folder + 1), error);
    }
    return true;
}

bool readDeviceFile(const std::string& path, std::size_t most, std::string& text) {
    DKFile file;
    if (file.open(path.c_str(), DKFile::modeRead) == 0) {
        return false;
    }
    const long long length = file.getLength();
    if (length < 0 || static_cast<unsigned long long>(length) > most) {
        return false;
    }
    text.resize(static_cast<std::size_t>(length));
    const auto count = static_cast<unsigned int>(length);
    return file.read(text.data(), count) == static_cast<int>(count);
}

bool writeDeviceFile(const std::string& path, const std::string& text, std::string& problem) {
    DKFile file;
    const auto count = static_cast<unsigned int>(text.size());
    if (file.open(path.c_str(), DKFile::modeWrite | DKFile::modeTruncate) == 0 ||
        file.write(text.data(), count) != static_cast<int>(count)) {
        problem = "cannot write " + path + " in the device tree " +
                  printable(linux_framework::deviceRoot());
        return false;
    }
    return true;
}

bool writeSignFile(int level, bool abort, std::string& problem) {
    return writeDeviceFile(sensor_paths::kSignFile,
                           std::to_string(level) + (abort ? "\n1\n" : "\n0\n"), problem);
}

void keepSignFile() {
    const std::string file = linux_framework::deviceRoot() + std::string(sensor_paths::kSignFile);
    std::error_code error;
    if (std::filesystem::exists(file + kBefore, error)) {
        return; // of a run that could not put it back
    }
    if (std::filesystem::exists(file, error)) {
        std::filesystem::copy_file(file, file + kBefore, error);
    } else {
        std::ofstream none(file + kBefore);
    }
}

void restoreSignFile() {
    const std::string file = linux_framework::deviceRoot() + std::string(sensor_paths::kSignFile);
    std::error_code error;
    const auto size = std::filesystem::file_size(file + kBefore, error);
    if (error) {
        return;
    }
    if (size == 0) {
        std::filesystem::remove(file, error);
        std::filesystem::remove(file + kBefore, error);
    } else {
        std::filesystem::rename(file + kBefore, file, error);
    }
}

bool writeDeviceType(int type, std::string& problem) {
    std::string old;
    if (!readDeviceFile(sensor_paths::kMachineInfo, 65536, old)) {
        old.clear();
    }
    const std::string entry = "deviceType=" + std::to_string(type) + "\n";
    std::string text;
    bool written = false;
    std::size_t position = 0;
    while (position < old.size()) {
        const std::size_t end = std::min(old.find('\n', position), old.size() - 1);
        const std::string line = old.substr(position, end + 1 - position);
        position = end + 1;
        if (!isDeviceTypeLine(line)) {
            text += line;
        } else if (!written) {
            text += entry;
            written = true;
        }
    }
    if (!written) {
        text += (text.empty() || text.back() == '\n' ? "" : "\n") + entry;
    }
    return text == old || writeDeviceFile(sensor_paths::kMachineInfo, text, problem);
}

} // namespace host
