// What stands in /proc of a process, which that process can write itself: an entry counts only with
// the process's own number, and a bundle only where its program lies.
#include "FuzzInput.h"
#include "Platform/Linux/Running/WindowMatcher.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const QList<QByteArray> parts = bytes.split('\xff');
    constexpr qint64 pid = 42;
    WindowTraits traits;
    addTraits(
        {pid, parts.value(0), parts.value(1), parts.value(2), QString::fromUtf8(parts.value(3))},
        traits);
    require(!traits.controlGroup.contains(u'\n'), "a control group is one line");
    const QList<QByteArray> variables = parts.value(1).split('\0');
    require(traits.launchedEntry.isEmpty() ||
                variables.contains("GIO_LAUNCHED_DESKTOP_FILE_PID=42"),
            "a launch that the process inherited does not count");
    require(traits.bundle.isEmpty() ||
                (traits.bundle.startsWith(u'/') && traits.bundle.endsWith(".app"_L1)),
            "a bundle is a folder with its suffix");

    // The names of units come from elsewhere, too.
    const QString group = QString::fromUtf8(bytes);
    const QString application = applicationOfControlGroup(group);
    require(application.isEmpty() || group.contains("app-"_L1),
            "only the units of applications name one");
    require(application.size() <= group.size(), "a name is no longer than what it stands in");

    WindowTraits inherited;
    addTraits(
        {pid + 1, {}, "GIO_LAUNCHED_DESKTOP_FILE_PID=42\0GIO_LAUNCHED_DESKTOP_FILE=/a"_ba, {}, {}},
        inherited);
    require(inherited.launchedEntry.isEmpty(), "another process's launch does not count");
    return 0;
}
