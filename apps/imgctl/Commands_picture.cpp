#include <chrono>

#include "CommandFunctions.h"
#include "host/Files.h"
#include "host/PictureHub.h"

namespace imgctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(5);
/// Real cameras begin with pictures that their automatics have not seen yet.
constexpr std::chrono::milliseconds kAutomatics(700);

} // namespace

Status runSnapshot(const Call& call) {
    const Clock::time_point start = Clock::now();
    const bool real = !call.camera().snapshot()->layer.device.empty();
    host::PictureHub::Viewer viewer(call.camera().pictures());
    host::PictureHub::Shared picture;
    std::string problem;
    while (picture == nullptr || (real && Clock::now() - start < kAutomatics)) {
        const auto next = viewer.next(std::chrono::milliseconds(500), problem);
        if (next != nullptr) {
            picture = next;
        } else if (!problem.empty() || Clock::now() - start > kPatience) {
            break;
        }
    }
    if (picture == nullptr) {
        return call.refuse(Status::failed, problem.empty() ? "no picture came" : problem);
    }
    const std::string jpeg(picture->jpeg.begin(), picture->jpeg.end());
    if (!host::replaceFile(call.arguments[0], jpeg, problem)) {
        return call.refuse(Status::failed, problem);
    }
    call.answer(call.arguments[0] + " " + std::to_string(picture->width) + "x" +
                std::to_string(picture->height));
    return Status::done;
}

} // namespace imgctl
