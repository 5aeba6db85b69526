#include "Catalog/ProgramName.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <span>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** A program that runs the program named by its first operand. Interpreters do so, too. */
struct Wrapper {
    QLatin1StringView name;
    QLatin1StringView optionsWithValue = {}; ///< whose value is the next word; space-separated
    size_t operandsBefore = 0;               ///< own operands in front of the program
};

constexpr auto wrappers = std::to_array<Wrapper>({
    {"dbus-launch"_L1},
    {"dbus-run-session"_L1, "--config-file --dbus-daemon"_L1},
    {"env"_L1, "-u --unset -C --chdir"_L1},
    {"exec"_L1},
    {"firejail"_L1},
    {"gamemoderun"_L1},
    {"gjs"_L1, "-I -C"_L1},
    {"gksu"_L1, "-u -m"_L1},
    {"gksudo"_L1, "-u -m"_L1},
    {"gtk-launch"_L1},
    {"ionice"_L1, "-c --class -n --classdata"_L1},
    {"java"_L1, "-cp -classpath"_L1},
    {"kdesu"_L1, "-u"_L1},
    {"kdesudo"_L1, "-u"_L1},
    {"lxqt-sudo"_L1},
    {"mangohud"_L1},
    {"nice"_L1, "-n --adjustment"_L1},
    {"node"_L1},
    {"nohup"_L1},
    {"perl"_L1, "-I"_L1},
    {"pkexec"_L1, "--user"_L1},
    {"prime-run"_L1},
    {"python"_L1, "-c"_L1},
    {"python2"_L1, "-c"_L1},
    {"python3"_L1, "-c"_L1},
    {"ruby"_L1, "-I"_L1},
    {"setsid"_L1},
    {"snap"_L1, ""_L1, 1},
    {"stdbuf"_L1, "-i -o -e"_L1},
    {"sudo"_L1, "-u -g"_L1},
    {"switcherooctl"_L1, "-g --gpu"_L1, 1},
    {"systemd-run"_L1, "-p --property -u --unit -E --setenv --slice --description"_L1},
    {"taskset"_L1, ""_L1, 1},
    {"timeout"_L1, "-k --kill-after -s --signal"_L1, 1},
    {"wine"_L1},
});

bool isShell(const QString &program) {
    constexpr std::array shells = {"sh"_L1,  "ash"_L1,  "bash"_L1, "dash"_L1,
                                   "ksh"_L1, "fish"_L1, "zsh"_L1};
    return std::find(shells.begin(), shells.end(), program) != shells.end();
}

// Shell commands that prepare for the program rather than being it.
bool isPreparation(const QString &command) {
    constexpr std::array commands = {"."_L1,      ":"_L1,      "["_L1,     "cd"_L1,    "echo"_L1,
                                     "export"_L1, "mkdir"_L1,  "set"_L1,   "sleep"_L1, "source"_L1,
                                     "test"_L1,   "ulimit"_L1, "umask"_L1, "unset"_L1};
    return std::find(commands.begin(), commands.end(), command) != commands.end();
}

QString baseName(const QString &path) {
    return path.sliced(path.lastIndexOf(u'/') + 1);
}

// NAME=value, as env and shells take it in front of a command.
bool isAssignment(const QString &word) {
    const qsizetype end = word.indexOf(u'=');
    return end > 0 && std::all_of(word.begin(), word.begin() + end, [](QChar c) {
               return c == u'_' || (c.unicode() < 0x80 && c.isLetterOrNumber());
           });
}

enum class Syntax { Exec, Shell };

// Splits a line into words. Both syntaxes quote with double quotes and backslashes; single quotes
// are the shell's, but launchers accept them in Exec as well. In a shell's line the operators that
// end a command become words of their own. Absent when a quotation is not closed.
std::optional<QStringList> splitWords(const QString &line, Syntax syntax) {
    QStringList words;
    QString word;
    bool inWord = false;
    QChar quote;
    const auto endWord = [&] {
        if (inWord)
            words.append(word);
        word.clear();
        inWord = false;
    };
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        const bool escapes = c == u'\\' && quote != u'\'' && i + 1 < line.size();
        if (escapes) {
            word += line[++i];
            inWord = true;
        } else if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
            else
                word += c;
        } else if (c == u'"' || c == u'\'') {
            quote = c;
            inWord = true;
        } else if (c == u' ' || c == u'\t' || c == u'\n') {
            endWord();
            if (c == u'\n' && syntax == Syntax::Shell)
                words.append(u";"_s);
        } else if (syntax == Syntax::Shell && (c == u';' || c == u'&' || c == u'|')) {
            endWord();
            words.append(u";"_s);
        } else {
            word += c;
            inWord = true;
        }
    }
    if (!quote.isNull())
        return std::nullopt;
    endWord();
    return words;
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

