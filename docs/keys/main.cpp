// Prints docs/keys.md, the keys for reading, from the key table.
#include <cstdio>
#include <cstring>
#include <string>

#include "Home.h"
#include "ImageAdjustRecords.h"
#include "SensorKeyTable.h"

namespace {

const char kHead[] =
    "# Keys\n"
    "\n"
    "Made from the key table in `include/SensorKeys.h` by `docs/keys/`; change it there.\n"
    "\n"
    "Ranges belong to the image-adjust layer and to the style. *Command* is the number that the "
    "layer\n"
    "is called with; the key's own where it is empty. *Kind* is what a value is; of a step or an\n"
    "action 1 does it, and what it stands at cannot be read.\n"
    "\n"
    "| Key | Name | Command | Kind | Handler | What it is |\n"
    "|---:|---|---:|---|---|---|\n";

const char kControls[] =
    "\n"
    "## Controls of Linux cameras\n"
    "\n"
    "What of a camera behind the V4L2 layer a key is; where one is not, the camera has it not. "
    "Which of\n"
    "them a camera has, `imgctl make-device` asks it; docs/v4l2.md tells of families and of what "
    "holds a\n"
    "value back.\n"
    "\n"
    "| Key | Name | Control or call |\n"
    "|---:|---|---|\n";

const char kHandlers[] =
    "\n"
    "## Handlers\n"
    "\n"
    "| Handler | What is called, in this order | Whose refusal fails the key |\n"
    "|---|---|---|\n"
    "| `doIaCmd` | the layer | the layer's |\n"
    "| `doIaCmd_User` | the layer; nobody while the controller starts, switches, restores or "
    "resets | "
    "the layer's |\n"
    "| `doHwdr` | the video module (2370 with 0), the video module, the layer, the video module "
    "(2370 "
    "with 1); nobody, with 0 for the value, at 50 or 60 pictures a second | the video module's |\n"
    "| `doImageAdjust` | the layer, the video module | the video module's |\n"
    "| `doDIS` | the video module, the layer | the layer's |\n"
    "| `doMirror` | the video module, the layer, both with 1 and 2 exchanged while 2385 is not 0 | "
    "the "
    "layer's |\n"
    "| `doBeaway` | the video module with the mirroring (2384) that results, the video module, the "
    "layer | the layer's |\n"
    "| `doDNThr`, `doDNTime` | the layer, with the scheme's other values of the record | the "
    "layer's; "
    "while the last values are restored a threshold's does not count |\n"
    "| `stored` | nobody: the value is kept in the scheme | |\n"
    "\n"
    "A refusal that does not fail the key is reported.\n";

void printRow(const SensorKeyRow& row) {
    const image_adjust::Record record = image_adjust::recordOf(row.command);
    std::string command;
    if (row.isStoredOnly()) {
        command = "none";
    } else if (row.command != row.key) {
        command = std::to_string(row.command);
    }
    std::string kind = nameOf(row.kind);
    if (*unitOf(row.kind) != 0) {
        kind += std::string(", ") + unitOf(row.kind);
    }
    if (record.words > 1) {
        kind += ", in a record of " + std::to_string(record.words);
    }
    std::printf("| %u | `%s` | %s | %s | `%s` | %s |\n", row.key, row.symbol, command.c_str(),
                kind.c_str(), row.handler, row.meaning);
}

/// The controls of a key, without the prefix that all of them have.
void printControls(const SensorKeyRow& row) {
    std::string controls =
        row.isStoredOnly() ? "" : image_adjust::v4l2::tabledControls(row.command);
    const std::string prefix = "V4L2_CID_";
    for (std::size_t at; (at = controls.find(prefix)) != std::string::npos;) {
        controls.erase(at, prefix.size());
    }
    if (!controls.empty()) {
        std::printf("| %u | `%s` | %s |\n", row.key, row.symbol, controls.c_str());
    }
}

} // namespace

int main() {
    std::fputs(kHead, stdout);
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        printRow(row);
        if (std::strstr(kHandlers, (std::string("`") + row.handler + '`').c_str()) == nullptr) {
            std::fprintf(stderr, "%s: tell of its handler %s in docs/keys/main.cpp\n", row.symbol,
                         row.handler);
            return 1;
        }
    }
    std::fputs(kHandlers, stdout);
    std::fputs(kControls, stdout);
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        printControls(row);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
