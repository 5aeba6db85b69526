#include "Platform/Linux/Icons/PictureProcess.h"

#include "Platform/Linux/Icons/PictureProtocol.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvid {

using namespace std::chrono_literals;

namespace {

// A picture has a second of the processor, which on a busy machine can be many. But a process that
// was stopped gets none, and is not waited for without end.
constexpr auto patience = 5s;

/** Where libraries and fonts lie, and what sanitizers are told. */
constexpr std::array<const char *, 13> passedOn{
    "HOME",           "XDG_CACHE_HOME",  "XDG_CONFIG_HOME", "XDG_DATA_HOME",
    "XDG_DATA_DIRS",  "FONTCONFIG_FILE", "FONTCONFIG_PATH", "LD_LIBRARY_PATH",
    "QT_PLUGIN_PATH", "ASAN_OPTIONS",    "LSAN_OPTIONS",    "TSAN_OPTIONS",
    "UBSAN_OPTIONS"};

bool mayHaveText(const QByteArray &bytes, bool isDrawing) {
    return isDrawing &&
           (bytes.startsWith("\x1f\x8b") || bytes.contains("<text") || bytes.contains(":text"));
}

int milliseconds(std::chrono::milliseconds time) {
    return static_cast<int>(time.count());
}

std::chrono::nanoseconds processorTime(pid_t process) {
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return {};
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/** What a program is started with. */
class Spawning {
public:
    Spawning() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
    }
    ~Spawning() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    Spawning(const Spawning &) = delete;
    Spawning &operator=(const Spawning &) = delete;

    /** Both standard streams on one descriptor, the messages nowhere, nothing else open. */
    void setStreams(int descriptor) {
        posix_spawn_file_actions_adddup2(&actions_, descriptor, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, descriptor, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
    /** A session of its own, which no key of our terminal reaches, and signals as at first. */
    void detach() {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                   POSIX_SPAWN_SETSID);
    }
    /** The process, or 0. */
    pid_t run(const char *program, char *const *arguments, char *const *environment) const {
        pid_t process = 0;
        const int error =
            posix_spawn(&process, program, &actions_, &attributes_, arguments, environment);
        return error == 0 ? process : 0;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

} // namespace

PictureProcess::PictureProcess(QString program, int interruption)
    : program_(std::move(program)), interruption_(interruption) {}

DrawnPicture PictureProcess::draw(const QByteArray &bytes, bool isDrawing, int edge) {
    const bool needsFonts = mayHaveText(bytes, isDrawing);
    constexpr int attempts = 2; // whoever ended it once from outside did not mean the picture
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (process_ != 0 && needsFonts && !hasFonts_)
            end();
        wasEndedFromOutside_ = false;
        if (process_ != 0 || start(needsFonts)) {
            DrawnPicture result = ask(bytes, isDrawing, edge);
            if (result.outcome != DrawnPicture::Outcome::Unavailable)
                return result;
        }
        if (!wasEndedFromOutside_)
            break;
    }
    return {};
}

bool PictureProcess::start(bool withFonts) {
    if (program_.isEmpty())
        return false;
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return false;
    channel_ = FileDescriptor(ends[0]);
    hasFonts_ = withFonts;
    // While we hold its end, too, that the process is gone would not be noticed.
    if (!spawn(withFonts, FileDescriptor(ends[1]).number()))
        return false;

    std::uint32_t greeting = 0;
    const Talk talk = receiveAll(&greeting, sizeof greeting);
    if (talk == Talk::Done && greeting == pictureGreeting)
        return true;
    wasEndedFromOutside_ = talk == Talk::Broken && endedFromOutside();
    end();
    return false;
}

bool PictureProcess::spawn(bool withFonts, int streams) {
    Spawning spawning;
    spawning.setStreams(streams);
    spawning.detach();
    std::vector<QByteArray> definitions;
    for (const char *name : passedOn)
        if (const char *value = std::getenv(name))
            definitions.push_back(QByteArray(name) + '=' + value);
    std::vector<char *> environment;
    environment.reserve(definitions.size() + 1);
    for (QByteArray &definition : definitions)
        environment.push_back(definition.data());
    environment.push_back(nullptr);
    std::array<QByteArray, 3> words{"corvid", drawPicturesOption, withFontsOption};
    std::array<char *, 4> arguments{words[0].data(), words[1].data(),
                                    withFonts ? words[2].data() : nullptr, nullptr};
    process_ = spawning.run(QFile::encodeName(program_), arguments.data(), environment.data());
    return process_ != 0;
}

DrawnPicture PictureProcess::ask(const QByteArray &bytes, bool isDrawing, int edge) {
    using Outcome = DrawnPicture::Outcome;
    const PictureRequest request{static_cast<std::uint64_t>(bytes.size()),
                                 static_cast<std::uint32_t>(edge), isDrawing ? 1U : 0U};
    auto answer = PictureAnswer::None;
    QImage image;
    Talk talk = sendAll(&request, sizeof request);
    if (talk == Talk::Done)
        talk = sendAll(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    if (talk == Talk::Done)
        talk = receiveAll(&answer, sizeof answer);
    if (talk == Talk::Done && answer == PictureAnswer::Picture) {
        image = QImage(edge, edge, QImage::Format_ARGB32_Premultiplied);
        talk = receiveAll(image.bits(), static_cast<std::size_t>(image.sizeInBytes()));
    }
    if (talk == Talk::Done)
        return {image.isNull() ? Outcome::Unsound : Outcome::Drawn, image};
    wasEndedFromOutside_ = talk == Talk::Broken && endedFromOutside();
    end();
    // What the picture did to the process is the picture's fault.
    const bool isToBlame = talk == Talk::Broken && !wasEndedFromOutside_;
    return {isToBlame ? Outcome::Unsound : Outcome::Unavailable};
}

PictureProcess::Talk PictureProcess::sendAll(const void *data, std::size_t size) {
    for (const auto *at = static_cast<const char *>(data); size > 0;) {
        const ssize_t count = send(channel_.number(), at, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return Talk::Broken;
        if (count < 0) {
            if (const Talk talk = await(POLLOUT); talk != Talk::Done)
                return talk;
            continue;
        }
        at += count;
        size -= static_cast<std::size_t>(count);
    }
    return Talk::Done;
}

PictureProcess::Talk PictureProcess::receiveAll(void *data, std::size_t size) {
    for (auto *at = static_cast<char *>(data); size > 0;) {
        if (const Talk talk = await(POLLIN); talk != Talk::Done)
            return talk;
        const ssize_t count = recv(channel_.number(), at, size, MSG_DONTWAIT);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR))
            return Talk::Broken;
        at += std::max<ssize_t>(count, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return Talk::Done;
}

PictureProcess::Talk PictureProcess::await(short event) const {
    std::chrono::nanoseconds used = processorTime(process_);
    for (;;) {
        std::array<pollfd, 2> watched{pollfd{channel_.number(), event, 0},
                                      pollfd{interruption_, POLLIN, 0}};
        const int count = poll(watched.data(), watched.size(), milliseconds(patience));
        if (watched[1].revents != 0)
            return Talk::Silent;
        if (count > 0)
            return Talk::Done;
        const auto now = processorTime(process_);
        if (count == 0 && now == used)
            return Talk::Silent;
        used = now;
    }
}

bool PictureProcess::endedFromOutside() {
    // It closes the conversation a moment before it is gone.
    const FileDescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    pollfd watched{handle.number(), POLLIN, 0};
    if (!handle.valid() || poll(&watched, 1, milliseconds(patience)) != 1)
        return false;
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = 0;
    // All its limits come as other signals; but the last, on all its pictures together, is none.
    constexpr std::array signals{SIGKILL, SIGTERM, SIGINT, SIGHUP};
    return WIFSIGNALED(status) && std::ranges::find(signals, WTERMSIG(status)) != signals.end();
}

void PictureProcess::end() {
    channel_ = FileDescriptor();
    if (process_ == 0)
        return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = 0;
}

} // namespace corvid
