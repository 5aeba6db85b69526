#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QHash>
#include <QString>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvid::test {

/**
 * A web server on 127.0.0.1 that does to each connection exactly what a test says, down to the
 * single byte. Connections are served in threads of their own, so that the test's thread is free
 * to run its event loop or to block.
 */
class ChatServer {
public:
    struct Request {
        QByteArray method;
        QByteArray path;
        QHash<QByteArray, QByteArray> headers; ///< by lower-case name
        QByteArray body;
    };

    class Connection {
    public:
        explicit Connection(int socket) : socket_(socket) {}

        /** The next request; an empty method when the client closed or speaks TLS instead. */
        Request read() {
            while (!buffer_.contains("\r\n\r\n")) {
                // A client that begins with TLS would never end its head.
                if (!receive() || buffer_.front() < 'A')
                    return {};
            }
            const qsizetype head = buffer_.indexOf("\r\n\r\n");
            const QByteArrayList lines = buffer_.first(head).replace("\r\n", "\n").split('\n');
            buffer_.remove(0, head + 4);
            Request request;
            const QByteArrayList first = lines.first().split(' ');
            request.method = first.value(0);
            request.path = first.value(1);
            for (const QByteArray &line : lines.sliced(1)) {
                const qsizetype colon = line.indexOf(':');
                // One space follows the colon; the rest belongs to the value.
                request.headers.insert(line.first(colon).toLower(), line.sliced(colon + 2));
            }
            const qsizetype length = request.headers.value("content-length").toLongLong();
            while (buffer_.size() < length) {
                if (!receive())
                    return {};
            }
            request.body = buffer_.first(length);
            buffer_.remove(0, length);
            return request;
        }

        /** False when the client has closed. */
        bool send(QByteArrayView bytes) {
            while (!bytes.isEmpty()) {
                const ssize_t sent = ::send(socket_, bytes.data(),
                                            static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
                if (sent <= 0)
                    return false;
                bytes = bytes.sliced(sent);
            }
            return true;
        }

        bool sendChunk(QByteArrayView bytes) {
            return send(QByteArray::number(bytes.size(), 16) + "\r\n" + bytes.toByteArray() +
                        "\r\n");
        }

        /** Cuts the connection in the middle of everything (RST). What was sent before may be
            lost on the way. */
        void reset() {
            const linger now{1, 0};
            setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        }

        /** Returns when the client closes; true when that happened within a generous deadline. */
        bool waitForClose() {
            constexpr int deadlineMs = 10'000;
            pollfd waited{socket_, POLLIN, 0};
            while (poll(&waited, 1, deadlineMs) > 0) {
                if (!receive())
                    return true;
            }
            return false;
        }

    private:
        bool receive() {
            char bytes[4096];
            const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
            if (count > 0)
                buffer_.append(bytes, count);
            return count > 0;
        }

        int socket_;
        QByteArray buffer_;
    };

    /** Runs in a thread of its own once a request has been read; the connection closes when it
        returns. */
    using Answer = std::function<void(Connection &, const Request &)>;

    explicit ChatServer(Answer answer) : answer_(std::move(answer)) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(listener_, reinterpret_cast<sockaddr *>(&address), size) != 0)
            std::perror("bind");
        listen(listener_, 64);
        getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &size);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { accept(); });
    }

    /** A server that answers every request with these bytes. */
    explicit ChatServer(const QByteArray &bytes)
        : ChatServer([bytes](Connection &connection, const Request &) { connection.send(bytes); }) {
    }

    ~ChatServer() {
        shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        close(listener_);
        {
            const std::lock_guard lock(mutex_);
            for (const int socket : open_)
                shutdown(socket, SHUT_RDWR);
        }
        for (std::thread &thread : threads_)
            thread.join();
    }

    quint16 port() const { return port_; }
    QString baseURL() const { return QStringLiteral("http://127.0.0.1:%1/v1").arg(port_); }
    int connections() const { return connections_; }

    std::vector<Request> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    void accept() {
        for (;;) {
            const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket < 0 && (errno == EINTR || errno == ECONNABORTED))
                continue; // a child has ended, say
            if (socket < 0)
                return;
            const int on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            ++connections_;
            const std::lock_guard lock(mutex_);
            open_.push_back(socket);
            threads_.emplace_back([this, socket] { serve(socket); });
        }
    }

    void serve(int socket) {
        Connection connection(socket);
        const Request request = connection.read();
        if (!request.method.isEmpty()) {
            {
                const std::lock_guard lock(mutex_);
                requests_.push_back(request);
            }
            answer_(connection, request);
        }
        const std::lock_guard lock(mutex_);
        open_.remove(socket);
        close(socket);
    }

    const Answer answer_;
    int listener_ = -1;
    quint16 port_ = 0;
    std::atomic<int> connections_ = 0;
    mutable std::mutex mutex_;
    std::list<int> open_;
    std::vector<Request> requests_;
    std::list<std::thread> threads_;
    std::thread acceptor_;
};

} // namespace corvid::test
