#pragma once

#include "Program.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <list>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

namespace corvid::bench {

/** Takes one direction of an X connection apart into its packets, whatever pieces it comes in. */
class Packets {
public:
    using Bytes = std::vector<std::uint8_t>;
    /** So many bytes has the packet that begins so; nothing while that cannot be told yet. The
       first packet of a connection is unlike the others. */
    using Length = std::optional<std::size_t> (*)(const Bytes &beginning, bool first);
    explicit Packets(Length length) : length_(length) {}

    /** Calls `found` with the beginning of each packet that is complete now. */
    template <typename Found>
    void add(const std::uint8_t *data, std::size_t size, const Found &found) {
        for (std::size_t at = 0; at < size;) {
            if (left_ == 0) {
                beginning_.push_back(data[at++]);
                const auto length = length_(beginning_, first_);
                if (!length)
                    continue;
                left_ = *length - beginning_.size();
            }
            const std::size_t here = std::min(left_, size - at);
            left_ -= here;
            at += here;
            if (left_ == 0) {
                found(beginning_);
                beginning_.clear();
                first_ = false;
            }
        }
    }

    static std::optional<std::size_t> ofRequest(const Bytes &beginning, bool first) {
        const std::size_t known = beginning.size();
        if (first)
            return known < 12 ? std::nullopt
                              : std::optional(12 + padded(number<std::uint16_t>(beginning, 6)) +
                                              padded(number<std::uint16_t>(beginning, 8)));
        if (known < 4)
            return std::nullopt;
        if (const auto words = number<std::uint16_t>(beginning, 2))
            return 4 * words;
        return known < 8 ? std::nullopt
                         : std::optional(4 * number<std::uint32_t>(beginning, 4)); // a big one
    }
    static std::optional<std::size_t> ofAnswer(const Bytes &beginning, bool first) {
        if (beginning.size() < 8)
            return std::nullopt;
        if (first)
            return 8 + 4 * number<std::uint16_t>(beginning, 6);
        const int kind = beginning[0] & 0x7f;
        const bool isLong = kind == reply || kind == XCB_GE_GENERIC;
        return 32 + (isLong ? 4 * number<std::uint32_t>(beginning, 4) : 0);
    }

    static constexpr std::uint8_t reply = 1;

private:
    template <typename Number>
    static std::size_t number(const Bytes &bytes, std::size_t at) {
        Number value = 0;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    }
    static std::size_t padded(std::size_t size) { return (size + 3) / 4 * 4; }

    Length length_;
    Bytes beginning_;
    std::size_t left_ = 0;
    bool first_ = true;
};

/** Stands between the programs that are started from now on and the X server, and counts what they
    say to each other. It costs them time: what is counted is not timed. A thread of its own. */
class Relay {
public:
    /** server: a connection to the server whose place is taken. */
    explicit Relay(int server) {
        getpeername(server, reinterpret_cast<sockaddr *>(&server_), &serverSize_);
        sockaddr_un here{};
        here.sun_family = AF_UNIX;
        const std::string number = std::to_string(1'000'000 + getpid());
        const std::string path = "/tmp/.X11-unix/X" + number;
        path.copy(here.sun_path, sizeof here.sun_path - 1);
        listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(listener_, reinterpret_cast<const sockaddr *>(&here), sizeof here) != 0 ||
            listen(listener_, 8) != 0)
            fail("no place for the relay");
        static std::string left;
        left = path;
        std::atexit([] { unlink(left.c_str()); }); // also where the benchmark fails
        setenv("DISPLAY", (":" + number).c_str(), 1);
        thread_ = std::thread([this] { run(); });
    }
    ~Relay() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;

    long requests() const { return requests_; }
    /** So often a program waited for the server: answers that came together count as one. */
    long roundTrips() const { return roundTrips_; }

private:
    struct Connection {
        int program = -1;
        int server = -1;
        bool asked = false; ///< something was sent since the last answer
        Packets requests{Packets::ofRequest};
        Packets answers{Packets::ofAnswer};
    };

    void run() {
        std::list<Connection> connections;
        for (;;) {
            std::vector<pollfd> sockets{{listener_, POLLIN, 0}};
            for (const Connection &each : connections) {
                sockets.push_back({each.program, POLLIN, 0});
                sockets.push_back({each.server, POLLIN, 0});
            }
            poll(sockets.data(), sockets.size(), -1);
            std::size_t at = 1;
            for (auto each = connections.begin(); each != connections.end();) {
                const bool toServer = sockets[at++].revents != 0;
                const bool toProgram = sockets[at++].revents != 0;
                const bool open =
                    (!toServer || forward(each->program, each->server,
                                          [&](const std::uint8_t *data, std::size_t size) {
                                              each->asked = true;
                                              each->requests.add(data, size,
                                                                 [&](auto &) { ++requests_; });
                                          })) &&
                    (!toProgram || forward(each->server, each->program,
                                           [&](const std::uint8_t *data, std::size_t size) {
                                               each->answers.add(data, size, [&](auto &packet) {
                                                   if (packet[0] == Packets::reply &&
                                                       std::exchange(each->asked, false))
                                                       ++roundTrips_;
                                               });
                                           }));
                if (open) {
                    ++each;
                    continue;
                }
                close(each->program);
                close(each->server);
                each = connections.erase(each);
            }
            if (sockets[0].revents == 0)
                continue;
            const int program = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (program < 0)
                return; // the end
            Connection &added = connections.emplace_back();
            added.program = program;
            added.server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (connect(added.server, reinterpret_cast<const sockaddr *>(&server_), serverSize_) !=
                0)
                fail("the relay does not reach the X server");
        }
    }

    /** Hands on what is there, with the file descriptors that come along; false at the end. */
    template <typename Look>
    static bool forward(int from, int to, const Look &look) {
        std::array<std::uint8_t, 65536> data{};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(16 * sizeof(int))> files{};
        iovec part{data.data(), data.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = files.data();
        message.msg_controllen = files.size();
        const ssize_t size = recvmsg(from, &message, MSG_CMSG_CLOEXEC);
        if (size <= 0)
            return false;
        const std::size_t filesSize = message.msg_controllen;
        look(data.data(), static_cast<std::size_t>(size));
        part.iov_len = static_cast<std::size_t>(size);
        while (part.iov_len > 0) {
            const ssize_t sent = sendmsg(to, &message, MSG_NOSIGNAL);
            if (sent < 0)
                break;
            part.iov_base = static_cast<std::uint8_t *>(part.iov_base) + sent;
            part.iov_len -= static_cast<std::size_t>(sent);
            message.msg_controllen = 0; // they went with the first byte
        }
        message.msg_controllen = filesSize;
        for (cmsghdr *each = CMSG_FIRSTHDR(&message); each; each = CMSG_NXTHDR(&message, each))
            for (std::size_t at = 0; CMSG_LEN(at + sizeof(int)) <= each->cmsg_len;
                 at += sizeof(int)) {
                int file = -1;
                std::memcpy(&file, CMSG_DATA(each) + at, sizeof file);
                close(file);
            }
        return part.iov_len == 0;
    }

    sockaddr_un server_{};
    socklen_t serverSize_ = sizeof server_;
    int listener_ = -1;
    std::atomic<long> requests_ = 0;
    std::atomic<long> roundTrips_ = 0;
    std::thread thread_;
};

} // namespace corvid::bench
