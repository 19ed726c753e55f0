#pragma once

#include <map>
#include <string>

/// What came in answer to a request.
struct Answer {
    int status = 0;                             ///< 0: the connection ended without one
    std::map<std::string, std::string> headers; ///< names in lower case; of several the last
    std::string body;

    std::string header(const std::string& name) const {
        const auto found = headers.find(name);
        return found != headers.end() ? found->second : std::string();
    }
};

/// A connection that sends what a test wants, sound or not.
class RawClient {
public:
    /// @param from  the address of this machine's loopback that it comes from
    explicit RawClient(unsigned int port, const char* from = "127.0.0.1");
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// @param last  nothing more will come
    void send(const std::string& bytes, bool last = false);
    /// Reads one answer. @param body  false: the head is enough, a stream goes on behind it
    Answer answer(bool body = true);
    /// Reads on until a text has come. @return false when it has not within the time
    bool readUntil(const std::string& text, double seconds);
    /// @return true when the other end has closed within the time, whatever comes before
    bool ended(double seconds);
    const std::string& unread() const { return m_bytes; }
    void forget() { m_bytes.clear(); }

private:
    bool receive(double seconds);

    int m_fd;
    std::string m_bytes;
    bool m_ended = false;
};
