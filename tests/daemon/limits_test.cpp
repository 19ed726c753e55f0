#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <regex>
#include <thread>

#include "Daemon.h"
#include "Sessions.h"
#include "host/access/SelfSigned.h"

namespace {

using access_control::Role;
using imgctld::MonotonicTime;
using imgctld::Sessions;
using std::chrono::minutes;
using Connections = std::vector<std::unique_ptr<RawClient>>;

TEST_F(Daemon, TakesSoManyConnectionsOfAnAddressAndInAll) {
    start();
    const std::string known = request("GET", "/health", as("monitor"));
    Connections open;
    for (int i = 0; i < 40; ++i) {
        open.push_back(std::make_unique<RawClient>(port));
        open.back()->send(known);
        ASSERT_EQ(open.back()->answer().status, 200) << i;
    }
    RawClient more(port);
    EXPECT_TRUE(more.ended(2)) << "the 41st of an address";
    for (int i = 40; i < 256; ++i) {
        const std::string from = "127.0.0." + std::to_string(2 + (i - 40) / 10);
        open.push_back(std::make_unique<RawClient>(port, from.c_str()));
        open.back()->send(request("GET", "/"));
        ASSERT_EQ(open.back()->answer(false).status, 200) << i;
    }
    RawClient waits(port, "127.0.1.1");
    waits.send(request("GET", "/"));
    EXPECT_FALSE(waits.readUntil("HTTP/1.1", 0.3)) << "the 257th";
    open.pop_back();
    EXPECT_TRUE(waits.readUntil("HTTP/1.1 200", 5));
    open[0]->send(known);
    EXPECT_EQ(open[0]->answer().status, 200);
}

TEST_F(Daemon, LetsGoOfConnectionsWhoseOtherEndSaysNoMore) {
    start();
    Connections open;
    for (int i = 0; i < 10; ++i) {
        open.push_back(std::make_unique<RawClient>(port));
        open.back()->send(request("GET", "/"), true);
        EXPECT_EQ(open.back()->answer().status, 200) << i;
    }
    for (const auto& client : open) {
        EXPECT_TRUE(client->ended(3));
    }
}

TEST_F(Daemon, LetsSixteenWatch) {
    start();
    Connections open;
    const auto watch = [&](const std::string& cookie) {
        open.push_back(std::make_unique<RawClient>(port));
        open.back()->send(request("GET", "/video.mjpg", cookie));
        return open.back()->answer(false).status;
    };
    const std::string login = std::string(R"({"name":"viewer","password":")") + kPassword + "\"}";
    std::string cookie;
    for (int session = 0; session < 5; ++session) {
        const std::string given = ask("POST", "/api/v1/login", "", login).header("set-cookie");
        cookie = "Cookie: " + given.substr(0, given.find(';')) + "\r\n";
        for (int i = 0; session < 4 && i < 4; ++i) {
            EXPECT_EQ(watch(cookie), 200) << session << " " << i;
        }
    }
    EXPECT_EQ(watch(cookie), 503);
    open[0].reset();
    // That somebody has gone is seen with the next picture that cannot be sent.
    int status = 503;
    for (int i = 0; i < 40 && status != 200; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        open.pop_back(); // which was refused; an address has no more than 40
        status = watch(cookie);
    }
    EXPECT_EQ(status, 200);
}

/// Streams without end to whoever asks, and remembers what it is told to log.
class Endless : public http::Handler {
public:
    bool head(const http::Request&, std::size_t&, http::Response&) override { return true; }
    void handle(std::shared_ptr<http::Exchange> exchange) override {
        http::StreamOptions options;
        options.sendBuffer = 128 * 1024;
        options.secondsStuck = 1;
        options.gone = [this] { ++gone; };
        exchange->stream(http::Response(), std::make_unique<Bytes>(taken), options);
    }
    http::Response problem(unsigned int) override { return {}; }
    void log(const std::string& line) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_lines.push_back(line);
    }
    std::vector<std::string> lines() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_lines;
    }
    std::atomic<int> gone{0};
    std::atomic<std::size_t> taken{0}; ///< bytes of all streams

private:
    class Bytes : public http::Source {
    public:
        explicit Bytes(std::atomic<std::size_t>& taken) : m_taken(taken) {}
        Pull pull(std::shared_ptr<const std::string>& chunk) override {
            chunk = std::make_shared<const std::string>(30000, 'x');
            m_taken += chunk->size();
            return Pull::Chunk;
        }

    private:
        std::atomic<std::size_t>& m_taken;
    };
    std::mutex m_lock;
    std::vector<std::string> m_lines;
};

TEST(Limits, AStreamThatNobodyReadsEndsAndOneThatIsReadGoesOn) {
    Endless handler;
    http::HttpServer server(handler, http::Limits());
    std::string wrong;
    const int listening = http::listenTcp("127.0.0.1", 0, wrong);
    const unsigned int port = http::portOf(listening);
    ASSERT_TRUE(server.start(listening, {}, wrong)) << wrong;
    const std::string question = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";
    RawClient stuck(port);
    stuck.send(question);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LT(handler.taken, 1000000U) << "a picture is not to wait behind seconds of others";
    RawClient reads(port);
    reads.send(question);
    for (int i = 0; i < 30 && handler.gone == 0; ++i) {
        EXPECT_FALSE(reads.ended(0.1));
    }
    EXPECT_EQ(handler.gone, 1);
    EXPECT_TRUE(stuck.ended(1));
    EXPECT_FALSE(reads.ended(0.1));
}

