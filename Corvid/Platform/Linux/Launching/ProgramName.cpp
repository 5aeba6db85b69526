#include "Platform/Linux/Launching/ProgramName.h"

#include "Platform/Linux/Launching/ExecLine.h"

#include <algorithm>
#include <array>
#include <optional>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** A program that runs the one named by its first operand. */
struct Wrapper {
    QLatin1StringView name;
    QLatin1StringView optionsWithValue = {}; ///< whose value is the next word; space-separated
    bool isShell = false;                    ///< runs the command that is given with -c instead
};

constexpr auto wrappers = std::to_array<Wrapper>({
    {"bash"_L1, {}, true},
    {"dash"_L1, {}, true},
    {"env"_L1, "-u --unset -C --chdir"_L1},
    {"exec"_L1},
    {"gjs"_L1, "-I -C"_L1},
    {"gksu"_L1, "-u -m"_L1},
    {"gksudo"_L1, "-u -m"_L1},
    {"java"_L1, "-cp -classpath"_L1},
    {"kdesu"_L1, "-u"_L1},
    {"lxqt-sudo"_L1},
    {"perl"_L1, "-I"_L1},
    {"pkexec"_L1, "--user"_L1},
    {"python"_L1, "-c"_L1},
    {"python3"_L1, "-c"_L1},
    {"ruby"_L1, "-I"_L1},
    {"sh"_L1, {}, true},
    {"snap"_L1},
    {"sudo"_L1, "-u -g"_L1},
    {"wine"_L1},
    {"zsh"_L1, {}, true},
});

bool containsAnyOf(QStringView characters, const QString &text) {
    return std::any_of(text.begin(), text.end(),
                       [characters](QChar c) { return characters.contains(c); });
}

// NAME=value, as env and shells take it in front of a command.
bool isAssignment(const QString &word) {
    const qsizetype end = word.indexOf(u'=');
    return end > 0 && std::all_of(word.begin(), word.begin() + end, [](QChar c) {
               return c == u'_' || (c.unicode() < 0x80 && c.isLetterOrNumber());
           });
}

// Drops the words that are field codes (files, addresses, the icon, …) and resolves "%%".
QStringList withoutFieldCodes(const QStringList &words) {
    QStringList kept;
    for (QString word : words) {
        const bool isFieldCode = word.size() == 2 && word[0] == u'%' && word[1] != u'%';
        if (!isFieldCode)
            kept.append(word.replace("%%"_L1, "%"_L1));
    }
    return kept;
}

void skipAssignments(QStringList &words) {
    words.erase(words.cbegin(), std::find_if_not(words.cbegin(), words.cend(), isAssignment));
}

void skipOptions(QStringList &words, QLatin1StringView optionsWithValue) {
    const QStringList withValue = QString(optionsWithValue).split(u' ');
    while (!words.isEmpty() && words.first().startsWith(u'-')) {
        const QString option = words.takeFirst();
        if (option == "--"_L1)
            return;
        if (withValue.contains(option) && !words.isEmpty())
            words.removeFirst();
    }
}

// The text after -c, also where it stands among other letters (-lc). Absent for a script.
std::optional<QString> shellCommand(const QStringList &arguments) {
    for (qsizetype i = 0; i + 1 < arguments.size() && arguments[i].startsWith(u'-'); ++i) {
        if (!arguments[i].startsWith("--"_L1) && arguments[i].contains(u'c'))
            return arguments[i + 1];
    }
    return std::nullopt;
}

// flatpak run [options] --command=<program> [options] <application id> …
QString flatpakCommand(const QStringList &arguments) {
    constexpr auto prefix = "--command="_L1;
    for (const QString &argument : arguments) {
        if (argument.startsWith(prefix))
            return argument.sliced(prefix.size());
    }
    return {};
}

// A name that a user could type; none for, say, a variable that only the shell can resolve.
QString plainName(const QString &program) {
    const QString name = program.section(u'/', -1);
    return containsAnyOf(u"$`<>(){}*?\"\n\t", name) ? QString() : name;
}

} // namespace

QString programName(const QString &exec) {
    QStringList words = withoutFieldCodes(execWords(exec));
    skipAssignments(words);
    QString path;
    while (!words.isEmpty()) {
        path = words.takeFirst();
        const QString program = path.section(u'/', -1);
        if (program == "flatpak"_L1)
            return plainName(flatpakCommand(words));
        const auto *wrapper =
            std::find_if(wrappers.begin(), wrappers.end(),
                         [&program](const Wrapper &known) { return known.name == program; });
        if (wrapper == wrappers.end())
            break;
        const auto command = wrapper->isShell ? shellCommand(words) : std::nullopt;
        if (command) {
            path.clear();
            // Which one of several is the program cannot be told.
            words = containsAnyOf(u";&|\n", *command) ? QStringList() : execWords(*command);
        } else {
            if (program == "snap"_L1 && !words.isEmpty())
                words.removeFirst(); // "run"
            skipOptions(words, wrapper->optionsWithValue);
        }
        skipAssignments(words);
    }
    return plainName(path);
}

} // namespace corvid
