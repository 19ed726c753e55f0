#include <cstdlib>

#include "Prompt.h"

namespace imgctl {

bool readLine(FILE* file, std::string& line) {
    char* buffer = nullptr;
    std::size_t size = 0;
    const ssize_t length = getline(&buffer, &size, file);
    if (length >= 0) {
        line.assign(buffer, static_cast<std::size_t>(length));
    }
    std::free(buffer);
    if (!line.empty() && line.back() == '\n') {
        line.pop_back();
    }
    return length >= 0;
}

} // namespace imgctl