using Words = std::span<const QString>;

Words withoutAssignments(Words words) {
    return words.subspan(static_cast<size_t>(
        std::find_if_not(words.begin(), words.end(), isAssignment) - words.begin()));
}

// What follows a program's own options.
Words withoutOptions(Words words, QLatin1StringView optionsWithValue) {
    const QStringList withValue = QString(optionsWithValue).split(u' ');
    while (!words.empty() && words.front().startsWith(u'-')) {
        const QString option = words.front();
        words = words.subspan(1);
        if (option == "--"_L1)
            break;
        if (withValue.contains(option) && !words.empty())
            words = words.subspan(1);
    }
    return words;
}

// Behind these, which command is the main one depends on what happens when it runs.
bool isBranch(const QString &command) {
    constexpr std::array keywords = {"case"_L1, "for"_L1, "if"_L1, "until"_L1, "while"_L1};
    return std::find(keywords.begin(), keywords.end(), command) != keywords.end();
}

// The command of a shell's line: the first that does more than prepare; empty when there is none.
Words mainCommand(Words words) {
    while (!words.empty()) {
        const auto end = std::find(words.begin(), words.end(), u";"_s);
        const auto length = static_cast<size_t>(end - words.begin());
        const Words command = withoutAssignments(words.first(length));
        if (!command.empty() && isBranch(command.front()))
            return {};
        if (!command.empty() && !isPreparation(command.front()))
            return command;
        words = words.subspan(std::min(length + 1, words.size()));
    }
    return {};
}

// The text after -c, also where it stands among other letters (-lc). Absent for a script.
std::optional<QString> shellLine(Words arguments) {
    for (size_t i = 0; i + 1 < arguments.size() && arguments[i].startsWith(u'-'); ++i) {
        if (!arguments[i].startsWith("--"_L1) && arguments[i].contains(u'c'))
            return arguments[i + 1];
    }
    return std::nullopt;
}

// flatpak run [options] --command=<program> [options] <application id> …
std::optional<QString> flatpakCommand(Words arguments) {
    constexpr auto prefix = "--command="_L1;
    for (const QString &argument : arguments) {
        if (argument.startsWith(prefix))
            return argument.sliced(prefix.size());
    }
    return std::nullopt;
}

// A name that a user could type; not, say, a variable that only the shell can resolve.
std::optional<QString> plainName(const QString &program) {
    QString name = baseName(program);
    const bool plain = !name.isEmpty() && std::none_of(name.begin(), name.end(), [](QChar c) {
        return QStringView(u"$`<>(){}*?\"\n\t").contains(c);
    });
    return plain ? std::optional(std::move(name)) : std::nullopt;
}

} // namespace

std::optional<QString> programName(const QString &exec) {
    const std::optional<QStringList> words = splitWords(exec, Syntax::Exec);
    if (!words)
        return std::nullopt;
    QStringList line = withoutFieldCodes(*words);
    Words rest = withoutAssignments(line);
    // Each round takes at least one word away.
    while (!rest.empty()) {
        const QString &path = rest.front();
        const QString program = baseName(path);
        Words arguments = rest.subspan(1);
        if (program == "flatpak"_L1) {
            const std::optional<QString> command = flatpakCommand(arguments);
            return command ? plainName(*command) : std::nullopt;
        }
        if (isShell(program)) {
            if (const std::optional<QString> command = shellLine(arguments)) {
                const std::optional<QStringList> commandWords = splitWords(*command, Syntax::Shell);
                if (!commandWords)
                    return std::nullopt;
                const Words main = mainCommand(*commandWords);
                line = QStringList(main.begin(), main.end());
                rest = line;
                continue;
            }
            arguments = withoutOptions(arguments, {});
        } else {
            const auto *wrapper = std::find_if(wrappers.begin(), wrappers.end(),
                                               [&](const Wrapper &w) { return w.name == program; });
            if (wrapper == wrappers.end())
                return plainName(path);
            arguments = withoutOptions(arguments, wrapper->optionsWithValue);
            if (wrapper->operandsBefore > 0) {
                arguments = arguments.subspan(std::min(wrapper->operandsBefore, arguments.size()));
                arguments = withoutOptions(arguments, wrapper->optionsWithValue);
            }
        }
        arguments = withoutAssignments(arguments);
        if (arguments.empty())
            return plainName(path);
        rest = arguments;
    }
    return std::nullopt;
}

} // namespace corvid
