// Prints what serving a camera costs, beside a service on the same library that does
// nothing: imgctl_serving_bench.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "ServingClient.h"
#include "Table.h"
#include "host/access/Accounts.h"

namespace {

constexpr int kRounds = 2000;
constexpr double kLook = 3; ///< seconds that processor time is counted for

struct Times {
    double median;
    double slowest; ///< of a hundred
};

Times timesOf(std::vector<double> all) {
    std::sort(all.begin(), all.end());
    return {all[all.size() / 2], all[all.size() * 99 / 100]};
}

std::string text(double value, const char* unit) {
    char line[30];
    std::snprintf(line, sizeof line, "%.2f%s", value, unit);
    return line;
}

void limitRow(const char* what, double measured, double goal, const char* unit) {
    row("12", what, text(measured, unit), "", "<= " + text(goal, unit), measured <= goal);
}

void pause(double time) {
    usleep(static_cast<useconds_t>(time * 1e6));
}

double coreShare(const ServedCamera& camera) {
    const double before = camera.processorTime();
    const double begin = seconds();
    pause(kLook);
    return (camera.processorTime() - before) / (seconds() - begin) * 100;
}

/// Asks both in turn for all parameters.
void compare(const std::string& what, unsigned int camera, unsigned int bare) {
    const std::string request = httpRequest("GET", "/api/v1/parameters");
    HttpClient clients[] = {HttpClient(camera), HttpClient(bare)};
    std::vector<double> times[2];
    int failed = 0;
    for (int i = 0; i < kRounds; ++i) {
        for (int which = 0; which < 2; ++which) {
            const double begin = seconds();
            failed += clients[which].ask(request) == 200 ? 0 : 1;
            times[which].push_back((seconds() - begin) * 1e6);
        }
    }
    const Times own = timesOf(times[0]);
    const Times floor = timesOf(times[1]);
    ratioRow("12", (what + ": median").c_str(), own.median, floor.median, 3, "us");
    ratioRow("12", "  99th of a hundred", own.slowest, floor.slowest, 3, "us");
    if (failed != 0) {
        row("12", "  not answered", std::to_string(failed), "", "0", false);
    }
}

/// How long a value takes to the sensor, and its event to a reader.
void changes() {
    ServedCamera camera;
    const std::string pipe = camera.tree() + "/trace";
    mkfifo(pipe.c_str(), 0600);
    const int trace = open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    camera.start({"--no-login", "--trace", pipe});
    HttpClient events(camera.port());
    events.send(httpRequest("GET", "/api/v1/events"));
    while (events.unread().find("event: hello") == std::string::npos && events.take(1)) {
    }
    HttpClient client(camera.port());
    std::vector<double> sensor;
    std::vector<double> event;
    std::string lines;
    for (int i = 0; i < 200; ++i) {
        const int value = 50 + i % 100;
        events.unread().clear();
        const double begin = seconds();
        client.send(httpRequest("PUT", "/api/v1/parameters/34",
                                "{\"value\":" + std::to_string(value) + "}"));
        double reached = 0;
        double heard = 0;
        const std::string sent = " " + std::to_string(value) + " ";
        while ((reached == 0 || heard == 0) && seconds() < begin + 2) {
            // Waiting, not asking on and on: the camera may need this core.
            pollfd either[] = {{trace, POLLIN, 0}, {events.fd(), POLLIN, 0}};
            poll(either, 2, 1000);
            char part[4096];
            const ssize_t count = read(trace, part, sizeof part);
            lines.append(part, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
            for (std::string::size_type end; (end = lines.find('\n')) != std::string::npos;) {
                const std::string line = lines.substr(0, end);
                if (reached == 0 && line.compare(0, 6, "ia 34 ") == 0 &&
                    line.find(sent) != std::string::npos) {
                    reached = seconds();
                }
                lines.erase(0, end + 1);
            }
            events.take(0);
            if (heard == 0 && events.unread().find("event: change") != std::string::npos) {
                heard = seconds();
            }
        }
        sensor.push_back(reached == 0 ? 2000 : (reached - begin) * 1e3);
        event.push_back(heard == 0 ? 2000 : (heard - begin) * 1e3);
        client.ask("");
        pause(0.02);
    }
    close(trace);
    limitRow("a PUT reaches the sensor: median", timesOf(sensor).median, 2, "ms");
    limitRow("  its event reaches a reader", timesOf(event).median, 5, "ms");
}

/// A figure of the service's own.
int metric(unsigned int port, const std::string& name) {
    HttpClient client(port);
    client.ask(httpRequest("GET", "/metrics"));
    const std::string::size_type at = client.body().find("\n" + name + " ");
    return at == std::string::npos ? -1 : std::atoi(client.body().c_str() + at + name.size() + 2);
}

/// Those who do no more than they must, and less.
class Nuisances {
public:
    explicit Nuisances(unsigned int port) : m_port(port) {
        for (int i = 0; i < 300; ++i) {
            add("127.0.4." + std::to_string(1 + i / 60), false)
                .send("GET /api/v1/parameters HTTP/1.1\r\nHost: loc");
        }
        for (int i = 0; i < 50; ++i) {
            add("127.0.5." + std::to_string(1 + i / 25), true)
                .send(httpRequest("GET", "/video.mjpg"));
        }
    }
    void drip() const {
        for (const auto& client : m_clients) {
            client->send("a");
        }
    }

private:
    HttpClient& add(const std::string& from, bool small) {
        m_clients.push_back(std::make_unique<HttpClient>(m_port, from, small));
        return *m_clients.back();
    }
    unsigned int m_port;
    std::vector<std::unique_ptr<HttpClient>> m_clients;
};

/// A camera with users, watched by fifty, while nine log in.
void memoryOfLogins() {
    ServedCamera camera;
    std::string token;
    const auto people = [&token](access_control::Accounts& all, std::string& problem) {
        return access_control::addUser(all, "anna", access_control::Role::Administrator,
                                       "ten letters", problem) &&
               access_control::addToken(all, "wall", access_control::Role::Viewer, "anna", 1, token,
                                        problem);
    };
    std::string problem;
    access_control::changeAccounts(camera.tree() + "/users.cfg", people, problem);
    camera.start({"--videos", "64"});
    StreamReaders readers;
    readers.add(camera.port(),
                httpRequest("GET", "/video.mjpg", "", "Authorization: Bearer " + token + "\r\n"),
                50, 5);
    pause(1);
    std::vector<std::unique_ptr<HttpClient>> logins;
    for (int i = 0; i < 9; ++i) {
        logins.push_back(
            std::make_unique<HttpClient>(camera.port(), "127.0.6." + std::to_string(i + 1)));
        logins.back()->send(
            httpRequest("POST", "/api/v1/login", R"({"name":"anna","password":"ten letters"})"));
    }
    int good = 0;
    for (const auto& login : logins) {
        good += login->ask("") == 200 ? 1 : 0;
    }
    limitRow("most memory with 50 videos and 8 logins queued", camera.megabytes("VmHWM"), 60, "MB");
    row("12", "  logins that were right", std::to_string(good), "", ">= 8", good >= 8);
}

} // namespace

int main() {
    ServedCamera camera;
    camera.start({"--no-login", "--videos", "64"});
    HttpClient client(camera.port());
    if (client.ask(httpRequest("GET", "/api/v1/parameters")) != 200) {
        return 2;
    }
    const BareService bare(client.body());
    heading();
    limitRow("idle, nobody watches: of a core", coreShare(camera), 1, "%");
    compare("GET of all parameters", camera.port(), bare.port());
    changes();
    {
        StreamReaders readers;
        readers.add(camera.port(), httpRequest("GET", "/video.mjpg"), 1, 1);
        pause(1);
        const double one = coreShare(camera);
        readers.add(camera.port(), httpRequest("GET", "/video.mjpg"), 49, 25);
        pause(1);
        limitRow("50 videos, more than one: of a core", coreShare(camera) - one, 3, "%");
        limitRow("  memory", camera.megabytes("VmRSS"), 40, "MB");
        const int pictures = metric(camera.port(), "imgctl_pictures_total");
        pause(1);
        row("12", "  pictures a second", // fewer only while the machine has no time
            std::to_string(metric(camera.port(), "imgctl_pictures_total") - pictures), "",
            "counted", true);
        readers.add(camera.port(), httpRequest("GET", "/api/v1/events"), 200, 8);
        pause(1);
        const int videos = metric(camera.port(), "imgctl_video_streams");
        const int events = metric(camera.port(), "imgctl_event_streams");
        row("12", "  videos and event streams then",
            std::to_string(videos) + "+" + std::to_string(events), "", "50+200",
            videos == 50 && events == 200);
        compare("beside 50 videos, 200 event readers", camera.port(), bare.port());
    }
    pause(1);
    {
        const Nuisances others(camera.port());
        pause(1);
        others.drip();
        compare("beside 300 half requests, 50 who never read", camera.port(), bare.port());
    }
    pause(12); // until the half ones are swept out
    StreamReaders readers;
    readers.add(camera.port(), httpRequest("GET", "/video.mjpg"), 50, 25);
    readers.add(camera.port(), httpRequest("GET", "/api/v1/events"), 100, 8);
    client.send(
        "PUT /api/v1/mode HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
        "Content-Length: 20\r\n\r\n{");
    pause(1);
    limitRow("stops with all that open and a request waiting", camera.stop(), 0.2, "s");
    memoryOfLogins();
    return allHold() ? 0 : 1;
}
