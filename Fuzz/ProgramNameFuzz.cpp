// The program that a line runs has a name that can be typed, and a wrapper more in front of the
// line does not change it.
#include "FuzzInput.h"
#include "Platform/Linux/Launching/ProgramName.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QString line = QString::fromUtf8(fuzz::bytesOf(data, size));
    const QString name = programName(line);
    if (name.isEmpty())
        return 0;
    for (const QChar c : name)
        require(!QStringView(u"/$`<>(){}*?\"\n\t").contains(c), "a name can be typed");
    // Behind env, a first word that begins with a dash would be an option of it.
    if (!line.contains(u'-'))
        require(programName(u"env "_s + line) == name, "wrappers are looked through");
    return 0;
}
