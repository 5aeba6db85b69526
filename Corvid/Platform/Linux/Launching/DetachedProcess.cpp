#include "Platform/Linux/Launching/DetachedProcess.h"

#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Secrets/CoreDumps.h"

#include <QFile>

#include <array>
#include <csignal>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::size_t pidDigits = 20;

// They tell one process how it was started, and would tell its children lies.
constexpr std::array launchVariables{"DBUS_STARTER_ADDRESS"_L1,
                                     "DBUS_STARTER_BUS_TYPE"_L1,
                                     "DESKTOP_STARTUP_ID"_L1,
                                     "GIO_LAUNCHED_DESKTOP_FILE"_L1,
                                     "GIO_LAUNCHED_DESKTOP_FILE_PID"_L1,
                                     "INVOCATION_ID"_L1,
                                     "JOURNAL_STREAM"_L1,
                                     "LISTEN_FDNAMES"_L1,
                                     "LISTEN_FDS"_L1,
                                     "LISTEN_PID"_L1,
                                     "NOTIFY_SOCKET"_L1,
                                     "SYSTEMD_EXEC_PID"_L1,
                                     "WATCHDOG_PID"_L1,
                                     "WATCHDOG_USEC"_L1,
                                     "XDG_ACTIVATION_TOKEN"_L1};

// Strings in the form of main()'s arguments.
class StringVector {
public:
    void add(QByteArray string) { strings_.push_back(std::move(string)); }
    gchar **pointers() {
        pointers_.clear();
        for (QByteArray &string : strings_)
            pointers_.push_back(string.data());
        pointers_.push_back(nullptr);
        return pointers_.data();
    }

private:
    std::vector<QByteArray> strings_;
    std::vector<gchar *> pointers_;
};

// Runs in the forked child, where only async-signal-safe calls are allowed.
void prepareChild(gpointer data) {
    setsid();
    allowCoreDumpsInChild();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // Handlers end with the program that had them, but what is ignored would stay ignored.
    for (int signal = 1; signal < NSIG; ++signal)
        std::signal(signal, SIG_DFL);

    // The environment in this copy of our memory is what the program will be given.
    auto *digits = static_cast<char *>(data);
    if (!digits)
        return;
    std::array<char, pidDigits> reversed{};
    std::size_t count = 0;
    for (pid_t rest = getpid(); rest > 0; rest /= 10)
        reversed[count++] = static_cast<char>('0' + rest % 10);
    while (count > 0)
        *digits++ = reversed[--count];
    *digits = '\0';
}

} // namespace

DetachedProcess startDetached(const DetachedCommand &command) {
    if (command.arguments.isEmpty())
        return {0, u"There is no program to start."_s};

    StringVector arguments;
    for (const QString &argument : command.arguments)
        arguments.add(QFile::encodeName(argument));

    StringVector environment;
    QProcessEnvironment variables = command.environment;
    for (const QLatin1StringView name : launchVariables)
        variables.remove(name);
    if (!command.desktopFile.isEmpty())
        variables.insert(u"GIO_LAUNCHED_DESKTOP_FILE"_s, command.desktopFile);
    if (!command.startupId.isEmpty())
        variables.insert(u"DESKTOP_STARTUP_ID"_s, QString::fromUtf8(command.startupId));
    if (!command.activationToken.isEmpty())
        variables.insert(u"XDG_ACTIVATION_TOKEN"_s, QString::fromUtf8(command.activationToken));
    const QStringList definitions = variables.toStringList();
    for (const QString &definition : definitions)
        environment.add(QFile::encodeName(definition));

    char *digits = nullptr;
    gchar **environmentPointers = nullptr;
    if (command.desktopFile.isEmpty()) {
        environmentPointers = environment.pointers();
    } else {
        const QByteArray name = "GIO_LAUNCHED_DESKTOP_FILE_PID=";
        environment.add(name + QByteArray(pidDigits, '\0'));
        environmentPointers = environment.pointers();
        digits = environmentPointers[definitions.size()] + name.size();
    }

    const QByteArray folder = QFile::encodeName(command.workingFolder);
    GPid pid = 0;
    GErrorHolder error;
    const bool started = g_spawn_async(
        folder.isEmpty() ? nullptr : folder.constData(), arguments.pointers(), environmentPointers,
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH_FROM_ENVP | G_SPAWN_STDOUT_TO_DEV_NULL |
                                 G_SPAWN_STDERR_TO_DEV_NULL),
        prepareChild, digits, &pid, error.out());
    if (!started)
        return {0, error.message()};
    return {pid, {}};
}

QString scopeName(const QString &application, qint64 pid) {
    QString escaped;
    const QByteArray bytes = application.toUtf8();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (g_ascii_isalnum(c) || c == '_' || c == ':' || (c == '.' && i > 0))
            escaped += QLatin1Char(c);
        else
            escaped +=
                R"(\x)"_L1 + QString::number(static_cast<uchar>(c), 16).rightJustified(2, u'0');
    }
    return u"app-corvid-%1-%2.scope"_s.arg(escaped).arg(pid);
}

} // namespace corvid
