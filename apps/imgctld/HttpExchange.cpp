#include "HttpShared.h"

#include <sys/socket.h>

#include <algorithm>

namespace http {
namespace {

MHD_Response* newResponse(const Bytes& body) {
    // The library reads the bytes until the response is destroyed, possibly after this call.
    static const auto release = [](void* cls) { delete static_cast<Bytes*>(cls); };
    if (body == nullptr || body->empty()) {
        return MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
    }
    auto* kept = new Bytes(body);
    static const auto read = [](void* cls, std::uint64_t position, char* buffer,
                                std::size_t most) -> ssize_t {
        const std::string& text = **static_cast<Bytes*>(cls);
        if (position >= text.size()) {
            return MHD_CONTENT_READER_END_OF_STREAM;
        }
        const std::size_t count = std::min(most, text.size() - static_cast<std::size_t>(position));
        std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(position), count, buffer);
        return static_cast<ssize_t>(count);
    };
    MHD_Response* response =
        MHD_create_response_from_callback(body->size(), kStreamBlock, read, kept, release);
    if (response == nullptr) {
        delete kept;
    }
    return response;
}

} // namespace

ssize_t Shared::Stream::read(char* buffer, std::size_t most) {
    for (;;) {
        m_progress = Clock::now();
        if (m_chunk != nullptr && m_sent < m_chunk->size()) {
            const std::size_t count = std::min(most, m_chunk->size() - m_sent);
            std::copy_n(m_chunk->begin() + static_cast<std::ptrdiff_t>(m_sent), count, buffer);
            m_sent += count;
            return static_cast<ssize_t>(count);
        }
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (m_ended || m_shared->stopping) {
                return MHD_CONTENT_READER_END_OF_STREAM;
            }
            m_woken = false;
        }
        m_chunk.reset();
        m_sent = 0;
        const Source::Pull pull = m_source->pull(m_chunk);
        if (pull == Source::Pull::End) {
            return MHD_CONTENT_READER_END_OF_STREAM;
        }
        if (pull == Source::Pull::Wait && suspend()) {
            return 0;
        }
    }
}

void Shared::Stream::close() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_over = true;
        m_ended = true;
    }
    m_source.reset();
    if (m_options.gone) {
        m_options.gone();
    }
}

bool Shared::Stream::suspend() {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_woken || m_ended) {
        return false;
    }
    const std::lock_guard<std::mutex> sharedGuard(m_shared->lock);
    if (m_shared->stopping) {
        return false;
    }
    ++m_shared->suspended;
    m_suspended = true;
    MHD_suspend_connection(m_connection);
    return true;
}

void Shared::Stream::proceed(bool last) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_woken = true;
        m_ended = m_ended || last;
        if (!m_suspended) {
            return;
        }
        m_suspended = false;
        m_progress = Clock::now();
    }
    m_shared->resume(m_connection);
}

void Shared::Waiting::answer(Response response, const std::shared_ptr<Stream>& stream,
                             bool unchunked) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_answered) {
            return;
        }
        m_answered = true;
        m_response = std::move(response);
        m_stream = stream;
        m_unchunked = unchunked;
        if (!m_suspended) {
            return;
        }
        m_suspended = false;
    }
    m_shared->resume(m_connection);
}

bool Shared::Waiting::answered() {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_answered;
}

MHD_Result Shared::Waiting::proceed() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_answered) {
            const std::lock_guard<std::mutex> sharedGuard(m_shared->lock);
            if (!m_shared->stopping) {
                ++m_shared->suspended;
                m_suspended = true;
                MHD_suspend_connection(m_connection);
                return MHD_YES;
            }
        }
    }
    if (!answered()) {
        answer(m_shared->handler.problem(503), nullptr, false);
    }
    return queue(m_response, m_stream, m_unchunked);
}

