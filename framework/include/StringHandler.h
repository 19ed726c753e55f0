#pragma once

#include <string>
#include <vector>

/// Text helpers of the framework.
class StringHandler {
public:
    /// Cuts a text at every separator and appends the pieces, empty ones included, to a list.
    /// A text without a separator is one piece, an empty separator cuts nowhere.
    static void split(const std::string& text, std::vector<std::string>& pieces,
                      const std::string& separator);
};