TEST(Limits, AFloodOfConnectionsIsALineASecondInTheLog) {
    Endless handler;
    http::Limits limits;
    limits.ofAddress = 1;
    http::HttpServer server(handler, limits);
    std::string wrong;
    const int listening = http::listenTcp("127.0.0.1", 0, wrong);
    const unsigned int port = http::portOf(listening);
    ASSERT_TRUE(server.start(listening, {}, wrong)) << wrong;
    const MonotonicTime begin = std::chrono::steady_clock::now();
    const RawClient first(port);
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(RawClient(port).ended(2));
    }
    int told = 0;
    for (int i = 0; i < 100 && told < 20; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        told = 0;
        for (const std::string& line : handler.lines()) {
            int count = 0;
            EXPECT_EQ(
                std::sscanf(line.c_str(), "127.0.0.1: %d refused, open connections: 1", &count), 1);
            told += count;
        }
    }
    EXPECT_EQ(told, 20) << "those after the first are counted, though nobody comes any more";
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(handler.lines().size(),
              2U + static_cast<std::size_t>(took / std::chrono::seconds(1)));
}

TEST_F(Daemon, ServesOnAsBeforeWhenItsNewCertificateIsNotTaken) {
    start(false);
    std::string wrong;
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(server->restart({"no certificate", "no key"}, wrong));
        EXPECT_TRUE(server->running());
        EXPECT_EQ(ask("GET", "/health").status, 200);
    }
    EXPECT_NE(wrong.find("certificate"), std::string::npos) << wrong;
    server->stop();
    RawClient late(port);
    EXPECT_TRUE(late.ended(1)) << "nothing is left that listens";
}

TEST(Limits, SessionsEndAfterTwelveHoursAndAfterHalfAnHourUnused) {
    access_control::Accounts all;
    std::string why;
    ASSERT_TRUE(access_control::addUser(all, "a", Role::Administrator, "ten letters", why));
    const MonotonicTime begin = std::chrono::steady_clock::now();
    const struct {
        minutes every;
        minutes last; ///< that it still holds
        minutes over;
        imgctld::SessionEnd why;
    } rows[] = {
        {minutes(30), minutes(30), minutes(61), imgctld::SessionEnd::Unused},
        {minutes(29), minutes(12 * 60 - 1), minutes(12 * 60 + 1), imgctld::SessionEnd::Age},
    };
    for (const auto& row : rows) {
        Sessions sessions;
        const std::string secret = sessions.open(all.users[0], begin);
        for (minutes at = row.every; at < row.last; at += row.every) {
            EXPECT_TRUE(sessions.find(secret, begin + at)) << at.count();
        }
        EXPECT_TRUE(sessions.find(secret, begin + row.last));
        EXPECT_TRUE(sessions.revise(all, begin + row.last).empty());
        EXPECT_TRUE(sessions.find(secret, begin + row.last + minutes(1), false));
        EXPECT_FALSE(sessions.find(secret, begin + row.over))
            << "what a page asks by itself is no use";
        EXPECT_EQ(sessions.endOf(secret, begin + row.last), std::nullopt);
        EXPECT_EQ(sessions.endOf(secret, begin + row.over), row.why);
        EXPECT_EQ(sessions.revise(all, begin + row.over).size(), 1U) << "its streams end";
        EXPECT_EQ(sessions.endOf(secret, begin + row.over), row.why) << "who comes later hears it";
    }
}

TEST(Limits, GuessesAreOneASecondForAMinute) {
    imgctld::GuessLimit limit;
    const MonotonicTime begin = std::chrono::steady_clock::now();
    const auto after = [&](double seconds) {
        return limit.attempt("a",
                             begin + std::chrono::milliseconds(static_cast<long>(seconds * 1000)));
    };
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(after(0), 0);
    }
    EXPECT_NEAR(after(0.25), 0.75, 0.01);
    EXPECT_EQ(limit.attempt("b", begin), 0) << "another address";
    EXPECT_EQ(after(1), 0);
    EXPECT_GT(after(1.5), 0);
    EXPECT_EQ(after(61), 0);
    EXPECT_GT(after(61.5), 0) << "a minute without a try, not since the first";
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(after(122), 0);
    }
    EXPECT_GT(after(122), 0);
    for (const int seconds : {142, 162, 182}) { // a recorder that has the right one by now
        EXPECT_EQ(after(seconds), 0);
        limit.right("a");
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(after(183), 0) << "forgiven";
    }
}

