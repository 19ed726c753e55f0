#include "CommandFunctions.h"
#include "host/Files.h"

namespace imgctl {
namespace {

/// Width and height of a JPEG file, "640x360": they stand in its frame's head, behind segments that
/// each tell their length.
std::string sizeOf(const std::string& jpeg) {
    const auto word = [&jpeg](std::size_t at) {
        return static_cast<unsigned char>(jpeg[at]) * 256U +
               static_cast<unsigned char>(jpeg[at + 1]);
    };
    for (std::size_t at = 2; at + 9 < jpeg.size(); at += 2 + word(at + 2)) {
        const unsigned int marker = word(at);
        if (marker >= 0xffc0U && marker <= 0xffc2U) {
            return std::to_string(word(at + 7)) + "x" + std::to_string(word(at + 5));
        }
    }
    return "";
}

} // namespace

Status runSnapshot(const Call& call) {
    std::string problem;
    const std::string jpeg = call.target.client.picture(problem);
    if (jpeg.empty() || !host::replaceFile(call.arguments[0], jpeg, problem)) {
        return call.refuse(Status::failed, problem);
    }
    call.answer(call.arguments[0] + " " + sizeOf(jpeg));
    return Status::done;
}

} // namespace imgctl
