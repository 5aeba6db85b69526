// However an entry's line is written, each file is an argument of its own or a part of one, whole,
// and nothing of it is read as syntax.
#include "FuzzInput.h"
#include "Platform/Linux/Launching/ExecLine.h"

#include <algorithm>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

bool isPartOfAnArgument(const QString &text, const std::vector<QStringList> &lines) {
    return std::any_of(lines.begin(), lines.end(), [&text](const QStringList &line) {
        return std::any_of(line.begin(), line.end(),
                           [&text](const QString &argument) { return argument.contains(text); });
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QStringList lines = fuzz::linesOf(data, size);
    const QString &exec = lines[0];
    const LaunchedEntry fields{lines.value(1), lines.value(2), lines.value(3)};
    const QString folder = u"/my \"$(projects)\"; %f"_s;
    const QString file = u"/tmp/%U 'it'"_s;
    const QList<QUrl> urls{QUrl::fromLocalFile(folder), QUrl::fromLocalFile(file)};

    const std::vector<QStringList> without = expandExec(exec, fields, {});
    const std::vector<QStringList> with = expandExec(exec, fields, urls);
    require(without.size() <= 1, "without files there is one line at most");
    require(without.empty() == with.empty(), "a line is sound or not, whatever is opened");
    require(with.size() <= 2, "no more lines than files");
    for (const auto *some : {&without, &with})
        for (const QStringList &line : *some)
            require(!line.isEmpty() && !line.first().isEmpty(), "every line runs something");
    if (with.empty())
        return 0;
    for (const QUrl &url : urls)
        require(isPartOfAnArgument(url.toLocalFile(), with) ||
                    isPartOfAnArgument(QString::fromLatin1(url.toEncoded()), with),
                "every file reaches the program whole");
    return 0;
}
