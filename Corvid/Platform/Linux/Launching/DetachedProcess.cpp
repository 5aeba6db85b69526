#include "Platform/Linux/Launching/DetachedProcess.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Launching/InheritedLimits.h"

#include <QCryptographicHash>
#include <QFile>

#include <charconv>
#include <csignal>
#include <unistd.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype pidDigits = 20;

// They describe how one process was started, so they are wrong for its children.
constexpr const char *launchVariables[] = {"DBUS_STARTER_ADDRESS",
                                           "DBUS_STARTER_BUS_TYPE",
                                           "DESKTOP_STARTUP_ID",
                                           "GIO_LAUNCHED_DESKTOP_FILE",
                                           "GIO_LAUNCHED_DESKTOP_FILE_PID",
                                           "INVOCATION_ID",
                                           "JOURNAL_STREAM",
                                           "LISTEN_FDNAMES",
                                           "LISTEN_FDS",
                                           "LISTEN_PID",
                                           "NOTIFY_SOCKET",
                                           "SYSTEMD_EXEC_PID",
                                           "WATCHDOG_PID",
                                           "WATCHDOG_USEC",
                                           "XDG_ACTIVATION_TOKEN"};

// Strings in the form of main()'s arguments.
GStrvPointer stringVector(const std::vector<std::string> &strings) {
    GStrvPointer result(g_new0(gchar *, strings.size() + 1));
    for (std::size_t i = 0; i < strings.size(); ++i)
        result.get()[i] = g_strdup(strings[i].c_str());
    return result;
}

// Runs in the forked child, where only async-signal-safe calls are allowed.
void prepareChild(gpointer data) {
    setsid();
    restoreLimits();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // Executing a program resets the handlers, but signals that are ignored would stay ignored.
    for (int signal = 1; signal < NSIG; ++signal)
        std::signal(signal, SIG_DFL);

    // The environment in this copy of our memory is what the program will be given.
    if (auto *digits = static_cast<char *>(data))
        *std::to_chars(digits, digits + pidDigits, getpid()).ptr = '\0';
}

// The unit's name, with the application escaped as systemd does.
QByteArray scopeName(const QString &application, qint64 pid) {
    constexpr qsizetype longest = 255;
    const QByteArray start = "app-corvid-";
    const QByteArray end = '-' + QByteArray::number(pid) + ".scope";
    const QByteArray name = application.toUtf8();
    const QByteArray hash =
        '_' + QCryptographicHash::hash(name, QCryptographicHash::Sha256).first(8).toHex();
    QByteArray escaped;
    QByteArray shortened;
    for (const char c : name) {
        // The manager refuses a longer name, and what is in no scope of its own ends with us.
        if (start.size() + escaped.size() + hash.size() + end.size() <= longest)
            shortened = escaped + hash;
        if (g_ascii_isalnum(c) || c == '_' || c == ':' || (c == '.' && !escaped.isEmpty()))
            escaped += c;
        else
            escaped += "\\x" + QByteArray(&c, 1).toHex();
    }
    const bool fits = start.size() + escaped.size() + end.size() <= longest;
    return start + (fits ? escaped : shortened) + end;
}

// Without a user manager nothing happens.
void moveToScope(qint64 pid, const QString &application, GCancellable *shutdown) {
    const GObjectPointer<GDBusConnection> bus = sessionBus(shutdown);
    if (!bus)
        return;
    GVariant *arguments =
        g_variant_new_parsed("(%s, 'fail', [('PIDs', <[%u]>), ('Slice', <'app.slice'>),"
                             " ('CollectMode', <'inactive-or-failed'>)], @a(sa(sv)) [])",
                             scopeName(application, pid).constData(), static_cast<guint32>(pid));
    // A manager that does not run is not started, and a failure does not matter: the process has
    // its session.
    constexpr int timeoutMs = 2'000;
    const GVariantPointer reply(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
        "org.freedesktop.systemd1.Manager", "StartTransientUnit", arguments, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, timeoutMs, shutdown, nullptr));
}

} // namespace

QString startDetached(const DetachedCommand &command, GCancellable *shutdown) {
    if (command.arguments.isEmpty())
        return u"There is no program to start."_s;

    ChildEnvironment variables = command.environment;
    for (const char *name : launchVariables)
        variables.remove(name);
    const bool isEntry = !command.desktopFile.isEmpty();
    if (isEntry)
        variables.set("GIO_LAUNCHED_DESKTOP_FILE", QFile::encodeName(command.desktopFile));
    if (!command.startupId.isEmpty())
        variables.set("DESKTOP_STARTUP_ID", command.startupId);
    if (!command.activationToken.isEmpty())
        variables.set("XDG_ACTIVATION_TOKEN", command.activationToken);
    // Only the child knows its number: it writes it over the zeros.
    constexpr const char *pidVariable = "GIO_LAUNCHED_DESKTOP_FILE_PID";
    if (isEntry)
        variables.set(pidVariable, QByteArray(pidDigits, '0'));
    const GStrvPointer environment = stringVector(variables.definitions());
    char *digits =
        isEntry ? const_cast<char *>(g_environ_getenv(environment.get(), pidVariable)) : nullptr;

    std::vector<std::string> arguments;
    for (const QString &argument : command.arguments)
        arguments.push_back(QFile::encodeName(argument).toStdString());
    const QByteArray folder = QFile::encodeName(command.workingFolder);
    GPid pid = 0;
    GErrorHolder error;
    const bool started = g_spawn_async(folder.isEmpty() ? nullptr : folder.constData(),
                                       stringVector(arguments).get(), environment.get(),
                                       static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH_FROM_ENVP |
                                                                G_SPAWN_STDOUT_TO_DEV_NULL |
                                                                G_SPAWN_STDERR_TO_DEV_NULL),
                                       prepareChild, digits, &pid, error.out());
    if (!started)
        return error.message();
    if (!command.application.isEmpty())
        moveToScope(pid, command.application, shutdown);
    return {};
}

} // namespace corvid
