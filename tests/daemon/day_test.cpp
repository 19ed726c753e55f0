#include <cstdlib>
#include <fstream>
#include <random>
#include <thread>

#include "Daemon.h"
#include "SensorKeys.h"
#include "SimulatedWorld.h"
#include "host/Snapshot.h"

namespace {

constexpr int kClients = 20;
constexpr double kSpeed = 1000; ///< camera seconds in a second

/// How long the clients are at it; a whole day of the camera is 86 s.
double secondsOfTest() {
    const char* const given = std::getenv("IMGCTL_DAY_SECONDS");
    return given != nullptr ? std::atof(given) : 4;
}

/// Kilobytes of memory in use.
long memoryInUse() {
    long pages = 0;
    FILE* const file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr || std::fscanf(file, "%*d %ld", &pages) != 1) {
        pages = 0;
    }
    if (file != nullptr) {
        std::fclose(file);
    }
    return pages * 4;
}

std::string clockOf(unsigned int minute) {
    char text[24];
    std::snprintf(text, sizeof text, "%02u:%02u", minute / 60, minute % 60);
    return text;
}

/// One who never rests, until told to.
class Client {
public:
    Client(unsigned int port, unsigned int number)
        : m_port(port), m_from("127.0.1." + std::to_string(number + 1)), m_random(number) {}

    void run(const std::atomic<bool>& over) {
        RawClient events(m_port, m_from.c_str());
        events.send("GET /api/v1/events HTTP/1.1\r\nHost: localhost\r\n\r\n");
        RawClient client(m_port, m_from.c_str());
        while (!over) {
            const std::string body = next();
            client.send(m_method + " " + m_path +
                        " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                        "Content-Length: " +
                        std::to_string(body.size()) + "\r\n\r\n" + body);
            ++answers[client.answer().status];
            events.ended(0.01);
            heard = heard || events.unread().find("event: change") != std::string::npos;
            events.forget();
        }
    }

    std::map<int, int> answers; ///< by status
    bool heard = false;         ///< a change, by its event

private:
    unsigned int random(unsigned int n) { return static_cast<unsigned int>(m_random() % n); }
    std::string number(unsigned int n) { return std::to_string(random(n)); }

    std::string next() {
        static const struct {
            unsigned int key;
            unsigned int values;
        } keys[] = {{34, 256}, {2337, 256}, {2353, 256}, {2321, 256}, {16, 4},  {160, 2},
                    {2304, 2}, {2368, 2},   {128, 2},    {2384, 4},   {145, 30}};
        const auto& key = keys[random(std::size(keys))];
        const std::string pair = "\"" + std::to_string(key.key) + "\":" + number(key.values);
        m_method = "POST";
        m_path = "/api/v1";
        switch (random(16)) {
            case 0:
                m_path += "/trial";
                return "{\"seconds\":" + std::to_string(1 + random(3600)) + ",\"values\":{" + pair +
                       "}}";
            case 1:
                m_path += random(2) == 0 ? "/trial/keep" : "/undo";
                return m_path.back() == 'p' ? "{}" : "{\"entry\":" + number(500) + "}";
            case 2:
                m_method = "DELETE";
                m_path += "/trial";
                return "";
            case 3:
                m_path += "/schemes/" + number(5) + "/activate";
                return "{}";
            case 4:
                m_method = "PUT";
                m_path += "/mode";
                return random(4) == 0 ? R"({"mode":"manual"})" : R"({"mode":"schedule"})";
            case 5: {
                m_method = "PUT";
                m_path += "/schemes";
                const unsigned int begin = random(1380);
                return "{\"schemes\":[{\"number\":" + number(4) + ",\"enabled\":true,\"start\":\"" +
                       clockOf(begin) + "\",\"end\":\"" + clockOf(begin + 1 + random(59)) + "\"}]}";
            }
            case 6:
                m_method = "PUT";
                m_path += "/simulator";
                return "{\"light\":" + number(101) + "}";
            case 7:
                m_path += "/save";
                return "{}";
            case 8:
                m_path += "/apply";
                return "{\"values\":{" + pair + "}}";
            case 9:
            case 10:
                m_method = "GET";
                m_path = random(2) == 0 ? "/api/v1/parameters" : "/picture.jpg";
                return "";
            default:
                m_method = "PATCH";
                m_path += "/parameters";
                return "{\"values\":{" + pair + "}}";
        }
    }

    const unsigned int m_port;
    const std::string m_from;
    std::mt19937 m_random;
    std::string m_method;
    std::string m_path;
};

