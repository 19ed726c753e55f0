#include <fstream>

#include "Daemon.h"

namespace {

/// Every command of the guide's day over the network does what it says: none is refused.
TEST_F(Daemon, TheGuidesDayWorks) {
    start(false);
    std::ifstream guide(IMGCTL_SOURCE_DIR "/docs/guide.md");
    std::string line;
    std::string script;
    int commands = 0;
    bool day = false;
    while (std::getline(guide, line)) {
        if (line.compare(0, 3, "## ") == 0) {
            day = line.find("over the network") != std::string::npos;
        }
        if (!day || line.compare(0, 4, "    ") != 0 || line.find("./run") != std::string::npos) {
            continue;
        }
        for (std::string::size_type at; (at = line.find(":8080")) != std::string::npos;) {
            line.replace(at, 5, ":" + std::to_string(port));
        }
        const bool endless = line.find("-m 1") != std::string::npos;
        script += line.substr(4, line.find("   #") - 4) + (endless ? " || [ $? = 28 ]" : "") + "\n";
        ++commands;
    }
    EXPECT_GT(commands, 15);
    const std::string file = root + "/day.sh";
    // A refusal ends it; what streams without end is cut off by its own time limit.
    std::ofstream(file) << "set -e; cd " << root
                        << "; curl() { command curl -sS --fail-with-body \"$@\"; }\n"
                        << script;
    std::string output;
    EXPECT_EQ(runProgram("bash", file, output), 0)
        << output.substr(output.size() > 3000 ? output.size() - 3000 : 0);
    EXPECT_NE(output.find("event: hello"), std::string::npos);
}

} // namespace
