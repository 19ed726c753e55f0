#include "StringHandler.h"

void StringHandler::split(const std::string& text, std::vector<std::string>& pieces,
                          const std::string& separator) {
    std::string::size_type begin = 0;
    if (!separator.empty()) {
        for (std::string::size_type end = text.find(separator); end != std::string::npos;
             end = text.find(separator, begin)) {
            pieces.push_back(text.substr(begin, end - begin));
            begin = end + separator.size();
        }
    }
    pieces.push_back(text.substr(begin));
}
