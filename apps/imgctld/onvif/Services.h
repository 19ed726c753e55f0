#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Login.h"
#include "Schema.h"
#include "Soap.h"
#include "host/Operation.h"
#include "host/Snapshot.h"

namespace host {
class Camera;
}

namespace onvif {

/// The most that a request may be, in bytes.
constexpr std::size_t kMostBody = 32768;
constexpr char kType[] = "application/soap+xml";

/// A request, and what is to be asked about whoever sent it.
struct Asked {
    std::string path; ///< "/onvif/imaging_service"
    std::string body;
    std::string base; ///< where the client reaches this camera: "https://cam.example:8443"
    bool encrypted = false;
    std::shared_ptr<const access_control::Accounts> accounts;
    /// A login is about to be tried. @return seconds to wait before that; 0: go on
    std::function<double()> attempt;
    std::function<void()> right; ///< it was
    std::function<void()> wrong; ///< it was not
};

struct Answer {
    unsigned int status = 200;
    std::string body;
    int retryAfter = 0; ///< seconds; 0: none
};

/// What an operation has to say: the children of its answer, or why there is none.
struct Reply {
    Element answer;
    std::optional<Fault> fault;

    Reply() = default;
    Reply(Element element) : answer(std::move(element)) {}
    Reply(std::optional<Fault> why) : fault(std::move(why)) {}
    Reply(Fault why) : fault(std::move(why)) {}
};
using Done = std::function<void(const Reply&)>;

/// An operation under way. What it refers to lives until the handler returns.
struct Call {
    const Message& message;
    const Asked& asked;
    const host::Snapshot& snapshot;
    const access_control::OnvifUser& user; ///< nobody, for operations without a login
    host::Origin origin;
};

/// The ONVIF services of one camera: device, media and imaging. Any thread. The camera must outlive
/// the answers.
class Services {
public:
    /// @param maySave  whether the flash may be written just now; true counts as done
    Services(host::Camera& camera, std::function<bool()> maySave);
    ~Services();

    /// Answers a request.
    /// @param done  called once, on this thread or the camera's; it must be quick
    void handle(const Asked& asked, const std::function<void(Answer)>& done);

    /// Saves what waits for the flash: to be called about twice a second.
    void tick();

private:
    struct Operation;
    static const Operation kOperations[];
    static const Operation* find(const Message& message);

    std::optional<Fault> login(const Asked& asked, const Message& message,
                               access_control::Role needs, access_control::OnvifUser& user);

    void deviceTime(const Call& call, const Done& done);
    void services(const Call& call, const Done& done);
    void capabilities(const Call& call, const Done& done);
    void serviceCapabilities(const Call& call, const Done& done);
    void information(const Call& call, const Done& done);
    void scopes(const Call& call, const Done& done);

    void profiles(const Call& call, const Done& done);
    void videoSources(const Call& call, const Done& done);
    void address(const Call& call, const Done& done);

    void settings(const Call& call, const Done& done);
    void setSettings(const Call& call, const Done& done);
    void options(const Call& call, const Done& done);
    void moveOptions(const Call& call, const Done& done);
    void move(const Call& call, const Done& done);
    void stop(const Call& call, const Done& done);
    void status(const Call& call, const Done& done);
    void presets(const Call& call, const Done& done);
    void currentPreset(const Call& call, const Done& done);
    void setCurrentPreset(const Call& call, const Done& done);

    void save(int scheme, const Done& done);

    host::Camera& m_camera;
    const std::function<bool()> m_maySave;
    Login m_login;
    std::mutex m_lock;                               // guards what follows
    std::map<int, std::vector<Done>> m_waitingSaves; ///< by scheme: one save is for all of them
};

constexpr char kSourceToken[] = "VideoSource0";
constexpr char kProfileToken[] = "Profile0";

/// The first child of a type's name that must be that token; a fault where it is another.
std::optional<Fault> checkToken(const Call& call, const char* element, const char* token,
                                const char* detail);

} // namespace onvif
