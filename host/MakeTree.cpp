#include "host/MakeTree.h"

#include <filesystem>
#include <system_error>

#include "host/DeviceTree.h"
#include "host/OwnerLock.h"
#include "host/Text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr char kLast[] = "hd1"; ///< by which a device tree is known

bool failedAt(const fs::path& path, const std::string& why, std::string& problem) {
    problem = quoted(path.string()) + ": " + why;
    return false;
}

/// Where a path leads; what of it does not exist yet is taken as it is written.
bool resolve(const std::string& folder, fs::path& place, std::string& problem) {
    std::error_code error;
    place = fs::absolute(folder, error);
    if (!error) {
        place = fs::weakly_canonical(place, error);
    }
    if (!error && !place.has_filename()) { // of "folder/"
        place = place.parent_path();
    }
    if (error) {
        return failedAt(folder, error.message(), problem);
    }
    if (fs::is_symlink(fs::symlink_status(place, error))) {
        return failedAt(place,
                        "it is a link to " + quoted(fs::read_symlink(place, error).string()) +
                            ", which does not exist",
                        problem);
    }
    return true;
}

/// Moves what a folder holds into another one, each file whole, and leaves what is there.
bool moveInto(const fs::path& from, const fs::path& to, std::string& problem) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(to, error))) {
        fs::rename(from, to, error);
        return !error || failedAt(to, error.message(), problem);
    }
    const bool folder = fs::is_directory(from, error);
    if (folder != fs::is_directory(to, error)) {
        return failedAt(to, folder ? "it is no folder" : "it is no file", problem);
    }
    if (!folder) {
        return true;
    }
    const fs::path last = from / kLast;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path path = entry->path();
        if (path != last && !moveInto(path, to / path.filename(), problem)) {
            return false;
        }
    }
    if (error) {
        return failedAt(from, error.message(), problem);
    }
    return !fs::exists(last, error) || moveInto(last, to / kLast, problem);
}

/// Takes away the folders that were made, from the innermost on, as long as nobody else has put
/// anything in them.
void removeEmpty(fs::path folder, const fs::path& highest) {
    std::error_code error;
    while (fs::remove(folder, error) && folder != highest) {
        folder = folder.parent_path();
    }
}

} // namespace

bool makeTree(const std::string& folder, const std::string& program,
              const std::function<bool(const std::string& into, std::string& problem)>& fill,
              std::string& problem) {
    fs::path place;
    if (!resolve(folder, place, problem)) {
        return false;
    }
    std::error_code error;
    fs::path made; // the highest folder that this call makes
    for (fs::path above = place; !fs::exists(above, error); above = above.parent_path()) {
        made = above;
    }
    fs::create_directories(place, error);
    if (error) {
        return failedAt(place,
                        made.empty()
                            ? error.message()
                            : "it cannot be made in " + quoted(made.parent_path().string()) + ": " +
                                  error.message(),
                        problem);
    }
    OwnerLock lock;
    if (lock.take(treeLockPath(place.string()), program) == OwnerLock::Result::Owned) {
        problem = "the folder " + quoted(place.string()) + " is in use by " + lock.owner();
        return false;
    }
    if (isDeviceTree(place.string())) {
        return true; // another program was faster
    }
    if (fs::exists(fs::symlink_status(place / kLast, error)) &&
        !fs::is_directory(place / kLast, error)) {
        return failedAt(place / kLast, "it is no folder", problem);
    }
    const fs::path beside = place / ".making";
    fs::remove_all(beside, error); // of a program that was killed
    bool good = fs::create_directory(beside, error) || failedAt(place, error.message(), problem);
    good = good && fill(beside.string(), problem) && moveInto(beside, place, problem);
    fs::remove_all(beside, error);
    if (!good && !made.empty()) {
        fs::remove(treeLockPath(place.string()), error);
        removeEmpty(place, made);
    }
    return good;
}

} // namespace host