MHD_Result Shared::Waiting::queue(const Response& response, const std::shared_ptr<Stream>& stream,
                                  bool unchunked) {
    MHD_Response* raw = stream != nullptr ? streamResponse(stream) : newResponse(response.body);
    if (raw == nullptr) {
        return MHD_NO;
    }
    for (const Header& header : response.headers) {
        MHD_add_response_header(raw, header.name.c_str(), header.value.c_str());
    }
    if (unchunked) {
        MHD_set_response_options(raw, MHD_RF_HTTP_1_0_COMPATIBLE_STRICT, MHD_RO_END);
    }
    const std::size_t size = response.body != nullptr ? response.body->size() : 0;
    m_shared->setDeadline(
        m_connection, stream != nullptr
                          ? kNever
                          : Clock::now() + Seconds(m_shared->limits.bodySeconds + size / 16384));
    const MHD_Result result = MHD_queue_response(m_connection, response.status, raw);
    MHD_destroy_response(raw);
    return result;
}

MHD_Response* Shared::Waiting::streamResponse(const std::shared_ptr<Stream>& stream) {
    static const auto read = [](void* cls, std::uint64_t, char* buffer, std::size_t most) {
        return (*static_cast<std::shared_ptr<Stream>*>(cls))->read(buffer, most);
    };
    static const auto release = [](void* cls) {
        std::unique_ptr<std::shared_ptr<Stream>> held(static_cast<std::shared_ptr<Stream>*>(cls));
        (*held)->close();
    };
    // A quiet stream is no idle connection.
    MHD_set_connection_option(m_connection, MHD_CONNECTION_OPTION_TIMEOUT, 0U);
    auto* kept = new std::shared_ptr<Stream>(stream);
    MHD_Response* response =
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kStreamBlock, read, kept, release);
    if (response == nullptr) {
        release(kept);
    }
    return response;
}

namespace {

/// What the handler holds of a request.
class ExchangeHandle : public Exchange {
public:
    explicit ExchangeHandle(std::shared_ptr<Shared::Waiting> waiting)
        : m_waiting(std::move(waiting)) {}
    ~ExchangeHandle() override {
        if (!m_waiting->answered()) {
            m_waiting->answer(m_waiting->shared()->handler.problem(500), nullptr, false);
        }
    }
    ExchangeHandle(const ExchangeHandle&) = delete;
    ExchangeHandle& operator=(const ExchangeHandle&) = delete;

    const Request& request() const override { return m_waiting->request; }

    void answer(Response response) override {
        m_waiting->answer(std::move(response), nullptr, false);
    }

    std::shared_ptr<StreamControl> stream(Response head, std::unique_ptr<Source> source,
                                          StreamOptions options) override {
        const std::shared_ptr<Shared>& shared = m_waiting->shared();
        const bool unchunked = options.unchunked;
        const int sendBuffer = options.sendBuffer;
        auto stream = std::make_shared<Shared::Stream>(shared, m_waiting->connection(),
                                                       std::move(source), std::move(options));
        {
            const std::lock_guard<std::mutex> guard(shared->lock);
            shared->streams.insert(stream);
            const auto found = shared->connections.find(m_waiting->connection());
            if (found != shared->connections.end() && sendBuffer > 0) {
                setsockopt(found->second.fd, SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer);
            }
        }
        m_waiting->answer(std::move(head), stream, unchunked);
        return stream;
    }

    void known() override {
        const std::shared_ptr<Shared>& shared = m_waiting->shared();
        const std::lock_guard<std::mutex> guard(shared->lock);
        const auto found = shared->connections.find(m_waiting->connection());
        if (found != shared->connections.end() && !found->second.known) {
            found->second.known = true;
            const auto address = shared->addresses.find(found->second.counted);
            if (address != shared->addresses.end()) {
                --address->second.strangers;
            }
        }
    }

private:
    const std::shared_ptr<Shared::Waiting> m_waiting;
};

} // namespace

std::shared_ptr<Exchange> exchangeOf(std::shared_ptr<Shared::Waiting> waiting) {
    return std::make_shared<ExchangeHandle>(std::move(waiting));
}

} // namespace http
