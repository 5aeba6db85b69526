#include "Platform/Linux/Icons/PictureHelper.h"

#include "Platform/Linux/Icons/PictureDrawing.h"
#include "Platform/Linux/Icons/PictureProtocol.h"
#include "Platform/Linux/Icons/RefusedCalls.h"

#include <QFontMetrics>
#include <QGuiApplication>

#include <cerrno>
#include <csignal>
#include <memory>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace corvid {

namespace {

constexpr time_t secondsForAPicture = 1;
constexpr rlim_t secondsForAll = 60;
constexpr rlim_t largestMemory = 256 * 1024 * 1024;

template <typename Resource>
void limit(Resource resource, rlim_t most) {
    const rlimit value{most, most};
    setrlimit(resource, &value);
}

/** What can be forbidden before the libraries have what they need. */
void restrictAtStart() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, secondsForAll);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which need terabytes
    limit(RLIMIT_DATA, largestMemory);
#endif
}

/** Drawings that name files or addresses open none, and nobody who finds a hole in a decoder runs
    a program or reads what others have in memory. */
void forbidOpening() {
    limit(RLIMIT_FSIZE, 0);
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || !refuseCalls())
        limit(RLIMIT_NOFILE, 0); // a toolkit that starts a thread now ends, but opens nothing
}

/** Opens the fonts that text in drawings can have; in any other it is drawn with one of them. */
void loadFonts() {
    static QList<QFont> inUse; // only these stay open
    for (const char *family : {"sans-serif", "serif", "monospace"})
        for (const QFont::Weight weight : {QFont::Normal, QFont::Bold}) {
            inUse.append(QFont(QString::fromLatin1(family), -1, weight));
            static_cast<void>(QFontMetrics(inUse.last()).horizontalAdvance(u'A'));
        }
}

/** Ends this process when a picture takes longer than it may. */
class Stopwatch {
public:
    Stopwatch() { set(secondsForAPicture); }
    ~Stopwatch() { set(0); }
    Stopwatch(const Stopwatch &) = delete;
    Stopwatch &operator=(const Stopwatch &) = delete;

private:
    // The signal that comes when the time is up is left to end the process.
    static void set(time_t seconds) {
        const itimerval time{{}, {seconds, 0}};
        setitimer(ITIMER_PROF, &time, nullptr);
    }
};

/** Reads or writes all of it. */
template <typename Byte>
bool transferAll(ssize_t (*transfer)(int, Byte *, std::size_t), int stream, void *data,
                 std::size_t size) {
    for (auto *at = static_cast<char *>(data); size > 0;) {
        const ssize_t count = transfer(stream, at, size);
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        const std::size_t done = count < 0 ? 0 : static_cast<std::size_t>(count);
        at += done;
        size -= done;
    }
    return true;
}

bool readAll(void *data, std::size_t size) {
    return transferAll(read, STDIN_FILENO, data, size);
}

bool writeAll(const void *data, std::size_t size) {
    return transferAll(write, STDOUT_FILENO, const_cast<void *>(data), size);
}

bool answer(const PictureRequest &request, const QByteArray &bytes) {
    QImage image;
    {
        const Stopwatch stopwatch;
        image = drawPicture(bytes, request.isDrawing != 0, static_cast<int>(request.edge));
    }
    const PictureAnswer word = image.isNull() ? PictureAnswer::None : PictureAnswer::Picture;
    return writeAll(&word, sizeof word) &&
           (image.isNull() ||
            writeAll(image.constBits(), static_cast<std::size_t>(image.sizeInBytes())));
}

} // namespace

int runPictureHelper(bool withFonts) {
    restrictAtStart();
    // Text needs the toolkit with a screen, which takes ten times as long to start.
    int argc = 1;
    char name[] = "corvid";
    char *argv[] = {name, nullptr};
    std::unique_ptr<QCoreApplication> application;
    if (withFonts) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QGuiApplication>(argc, argv);
        loadFonts();
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    loadDecoders();
    forbidOpening();

    if (!writeAll(&pictureGreeting, sizeof pictureGreeting))
        _exit(1);
    PictureRequest request = {};
    while (readAll(&request, sizeof request)) {
        QByteArray bytes;
        if (request.size > largestPicture || request.edge > largestEdge)
            _exit(1);
        bytes.resize(static_cast<qsizetype>(request.size));
        if (!readAll(bytes.data(), request.size) || !answer(request, bytes))
            _exit(1);
    }
    // There is nothing to save, and what a picture may have left behind is not touched again.
    _exit(0);
}

} // namespace corvid
