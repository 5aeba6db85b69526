#include "Platform/Linux/Running/ProcessTraits.h"

#include <QFile>
#include <QList>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contentsOf(const QString &path) {
    constexpr qint64 longest = 1024 * 1024;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(longest) : QByteArray();
}

/** The bundle that a program belongs to; empty for none. */
QString bundleOf(const QString &program) {
    constexpr auto programs = ".app/Contents/MacOS/"_L1;
    const qsizetype at = program.lastIndexOf(programs);
    return at < 0 || !program.startsWith(u'/') ? QString() : program.left(at + 4);
}

} // namespace

ProcessTraits processTraits(qint64 pid) {
    ProcessTraits traits;
    if (pid <= 0)
        return traits;
    const QString process = "/proc/"_L1 + QString::number(pid);
    traits.controlGroup =
        QString::fromUtf8(contentsOf(process + "/cgroup"_L1)).section(u'\n', 0, 0);

    // Children inherit the variables, so they count only together with the process's own number.
    QByteArray entry;
    bool launched = false;
    const QList<QByteArray> environment = contentsOf(process + "/environ"_L1).split('\0');
    for (const QByteArray &variable : environment) {
        if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE="))
            entry = variable.mid(qstrlen("GIO_LAUNCHED_DESKTOP_FILE="));
        else if (variable == "GIO_LAUNCHED_DESKTOP_FILE_PID=" + QByteArray::number(pid))
            launched = true;
    }
    if (launched)
        traits.launchedEntry = QFile::decodeName(entry);

    // A bundle's program may be a script, which its interpreter has as an argument.
    traits.bundle = bundleOf(QFile::symLinkTarget(process + "/exe"_L1));
    const QList<QByteArray> arguments = contentsOf(process + "/cmdline"_L1).split('\0');
    for (qsizetype i = 0; i < 2 && traits.bundle.isEmpty(); ++i)
        traits.bundle = bundleOf(QFile::decodeName(arguments.value(i)));
    return traits;
}

} // namespace corvid
