#include <unistd.h>

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

/// The chapter on ONVIF, with a service of its own: its commands one by one, as they stand.
TEST_F(Daemon, TheGuidesOnvifWorks) {
    std::string problem;
    const int probe = http::listenTcp("127.0.0.1", 0, problem);
    const std::string free = ":" + std::to_string(http::portOf(probe));
    close(probe);
    std::ifstream guide(IMGCTL_SOURCE_DIR "/docs/guide.md");
    std::string script;
    bool chapter = false;
    for (std::string line; std::getline(guide, line);) {
        chapter =
            line.compare(0, 3, "## ") == 0 ? line.find("ONVIF") != std::string::npos : chapter;
        const std::string::size_type at = line.find(":8080");
        if (at != std::string::npos) {
            line.replace(at, 5, free);
        }
        if (chapter && line.compare(0, 8, "    bin=") == 0) {
            line = "    bin=" + std::string(IMGCTLD).substr(0, std::string(IMGCTLD).rfind('/')) +
                   " tree=" + root;
        }
        if (chapter && line.compare(0, 4, "    ") == 0) {
            script += line.substr(4) + "\n";
        }
    }
    std::ofstream(root + "/chapter.sh")
        << "set -e; trap 'kill $(jobs -p) || true' EXIT; cd " << root << "\n"
        << script;
    std::string output;
    EXPECT_EQ(runProgram("bash", root + "/chapter.sh", output), 0) << output;
    EXPECT_NE(output.find("<tt:Brightness>60</tt:Brightness>"), std::string::npos) << output;
    std::ifstream picture(root + "/picture.jpg");
    EXPECT_EQ(picture.get(), 0xFF);
}

} // namespace
