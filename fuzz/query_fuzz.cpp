#include "FuzzCamera.h"

/// Query text, to a running controller.
void tryInput(const std::string& input) {
    static const auto controller = startCamera("(max_scheme=1)");
    std::vector<std::string> ids;
    std::string answer = "untouched";
    const bool sound = controller->parseSensorParameter(input, ids);
    require(controller->getParameters(input, answer) == sound, "both judge a query alike");
    if (!sound)
        return require(answer == "untouched", "a malformed query leaves the answer as it was");
    std::string joined;
    std::string expected;
    for (const std::string& id : ids) {
        std::string single;
        require(controller->getParameters("( " + id + ")", single), "every id is a query");
        expected += single;
        joined += ',' + id;
    }
    require(answer == expected, "an answer is that of its ids one by one");
    require('(' + joined.substr(1) + ')' == input, "a query is cut at its commas");
}
