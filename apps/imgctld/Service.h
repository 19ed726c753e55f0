#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Events.h"
#include "HttpMessages.h"
#include "RequestCheck.h"
#include "Sessions.h"
#include "Streams.h"
#include "host/api/Api.h"

namespace host {
class Camera;
}
namespace onvif {
class Services;
}

namespace imgctld {

/// How the service is run.
struct ServiceOptions {
    OwnNames names;
    std::string usersFile;   ///< empty: nobody logs in
    bool noLogin = false;    ///< everybody who reaches it may do everything
    bool onvif = false;      ///< answer ONVIF's clients too
    bool pictureOpen = true; ///< the picture may be seen without a login where none is needed
    std::size_t mostVideos = 16;
    std::size_t mostVideosOfSession = 4;
    std::size_t mostEventsOfSession = 8;
    long long certificateExpires = 0; ///< seconds since 1970; 0: no certificate
};

/// The network face of one camera: who may ask what, and who answers. The camera, its pictures and
/// the servers are the caller's; they must end their work with it before it is destroyed.
class Service : public http::Handler {
public:
    Service(host::Camera& camera, ServiceOptions options);
    ~Service() override;

    bool head(const http::Request& request, std::size_t& mostBody,
              http::Response& refusal) override;
    void handle(std::shared_ptr<http::Exchange> exchange) override;
    http::Response problem(unsigned int status) override;
    void log(const std::string& line) override;

    /// Reads the users file. @param problem  receives why it cannot be used;
    /// the users stay as they were
    bool readUsers(std::string& problem);

    /// What is due by the time: to be called about twice a second.
    void tick();

    /// The certificate was replaced.
    void setCertificateExpiry(long long seconds) { m_certificateExpires = seconds; }

    /// How many connections are open, for the metrics.
    void setConnectionCount(std::function<std::size_t()> count) {
        m_connections = std::move(count);
    }

private:
    using Role = access_control::Role;
    using Shared = std::shared_ptr<http::Exchange>;

    Identity identify(const http::Request& request);
    bool loginNeeded() const;
    std::string cookieName(bool encrypted) const;

    void handleApi(const Shared& exchange, const Identity& who, const std::string& path);
    void login(const Shared& exchange);
    void logout(const Shared& exchange, const Identity& who);
    void session(const Shared& exchange, const Identity& who);
    void users(const Shared& exchange, const Identity& who, const std::string& path);
    void tokens(const Shared& exchange, const Identity& who, const std::string& path);
    void events(const Shared& exchange, const Identity& who);
    void video(const Shared& exchange, const Identity& who);
    void picture(const Shared& exchange, const Identity& who);
    /// The pictures that a request asks for: as they are, or as a scheme would make them.
    /// @param refusal  receives the answer where there are none for this request
    std::shared_ptr<Pictures> picturesFor(const http::Request& request, const Identity& who,
                                          http::Response& refusal);
    void metrics(const Shared& exchange);
    void health(const Shared& exchange);
    void handleOnvif(const Shared& exchange);
    Identity identifyPlayer(const http::Request& request) const;
    /// Whether the flash may be written just now; true counts as done.
    bool maySave();
    bool pageFile(const Shared& exchange, const std::string& path);

    void answer(const Shared& exchange, http::Response response);
    void count(unsigned int status);
    static bool may(const Identity& who, Role needs) { return who.known && who.role >= needs; }
    void attach(unsigned long number, const http::Exchange& exchange,
                const std::shared_ptr<http::StreamControl>& control);
    http::Response refusalOf(const http::Request& request, const Identity& who, Role needs);
    std::shared_ptr<const access_control::Accounts> accounts() const;
    std::string streamOwner(const http::Request& request, const Identity& who) const;
    using AccountsChange = std::function<bool(access_control::Accounts&, std::string&)>;
    /// Changes the users file in a while, as hashing takes long, and answers with what is made of
    /// it then.
    void changeUsers(const Shared& exchange, const AccountsChange& change,
                     const std::function<http::Response()>& done);

    host::Camera& m_camera;
    const ServiceOptions m_options;
    host::api::Api m_api;
    StreamList m_streams;
    Pictures m_pictures;
    Events m_events;
    Sessions m_sessions;
    GuessLimit m_guesses;
    SlowWork m_slow;
    const std::unique_ptr<onvif::Services> m_onvif; ///< null: not served
    std::function<std::size_t()> m_connections;
    std::atomic<long long> m_certificateExpires;

    mutable std::mutex m_lock; // guards what follows
    std::shared_ptr<const access_control::Accounts> m_accounts;
    struct FileStamp {
        long long modified = -1;
        long long inode = 0;
        long long size = 0;
        bool operator==(const FileStamp& other) const {
            return modified == other.modified && inode == other.inode && size == other.size;
        }
    } m_usersStamp;
    std::map<unsigned int, unsigned long> m_answers; ///< by status
    std::map<std::string, long long> m_tokenUse;     ///< seconds since 1970, by name
    std::optional<MonotonicTime> m_lastSave;
    MonotonicTime m_lastTick{};
    unsigned long m_wrongLogins = 0;
    std::mutex m_previewLock; ///< not m_lock: answers are given while one ends
    std::map<int, std::shared_ptr<Pictures>> m_schemePictures; ///< of the schemes asked for
};

/// A refusal, as a problem document.
/// @param detail      a sentence for people
/// @param retryAfter  seconds; 0: not told
http::Response refuse(unsigned int status, const char* code, const std::string& detail,
                      int retryAfter = 0);

constexpr auto kSaveEvery = std::chrono::seconds(2); ///< flash wears out

/// What an address of the ONVIF services is for.
enum class OnvifPath { None, Service, Picture };
OnvifPath onvifPath(const http::Request& request);

/// A path that is the service's own; all others of the API are the camera's.
struct OwnRoute {
    const char* method;
    const char* path; ///< "/api/v1/users/{name}"
    access_control::Role needs;
    bool open; ///< for everybody
};
std::vector<OwnRoute> ownRoutes();

/// A file of the page, compiled in.
struct PageFile {
    const char* path; ///< "/page.js"
    const char* type;
    const char* encoding; ///< "gzip", or "" for a file as it is
    const char* data;
    std::size_t size;
};
/// The file of an exact path, or null.
const PageFile* findPageFile(const std::string& path);

} // namespace imgctld