/// What the sensor has in another way than the snapshot says that it should.
std::string differences(host::Camera& camera) {
    const auto now = camera.snapshot();
    if (!now->differences.empty()) {
        return "listed without a fault: " + std::to_string(now->differences[0].key);
    }
    const auto stored = [&](u32 key) { return now->storedIn(now->scheme, key).value_or(0); };
    const simulated_ia::SensorState sensor = simulated_ia::sensorState();
    for (const host::Parameter& about : now->catalogue->parameters) {
        const host::Value& value = *now->value(about.key);
        if (about.storedOnly() || !about.inScheme() || !value.readBack ||
            simulated_ia::findCommand(about.command) < 0) {
            continue;
        }
        const int device = sensor.value(about.command);
        int wanted = value.applied.value_or(stored(about.key));
        if (about.key == KEY_MIRROR && stored(KEY_BEAWAY) != 0 && wanted != 0 && wanted != 3) {
            wanted = 3 - wanted;
        }
        if (device != wanted) {
            return about.name + ": the sensor has " + std::to_string(device) + " in place of " +
                   std::to_string(wanted);
        }
    }
    return now->settled ? "" : "not settled";
}

TEST_F(Daemon, TheCameraIsAsItsSchemeSaysAfterADayOfManyHands) {
    speed = kSpeed;
    start(false);
    std::atomic<bool> over{false};
    std::vector<std::unique_ptr<Client>> clients;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < kClients; ++i) {
        clients.push_back(std::make_unique<Client>(port, i));
        threads.emplace_back([&over, client = clients.back().get()] { client->run(over); });
    }
    const double seconds = secondsOfTest();
    const auto rest = [](double some) {
        std::this_thread::sleep_for(std::chrono::duration<double>(some));
    };
    // The journal fills, pictures begin: from then on memory stays as it is.
    rest(seconds / 2);
    const long before = memoryInUse();
    rest(seconds / 2);
    const long after = memoryInUse();
    over = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::map<int, int> answers;
    bool heard = true;
    for (const auto& client : clients) {
        heard = heard && client->heard;
        for (const auto& [status, count] : client->answers) {
            answers[status] += count;
        }
    }
    EXPECT_TRUE(heard) << "every client hears of changes";
    std::string counted;
    for (const auto& [status, count] : answers) {
        counted += std::to_string(status) + ": " + std::to_string(count) + "  ";
        EXPECT_TRUE(status / 100 == 2 || status / 100 == 4 || status == 503) << status;
    }
    std::printf("%s\nmemory %ld KiB, at the end %ld KiB\n", counted.c_str(), before, after);
    EXPECT_GT(answers[200], 100);
    if (seconds > 60) {
        EXPECT_LT(after, before + before / 10);
    }
    // By hand, or the schedule would go on at its speed; with no trial, or it would end at its.
    ask("DELETE", "/api/v1/trial");
    EXPECT_EQ(ask("PUT", "/api/v1/mode", "", R"({"mode":"manual"})").status, 200);
    std::string wrong = "not looked at";
    for (int i = 0; i < 20 && !wrong.empty(); ++i) {
        rest(0.1);
        wrong = differences(camera);
    }
    EXPECT_EQ(wrong, "") << "two seconds after the last request";
}

TEST_F(Daemon, StoppedItSavesNothingUnaskedAndLosesNothingSaved) {
    std::ofstream(root + "/stop.sh") << "cd " << root << "; imgctld=" << IMGCTLD << R"sh(
run() {
    $imgctld --device . --listen 127.0.0.1:0 >out 2>&1 &
    pid=$!
    for i in $(seq 100); do grep -q serving out && return; sleep 0.05; done
}
ask() { curl -sS --unix-socket imgctld.sock -H "Content-Type: application/json" "$@"; }
set_() { ask -o answer -X PUT -d "{\"value\":$1,\"scheme\":1,\"record\":true}" $url/parameters/34; }
show() { ask $url/schemes/1 | grep -o "\"key\":34,[^}]*" | sed "s/.*\(\"value.*\),\"factory.*/\1/"; }
url=http://localhost/api/v1
run
set_ 61
ask -o answer -X POST $url/save
set_ 62
show
kill -TERM $pid; wait $pid; echo ended $?
run
show
{ kill -KILL $pid; wait $pid; } 2>/dev/null
true
)sh";
    std::string output;
    EXPECT_EQ(runProgram("bash", root + "/stop.sh", output), 0);
    EXPECT_EQ(output, "\"value\":62,\"saved\":61\nended 0\n\"value\":61,\"saved\":61\n");
}

} // namespace