TEST_F(Daemon, EightLoginsWaitAndTheNextIsToldWhen) {
    imgctld::SlowWork work;
    std::promise<void> begun;
    std::promise<void> held;
    ASSERT_TRUE(work.add([&] {
        begun.set_value();
        held.get_future().wait();
    }));
    begun.get_future().wait();
    std::atomic<int> done{0};
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(work.add([&done] { ++done; }));
    }
    EXPECT_FALSE(work.add([&done] { ++done; }));
    held.set_value();
    for (int i = 0; i < 100 && done != 8; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(done, 8);

    start();
    Connections all;
    const std::string login =
        request("POST", "/api/v1/login", "", R"({"name":"x","password":"y"})");
    for (int i = 0; i < 60; ++i) {
        const std::string from = "127.0.2." + std::to_string(i + 1);
        all.push_back(std::make_unique<RawClient>(port, from.c_str()));
    }
    for (const auto& client : all) {
        client->send(login);
    }
    std::map<int, int> answers;
    for (const auto& client : all) {
        const Answer answer = client->answer();
        ++answers[answer.status];
        EXPECT_EQ(answer.header("retry-after").empty(), answer.status == 401);
    }
    EXPECT_GE(answers[401], 8); // and the one at work, if it was that quick
    EXPECT_GE(answers[503], 1);
    EXPECT_EQ(answers[401] + answers[503], 60);
}

TEST_F(Daemon, BelievesTheMachineWhoComesOverTheUnixSocket) {
    start();
    http::Request asked{};
    asked.method = "GET";
    asked.path = "/api/v1/users";
    asked.headers = {{"host", "localhost"}};
    asked.local = true;
    asked.queryIsSound = true;
    asked.peer = "unix";
    const struct {
        unsigned int uid;
        bool may;
    } rows[] = {{getuid(), true}, {0, true}, {getuid() + 1, false}, {~0U, false}};
    for (const auto& row : rows) {
        asked.uid = row.uid;
        std::size_t most = 0;
        http::Response refusal;
        EXPECT_EQ(service->head(asked, most, refusal), row.may) << row.uid;
        EXPECT_EQ(refusal.status, row.may ? 200U : 401U);
    }
    const std::string path = root + "/test.sock";
    std::string wrong;
    http::HttpServer local(*service, http::Limits());
    ASSERT_TRUE(local.start(http::listenUnix(path, wrong), {}, wrong)) << wrong;
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    std::string output;
    runProgram("curl", "-sS --unix-socket " + path + " http://localhost/api/v1/users", output);
    EXPECT_NE(output.find("\"monitor\""), std::string::npos) << output;
}

TEST_F(Daemon, ServesOverTlsAndTakesAFreshCertificateWhenTold) {
    std::string wrong;
    std::string print;
    std::string prints;
    for (const char* name : {"/a", "/b"}) {
        ASSERT_TRUE(access_control::makeSelfSigned({"localhost"}, 10, root + name + ".pem",
                                                   root + name + ".key", print, wrong))
            << wrong;
        prints += " " + print;
    }
    // What curl says of: the first certificate, an old version, the second after SIGHUP, the first
    // then, and after a certificate that is none. imgctl believes the one that it was told of.
    std::ofstream(root + "/tls.sh")
        << R"sh(
cd ")sh" << root
        << R"sh("
cp a.pem c.pem; cp -p a.key c.key
prints=")sh"
        << prints << R"sh("
imgctl() { )sh"
        << IMGCTL << R"sh( "$@"; }
)sh" << IMGCTLD
        << R"sh( --device . --listen 127.0.0.1:0 --tls-cert c.pem --tls-key c.key >out 2>&1 &
pid=$!
try() { curl -sS -o answer -w "$1 %{http_code}\n" --cacert $2 $3 $url/metrics 2>/dev/null || echo "$1 failed"; }
pin() { imgctl --connect $url --certificate $1 status >said 2>&1; echo pinned $?; grep -o "another certificate" said; }
soon() { for i in $(seq 400); do grep -qs "$1" out && return; sleep 0.05; done; echo "no $1"; }
soon serving
url=https://localhost:$(sed -n 's|.*https://127.0.0.1:\([0-9]*\)/.*|\1|p' out)
try first a.pem
grep -q expiry_timestamp answer && echo expiry
curl -sS --cacert a.pem $url/api/v1/session | grep -o certificate_expires.:.20
try old a.pem "--tls-max 1.1 --ciphers DEFAULT@SECLEVEL=0"
cp b.pem c.pem; cp -p b.key c.key; kill -HUP $pid; soon anew
try second b.pem
try first a.pem
echo x >c.pem; kill -HUP $pid; soon "not taken"
try second b.pem
for print in $prints; do pin $print; done
echo secret >token; chmod 644 token
imgctl --connect $url --token-file token status 2>&1 | grep -o "others may read"
kill $pid; wait $pid; echo ended $?
)sh";
    std::string output;
    EXPECT_EQ(runProgram("bash", root + "/tls.sh", output), 0);
    EXPECT_EQ(
        output,
        "first 200\nexpiry\ncertificate_expires\":\"20\nold 000\nold failed\nsecond "
        "200\nfirst 000\nfirst "
        "failed\nsecond 200\npinned 1\nanother certificate\npinned 0\nothers may read\nended 0\n");
}

} // namespace
