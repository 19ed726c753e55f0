#pragma once

#include <functional>
#include <string>

namespace host {

/// Makes a device tree in a folder where there is none, for the program that owns it then.
///
/// The folder may be missing, with those above it, may be a link to one, and may hold something
/// already, which stays. It gets its folder hd1 last, by which a device tree is known: so half a
/// tree is never taken for a whole one, also where making it was interrupted. Files and folders
/// have the modes that the umask leaves.
/// @param program  who owns the tree meanwhile, for others that ask
/// @param fill     makes the tree in an empty folder; false with what is wrong
/// @param problem  receives what is wrong: the path and why
/// @return whether there is a tree now. Where not, folders that were made are gone again unless
///         somebody else uses them, and one that was there may hold parts of a tree without hd1
bool makeTree(const std::string& folder, const std::string& program,
              const std::function<bool(const std::string& into, std::string& problem)>& fill,
              std::string& problem);

} // namespace host
